#include "relay/model/VlanTable.h"

dhcpraVlan* VlanTable::getVlanById(std::uint16_t vid, bool create)
{
    if (dhcpraTypes::isNoVlan(vid))
        return nullptr;
    if (create)
        return &byId.try_emplace(vid).first->second;
    const auto found = byId.find(vid);
    return found == byId.end() ? nullptr : &found->second;
}

bool VlanTable::isVlanConfigured(std::uint16_t vid) const
{
    const dhcpraVlan* vlan = getVlanById(vid);
    return vlan != nullptr && vlan->isConfigured();
}

bool VlanTable::isVlanConfiguredV6(std::uint16_t vid) const
{
    const dhcpraVlan* vlan = getVlanById(vid);
    return vlan != nullptr && vlan->isConfiguredV6();
}
