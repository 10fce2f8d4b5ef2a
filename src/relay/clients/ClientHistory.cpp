#include "relay/clients/ClientHistory.h"

#include "platform/Interfaces.h"
#include "relay/model/dhcpraTypes.h"

#include <algorithm>
#include <random>

namespace {

std::uint64_t clientKey(const clientMac_t& mac, std::uint16_t vlan)
{
    std::uint64_t key = vlan;
    for (const std::uint8_t byte : mac)
        key = key << 8 | byte;
    return key;
}

clientMac_t macOf(std::uint64_t client)
{
    clientMac_t mac{};
    for (auto byte = mac.rbegin(); byte != mac.rend(); ++byte, client >>= 8)
        *byte = static_cast<std::uint8_t>(client);
    return mac;
}

std::uint16_t vlanOf(std::uint64_t client) { return static_cast<std::uint16_t>(client >> 48); }

// Uplinks carry everybody's replies; a history is kept of subscribers only.
bool isSubscriber(std::uint32_t interfaceId)
{
    using Interfaces::interfaceType;
    interfaceType type{};
    return Interfaces::interfaceGetTypeById(interfaceId, type) == 0 &&
           (type == interfaceType::subscriber || type == interfaceType::pvc || type == interfaceType::gem);
}

} // namespace

// Clients choose their MAC: without a secret part they could choose them for one bucket.
std::size_t ClientHistory::hashOf(std::uint64_t client, std::uint32_t interfaceId)
{
    static const std::uint64_t secret = std::uint64_t{std::random_device()()} << 32 | std::random_device()();
    std::uint64_t mixed = (client ^ secret) * 0xD6E8FEB86659FD93U;
    mixed = (mixed ^ mixed >> 32 ^ interfaceId) * 0x9E3779B97F4A7C15U;
    return mixed ^ mixed >> 32;
}

void ClientHistory::update(const ClientFrame& frame, std::uint32_t interfaceId)
{
    if (interfaceId != 0 && !isSubscriber(interfaceId))
        return;
    const std::optional<std::time_t> now = clock.now();
    if (!now) {
        if (debug.wantsDebugText())
            debug.log("\t dhcprUpdateLocalClientEntry: Could not convert time to localtime for intf: %d\n",
                      interfaceId);
        return;
    }
    if (dhcpraTypes::isNoVlan(frame.vlan) || !frame.mac)
        return;

    const std::uint64_t client = clientKey(*frame.mac, frame.vlan);
    Index index = find(client, interfaceId);
    if (index != none)
        moveToEnd(index);
    else if (interfaceId != 0)
        index = append(client, interfaceId);
    else
        return;
    lastHeard = index;
    entries[index].heard = ++updates;
    record(entries[index], frame, *now);
}

bool ClientHistory::isAt(Index index, std::uint64_t client, std::uint32_t interfaceId) const
{
    return entries[index].client == client && entries[index].interfaceId == interfaceId;
}

ClientHistory::Index ClientHistory::find(std::uint64_t client, std::uint32_t interfaceId) const
{
    if (interfaceId == 0) {
        const auto found = byClient.find(client);
        return found == byClient.end() ? none : found->second.first;
    }
    // One frame updates the history up to three times.
    if (lastHeard != none && isAt(lastHeard, client, interfaceId))
        return lastHeard;
    return byPlace.find(hashOf(client, interfaceId),
                        [&](Index index) { return isAt(index, client, interfaceId); });
}

ClientHistory::Index ClientHistory::append(std::uint64_t client, std::uint32_t interfaceId)
{
    const auto index = static_cast<Index>(entries.size());
    Entry& entry = entries.emplace_back();
    entry.client = client;
    entry.interfaceId = interfaceId;
    byPlace.add(index,
                [this](Index known) { return hashOf(entries[known].client, entries[known].interfaceId); });
    link(byClient[client], index);
    return index;
}

void ClientHistory::moveToEnd(Index index)
{
    if (index == lastHeard)
        return;
    const Links& alone = entries[index].sameClient;
    if (alone.before == none && alone.behind == none)
        return;
    Ends& sameClient = byClient[entries[index].client];
    unlink(sameClient, index);
    link(sameClient, index);
}

void ClientHistory::link(Ends& sameClient, Index index)
{
    entries[index].sameClient = {sameClient.last, none};
    if (sameClient.last == none)
        sameClient.first = index;
    else
        entries[sameClient.last].sameClient.behind = index;
    sameClient.last = index;
}

void ClientHistory::unlink(Ends& sameClient, Index index)
{
    const Links gone = entries[index].sameClient;
    (gone.before == none ? sameClient.first : entries[gone.before].sameClient.behind) = gone.behind;
    (gone.behind == none ? sameClient.last : entries[gone.behind].sameClient.before) = gone.before;
}

// A repeat of the same type (a retransmission, or the second update of one frame) adds nothing.
void ClientHistory::record(Entry& entry, const ClientFrame& frame, std::time_t now)
{
    entry.xid = frame.xid;
    entry.time = now;
    if (frame.messageType == entry.messageType)
        return;
    entry.messageType = frame.messageType;
    entry.sequence = sequences.advance(entry.sequence, frame.messageType);
}

ClientHistory::Copy ClientHistory::copy() const
{
    Copy copy;
    copy.lines.assign(entries.begin(), entries.end());
    copy.sequences = sequences;
    return copy;
}

void ClientHistory::Copy::forEach(const std::function<void(const dhcprLocalClientInfo_t&)>& visit) const
{
    // Put in order here, outside frameMutex.
    std::vector<const Entry*> inOrder;
    inOrder.reserve(lines.size());
    for (const Entry& line : lines)
        inOrder.push_back(&line);
    std::ranges::sort(inOrder, {}, &Entry::heard);
    for (const Entry* entry : inOrder) {
        const Line& line = *entry;
        visit({.xid = line.xid,
               .interfaceId = line.interfaceId,
               .mac = macOf(line.client),
               .vlan = vlanOf(line.client),
               .time = HistoryTime::text(line.time),
               .messageType = line.messageType,
               .messageSeq = sequences.text(line.sequence)});
    }
}
