#include "relay/clients/ClientTable.h"

#include "relay/model/dhcpraTypes.h"

#include <algorithm>

ClientTable::ClientTable(const DebugSink& sink) : debug(sink) { entries.reserve(capacity); }

void ClientTable::trace(const char* what, const dhcprClientInfo_t& entry) const
{
    if (debug.wantsDebugText())
        debug.log("\t %s: intf=%d, VLAN=%d, CVLAN=%d, MAC=%02x:%02x:%02x:%02x:%02x:%02x, xid=%08x\n", what,
                  entry.interfaceId, entry.vlan, entry.cvlan, entry.mac[0], entry.mac[1], entry.mac[2],
                  entry.mac[3], entry.mac[4], entry.mac[5], entry.xid);
}

void ClientTable::add(const ClientFrame& frame, std::uint32_t interfaceId)
{
    const std::optional<std::time_t> now = clock.now();
    if (!now) {
        if (debug.wantsDebugText())
            debug.log("\t dhcprAddClientEntry: Could not convert time to localtime for intf: %d\n",
                      interfaceId);
        return;
    }
    // Also a frame that is refused below moves the timer.
    dropAllIfTimedOut(*now);
    lastAddTime = *now;
    if (!canBeAdded(frame, interfaceId))
        return;

    const dhcprClientInfo_t fresh{.xid = frame.xid,
                                  .interfaceId = interfaceId,
                                  .mac = *frame.mac,
                                  .vlan = frame.vlan,
                                  .cvlan = frame.cvlan,
                                  .ethType = frame.ethType,
                                  .cEthType = frame.cEthType,
                                  .time = *now};
    dropOldestIfFull();
    dropSameClient(fresh);
    entries.push_back(fresh);
    trace("Client entry added", fresh);
}

void ClientTable::dropAllIfTimedOut(std::time_t now)
{
    if (lastAddTime == 0 || now - lastAddTime < timeOut)
        return;
    if (debug.wantsDebugText())
        debug.log("\t Client entries timed out after %d seconds\n", static_cast<int>(timeOut));
    for (const dhcprClientInfo_t& entry : entries)
        trace("Deleting client entry", entry);
    entries.clear();
}

bool ClientTable::canBeAdded(const ClientFrame& frame, std::uint32_t interfaceId) const
{
    const char* missing = frame.xid == 0                      ? "frameXid"
                          : !frame.mac                        ? "frameMac"
                          : dhcpraTypes::isNoVlan(frame.vlan) ? "VLAN"
                                                              : nullptr;
    if (missing != nullptr && debug.wantsDebugText())
        debug.log("\t dhcprAddClientEntry: invalid %s for intf: %d\n", missing, interfaceId);
    return missing == nullptr;
}

// Room is made before the look for an entry to replace, so a full table may end up one short.
void ClientTable::dropOldestIfFull()
{
    if (entries.size() < capacity)
        return;
    trace("Deleting oldest client entry", entries.front());
    entries.erase(entries.begin());
}

void ClientTable::dropSameClient(const dhcprClientInfo_t& fresh)
{
    const auto same = std::find_if(entries.begin(), entries.end(), [&fresh](const dhcprClientInfo_t& entry) {
        return entry.interfaceId == fresh.interfaceId && entry.vlan == fresh.vlan &&
               entry.cvlan == fresh.cvlan && entry.mac == fresh.mac;
    });
    if (same == entries.end())
        return;
    if (debug.wantsDebugText())
        debug.log("\t Replacing existing client entry\n");
    entries.erase(same);
}

std::optional<std::size_t> ClientTable::search(const ClientFrame& frame, const char* operation) const
{
    if (frame.xid == 0 || !frame.mac) {
        if (debug.wantsDebugText())
            debug.log("\t %s: invalid %s\n", operation, frame.xid == 0 ? "frameXid" : "frameMac");
        return std::nullopt;
    }
    const auto found = std::find_if(entries.begin(), entries.end(), [&frame](const dhcprClientInfo_t& entry) {
        return entry.xid == frame.xid && entry.mac == *frame.mac;
    });
    if (found == entries.end())
        return std::nullopt;
    return static_cast<std::size_t>(found - entries.begin());
}

bool ClientTable::find(const ClientFrame& frame, dhcprClientInfo_t& entry) const
{
    const auto found = search(frame, "dhcprFindClientEntry");
    if (found)
        entry = entries[*found];
    return found.has_value();
}

void ClientTable::remove(const ClientFrame& frame)
{
    const auto found = search(frame, "dhcprDeleteClientEntry");
    if (!found)
        return;
    trace("Client entry deleted", entries[*found]);
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(*found));
}
