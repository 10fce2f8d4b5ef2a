#include "vnode/model/Ports.h"

namespace vnode {

Ports::Ports(const std::vector<PortDescription>& ports) : membersOfVlan(vlanIdCount)
{
    for (const PortDescription& port : ports) {
        const std::size_t device = deviceList.size();
        deviceByName[port.device] = device;
        deviceList.push_back({port.device, port.internal});
        deviceVlans.push_back({port.tpid, std::nullopt, 0, {}});
        for (const Attachment& attachment : port.attachments)
            addAttachment(device, port, attachment);
        if (port.internal && !port.attachments.empty())
            internalId = port.attachments.front().interfaceId;
    }
}

void Ports::addAttachment(std::size_t device, const PortDescription& port, const Attachment& attachment)
{
    const std::uint32_t id = attachment.interfaceId;
    interfaces[id] = {device, port.tpid, attachment.untagged, attachment.tagged};

    VlanSet all = attachment.tagged;
    if (attachment.untagged)
        all.set(*attachment.untagged);

    DeviceVlans& vlans = deviceVlans[device];
    if (attachment.untagged)
        vlans.untagged = attachment.untagged;
    // One id for the whole device is the common case and needs no table of 4096 ids.
    const bool shared = port.attachments.size() > 1;
    if (shared)
        vlans.interfaceOfVlan.resize(vlanIdCount);
    else
        vlans.onlyInterface = id;
    for (std::uint16_t vlan = vlanIdMin; vlan <= vlanIdMax; ++vlan) {
        if (!all[vlan])
            continue;
        membersOfVlan[vlan].push_back(id);
        if (shared)
            vlans.interfaceOfVlan[vlan] = id;
    }
}

std::optional<std::size_t> Ports::findDevice(const std::string& name) const
{
    const auto device = deviceByName.find(name);
    if (device == deviceByName.end())
        return std::nullopt;
    return device->second;
}

std::uint32_t Ports::interfaceOn(const DeviceVlans& device, std::uint16_t vlan) const
{
    if (device.onlyInterface == 0)
        return device.interfaceOfVlan.empty() ? 0 : device.interfaceOfVlan[vlan];
    const Interface& only = interfaces.at(device.onlyInterface);
    return only.tagged[vlan] || only.untagged == vlan ? device.onlyInterface : 0;
}

std::optional<Ingress> Ports::classify(std::size_t device, const EtherHeader& header) const
{
    if (device >= deviceVlans.size())
        return std::nullopt;
    const DeviceVlans& vlans = deviceVlans[device];

    Ingress ingress;
    ingress.tag.tpid = vlans.tpid;
    ingress.rest = wire::outerType;
    if (header.tagCount > 0 && header.tags[0].tpid == vlans.tpid) {
        ingress.tag = header.tags[0];
        ingress.rest = wire::outerType + wire::tagSize;
    }
    // A tag with VLAN 0 carries a priority only (IEEE 802.1Q), so the frame gets the VLAN of an untagged one.
    if (ingress.tag.vid() == 0) {
        if (!vlans.untagged)
            return std::nullopt;
        ingress.tag = ingress.tag.withVid(*vlans.untagged);
    }
    ingress.interfaceId = interfaceOn(vlans, ingress.tag.vid());
    if (ingress.interfaceId == 0)
        return std::nullopt;
    return ingress;
}

std::optional<Egress> Ports::egress(std::uint32_t interfaceId, const Tag& tag) const
{
    const auto found = interfaces.find(interfaceId);
    if (found == interfaces.end())
        return std::nullopt;
    const Interface& port = found->second;
    if (port.untagged == tag.vid())
        return Egress{interfaceId, port.device, std::nullopt};
    if (port.tagged[tag.vid()])
        return Egress{interfaceId, port.device, Tag{port.tpid, tag.tci}};
    return std::nullopt;
}

const std::vector<std::uint32_t>& Ports::members(std::uint16_t vlan) const
{
    return membersOfVlan[vlan & vlanIdMask];
}

} // namespace vnode
