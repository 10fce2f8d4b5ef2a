#include "vnode/model/Bridge.h"

#include <algorithm>
#include <array>
#include <bit>

namespace vnode {

namespace {

void start(Decision& decision)
{
    decision.kind = Decision::Kind::drop;
    decision.reason = Drop::none;
    decision.ingress = 0;
    decision.frame = {};
    decision.rest = 0;
    decision.outputs.clear();
    decision.device.clear();
    decision.diverted.clear();
}

void drop(Decision& decision, Drop reason)
{
    decision.kind = Decision::Kind::drop;
    decision.reason = reason;
}

/// Inner tag of a frame whose outer tag inside the bridge is known: the frame's first one if the port added
/// its own.
std::uint16_t innerTagWord(const EtherHeader& header, const Ingress& ingress)
{
    const std::size_t inner = ingress.rest == wire::outerType ? 0 : 1;
    return inner < header.tagCount ? header.tags[inner].tci : wire::noVlan;
}

/// Outer tag of a frame that comes back from the daemon: its own, else the one that the record names.
std::optional<Ingress> ingressOf(const zobridge_frame_info& record, const EtherHeader& header)
{
    if (header.tagCount > 0)
        return Ingress{record.input_dev_idx, header.tags[0], wire::outerType + wire::tagSize};
    if (wire::vlanIdOf(record.vlan_tag1_nf) == wire::noVlan)
        return std::nullopt;
    return Ingress{record.input_dev_idx, Tag{wire::typeCustomerTag, ntohs(record.vlan_tag1_nf)},
                   wire::outerType};
}

} // namespace

void Decision::compose(const Egress& egress, std::vector<std::uint8_t>& out) const
{
    composeFrame(frame, rest, egress.tag, out);
}

Bridge::Bridge(const NodeDescription& description, const Picture& nodePicture, const Filters& nodeFilters)
    : picture(nodePicture), filters(nodeFilters), portTable(description.ports),
      macTable(description.macAging, description.macLimit)
{}

void Bridge::receive(std::size_t device, std::span<const std::uint8_t> frame, Time now, Decision& decision)
{
    start(decision);
    decision.frame = frame;
    const auto header = parseEther(frame);
    const auto ingress = header ? portTable.classify(device, *header) : std::nullopt;
    if (!ingress) {
        drop(decision, header ? Drop::vlan : Drop::runt);
        count(decision);
        return;
    }
    decision.ingress = ingress->interfaceId;
    decision.rest = ingress->rest;
    learn(*header, *ingress, now);
    // What the node's own stack sends comes from the relay. Diverted, it would go back to the relay.
    const bool ownFrame = ingress->interfaceId == portTable.internalInterface();
    const std::string* pseudoDevice = ownFrame ? nullptr : filters.match(frame, *header);
    if (pseudoDevice != nullptr)
        divert(*header, *ingress, *pseudoDevice, decision);
    else
        forward(header->destination, ingress->tag, ingress->interfaceId, now, decision);
    count(decision);
}

void Bridge::inject(std::span<const std::uint8_t> bytes, Time now, Decision& decision)
{
    start(decision);
    ++counts.injected;
    const auto record = wire::readRecord(wire::ConstBytes(bytes));
    // If a frame grew beyond the daemon's buffer, the daemon sends the part that fits.
    const bool bufferFull = bytes.size() == wire::recordAndFrameMax;
    if (!record || record->full_size < wire::recordSize ||
        (record->full_size > bytes.size() && !bufferFull)) {
        drop(decision, Drop::badRecord);
        count(decision);
        return;
    }
    decision.frame =
        bytes.first(std::min<std::size_t>(record->full_size, bytes.size())).subspan(wire::recordSize);
    if (const auto header = parseEther(decision.frame))
        output(*record, *header, now, decision);
    else
        drop(decision, Drop::runt);
    count(decision);
}

void Bridge::output(const zobridge_frame_info& record, const EtherHeader& header, Time now,
                    Decision& decision) const
{
    const auto ingress = ingressOf(record, header);
    if (!ingress) {
        drop(decision, Drop::noVlan);
        return;
    }
    decision.rest = ingress->rest;
    const std::string outputName(wire::recordName(record.output_dev));
    if (!outputName.empty()) {
        // A frame for an output that does not exist is dropped. Flooding would show it to other subscribers.
        const Interfaces::Interface* named = picture.interfaces.findByLinuxName(outputName);
        sendTo(named != nullptr ? named->id : 0, ingress->tag, decision);
    } else if (record.output_dev_idx != 0)
        sendTo(record.output_dev_idx, ingress->tag, decision);
    else
        forward(header.destination, ingress->tag, ingress->interfaceId, now, decision);
}

void Bridge::forward(const MacAddress& destination, const Tag& tag, std::uint32_t from, Time now,
                     Decision& decision) const
{
    std::optional<std::uint32_t> target;
    if (portTable.internalInterface() != 0 && picture.facts.mac == destination)
        target = portTable.internalInterface();
    else if (!wire::isGroup(destination))
        target = macTable.find(tag.vid(), destination, now);

    if (!target)
        flood(tag, from, decision);
    else if (*target == from)
        drop(decision, Drop::sameInterface);
    else
        sendTo(*target, tag, decision);
}

void Bridge::sendTo(std::uint32_t interfaceId, const Tag& tag, Decision& decision) const
{
    if (!portTable.hasInterface(interfaceId)) {
        drop(decision, Drop::noOutput);
        return;
    }
    const auto egress = portTable.egress(interfaceId, tag);
    if (!egress) {
        drop(decision, Drop::vlan);
        return;
    }
    decision.kind = Decision::Kind::forward;
    decision.outputs.push_back(*egress);
}

void Bridge::flood(const Tag& tag, std::uint32_t from, Decision& decision) const
{
    for (const std::uint32_t member : portTable.members(tag.vid())) {
        if (member == from)
            continue;
        if (const auto egress = portTable.egress(member, tag))
            decision.outputs.push_back(*egress);
    }
    if (decision.outputs.empty())
        drop(decision, Drop::noMember);
    else
        decision.kind = Decision::Kind::forward;
}

void Bridge::learn(const EtherHeader& header, const Ingress& ingress, Time now)
{
    // The node's own MAC is never learnt, so nobody can take it over by sending from it.
    if (wire::isGroup(header.source) || header.source == MacAddress{} || picture.facts.mac == header.source)
        return;
    if (!macTable.learn(ingress.tag.vid(), header.source, ingress.interfaceId, now))
        ++counts.notLearnt;
}

void Bridge::divert(const EtherHeader& header, const Ingress& ingress, const std::string& device,
                    Decision& decision) const
{
    const std::size_t size = decision.frame.size() + wire::outerType + wire::tagSize - ingress.rest;
    if (size > wire::recordAndFrameMax - wire::recordSize) {
        drop(decision, Drop::oversize);
        return;
    }
    // The reserved bytes stay zero: a packet socket looks at bytes 12 and 13 of whatever it receives, and a
    // tag protocol there would make the kernel cut four bytes out of the record.
    zobridge_frame_info record{};
    record.vlan_tag1_nf = htons(ingress.tag.tci);
    record.vlan_tag2_nf = htons(innerTagWord(header, ingress));
    record.full_size = static_cast<std::uint32_t>(wire::recordSize + size);
    record.input_dev_idx = static_cast<std::uint16_t>(ingress.interfaceId);
    if (const Interfaces::Interface* row = picture.interfaces.find(ingress.interfaceId))
        wire::setRecordName(record.input_dev, row->linuxName);

    composeFrame(decision.frame, ingress.rest, ingress.tag, decision.diverted);
    const auto recordBytes = std::bit_cast<std::array<std::uint8_t, wire::recordSize>>(record);
    decision.diverted.insert(decision.diverted.begin(), recordBytes.begin(), recordBytes.end());
    decision.kind = Decision::Kind::divert;
    decision.device = device;
}

void Bridge::count(const Decision& decision)
{
    InterfaceCounters* in = decision.ingress != 0 ? &counts.interfaces[decision.ingress] : nullptr;
    if (in != nullptr)
        ++in->received;
    switch (decision.kind) {
    case Decision::Kind::drop:
        ++counts.drops[static_cast<std::size_t>(decision.reason)];
        if (in != nullptr)
            ++in->dropped;
        return;
    case Decision::Kind::divert:
        ++counts.diverted;
        if (in != nullptr)
            ++in->diverted;
        return;
    case Decision::Kind::forward:
        for (const Egress& egress : decision.outputs)
            ++counts.interfaces[egress.interfaceId].sent;
        return;
    }
}

} // namespace vnode
