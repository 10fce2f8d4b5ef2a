#pragma once

#include "relay/model/dhcpraVlan.h"

#include <cstdint>
#include <map>

/// The VLANs that have settings of their own, in ascending order. Locking as for dhcpraVlan.
class VlanTable
{
public:
    using vlans_t = std::map<std::uint16_t, dhcpraVlan>;

    VlanTable() = default;
    explicit VlanTable(vlans_t vlans) : byId(std::move(vlans)) {}

    /// Null for an absent VLAN and for an id of 0xFFF.
    [[nodiscard]] const dhcpraVlan* getVlanById(std::uint16_t vid) const
    {
        if (dhcpraTypes::isNoVlan(vid))
            return nullptr;
        const auto found = byId.find(vid);
        return found == byId.end() ? nullptr : &found->second;
    }

    /// Null for an id of 0xFFF; an absent VLAN is made if @p create is set, else null.
    dhcpraVlan* getVlanById(std::uint16_t vid, bool create);

    [[nodiscard]] bool isVlanConfigured(std::uint16_t vid) const;
    [[nodiscard]] bool isVlanConfiguredV6(std::uint16_t vid) const;
    void vlanDelete(std::uint16_t vid) { byId.erase(vid); }

    [[nodiscard]] const vlans_t& all() const { return byId; }
    void clear() { byId.clear(); }

private:
    vlans_t byId;
};
