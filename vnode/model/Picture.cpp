#include "vnode/model/Picture.h"

#include <algorithm>

namespace vnode {

namespace {

void addMember(Picture& picture, std::uint16_t vlan, std::uint32_t interfaceId)
{
    picture.vlans[vlan].members.push_back(interfaceId);
}

void addMembers(Picture& picture, const Attachment& attachment)
{
    if (attachment.untagged)
        addMember(picture, *attachment.untagged, attachment.interfaceId);
    for (std::uint16_t vlan = vlanIdMin; vlan <= vlanIdMax; ++vlan)
        if (attachment.tagged[vlan])
            addMember(picture, vlan, attachment.interfaceId);
}

} // namespace

const Vlan* Picture::findVlan(std::uint16_t id) const
{
    const auto vlan = vlans.find(id);
    return vlan == vlans.end() ? nullptr : &vlan->second;
}

Picture makePicture(const NodeDescription& description)
{
    Picture picture;
    picture.generation = 1;
    picture.facts = description.facts;
    for (const Interfaces::Interface& row : description.interfaces)
        picture.interfaces.put(row);
    for (const VlanDescription& vlan : description.vlans)
        picture.vlans[vlan.id].name = vlan.name;
    for (const PortDescription& port : description.ports)
        for (const Attachment& attachment : port.attachments)
            addMembers(picture, attachment);
    for (auto& [id, vlan] : picture.vlans)
        std::ranges::sort(vlan.members);
    return picture;
}

} // namespace vnode
