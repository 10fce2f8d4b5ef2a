#include "tools/dhcpractl/Change.h"

namespace dhcpractl {

namespace {

/// The mode of a PVC that an operator set is not displaced by the automatic settings of a profile.
constexpr const char* byOperator = "1";

} // namespace

void setRelay(Connection& connection, const std::string& key, const std::string& value)
{
    ask(connection, findSetting(relaySettings(), key).setter, {value});
}

void setInterface(Connection& connection, std::uint32_t id, const std::string& key, const std::string& value,
                  std::optional<std::uint16_t> vlan)
{
    const std::string interface = std::to_string(id);
    if (vlan) {
        const Setting& setting = findSetting(interfaceVlanSettings(), key);
        const std::string vid = std::to_string(*vlan);
        if (vlanComesLast(setting))
            ask(connection, setting.setter, {interface, value, vid});
        else
            ask(connection, setting.setter, {interface, vid, value});
        return;
    }
    const Setting& setting = findSetting(interfaceSettings(), key);
    if (setting.kind == Kind::circuitIdMode)
        ask(connection, setting.setter, {interface, value, byOperator});
    else
        ask(connection, setting.setter, {interface, value});
}

void setVlan(Connection& connection, std::uint16_t vlan, const std::string& key, const std::string& value)
{
    ask(connection, findSetting(vlanSettings(), key).setter, {std::to_string(vlan), value});
}

void setServer(Connection& connection, const std::string& address, std::uint16_t vlan, bool add)
{
    ask(connection, "dra_set_server_vlan", {address, std::to_string(vlan), add ? "1" : "0"});
}

void setRecord(Connection& connection, std::uint32_t id, std::uint16_t vlan, bool add)
{
    ask(connection, add ? "dra_intf_vlan_add" : "dra_intf_vlan_del",
        {std::to_string(id), std::to_string(vlan)});
}

void resetCounters(Connection& connection, const std::optional<IdRange>& range)
{
    const bool isOne = range && range->first == range->last;
    const auto ids = isOne ? std::vector{range->first} : findInterfaces(connection, range);
    for (const std::uint32_t id : ids)
        ask(connection, "dra_reset_intf_counters", {std::to_string(id)});
}

} // namespace dhcpractl
