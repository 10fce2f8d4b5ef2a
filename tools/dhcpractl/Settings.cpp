#include "tools/dhcpractl/Settings.h"

#include "tools/dhcpractl/Failures.h"
#include "tools/dhcpractl/Procedures.h"
#include "tools/dhcpractl/ReplyFile.h"
#include "wire/AddressText.h"

#include <algorithm>
#include <array>
#include <limits>
#include <sstream>

namespace dhcpractl {

namespace {

constexpr Setting relayRows[] = {
    {"full-mode", Kind::onOff, "dra_set_full_mode", "dra_is_full_mode", "layer 3 relay; else layer 2 agent"},
    {"insert-opt82", Kind::onOff, "dra_set_insert_opt82", "dra_is_insert_opt82", "add option 82 to requests"},
    {"unicast-extension", Kind::onOff, "dra_set_unicast_extension", "dra_is_unicast_extension",
     "handle unicast too"},
    {"keep-opt82", Kind::onOff, "dra_set_keep_opt82", "dra_is_keep_opt82", "leave option 82 in replies"},
    {"circuit-trusted", Kind::onOff, "dra_set_circuit_trusted", "dra_is_circuit_trusted",
     "take option 82 of clients"},
    {"insert-circuit-id", Kind::onOff, "dra_set_insert_circuit_id", "dra_is_insert_circuit_id", ""},
    {"insert-remote-id", Kind::onOff, "dra_set_insert_remote_id", "dra_is_insert_remote_id", ""},
    {"circuit-id-cvlan", Kind::onOff, "dra_set_circuit_id_cvlan", "dra_is_circuit_id_cvlan_enabled",
     "customer VLAN in ids"},
    {"circuit-id-format", Kind::text, "dra_cid_format_set", "dra_cid_format_get",
     "of circuit ids in custom mode"},
    {"remote-id-format", Kind::text, "dra_rid_format_set", "dra_rid_format_get", ""},
    {"node-id", Kind::text, "dra_set_node_id", "dra_get_node_id", "first word of the standard form"},
    {"default-server", Kind::address, "dra_set_default_server", "dra_get_default_server",
     "of VLANs without a server of their own"},
    {"logging-level", Kind::number, "dra_logging_level_set", "dra_logging_level_get",
     "of both families; above 6 debugs", "level"},
    {"debug-admin-state", Kind::onOff, "dra_debug_admin_state_set", "dra_debug_admin_state_get", "", "state"},
    {"v6-remote-id", Kind::onOff, "dra6_set_remoteid", "dra6_get_remoteid", ""},
    {"v6-interface-id", Kind::onOff, "dra6_set_interfaceid", "dra6_get_interfaceid",
     "standard form; else vendor form"},
    {"v6-circuit-id-cvlan", Kind::onOff, "dra6_set_circuit_id_cvlan", "dra6_is_circuit_id_cvlan_enabled", ""},
    {"v6-interface-id-format", Kind::text, "dra6_interfaceid_format_set", "dra6_interfaceid_format_get", ""},
    {"v6-remote-id-format", Kind::text, "dra6_remoteid_format_set", "dra6_remoteid_format_get", ""},
    {"v6-logging-level", Kind::number, "dra6_logging_level_set", "dra6_logging_level_get", "", "level"},
    // What the daemon does not tell back.
    {"chassis-id", Kind::number, "dra_set_chassis_id", "", "number in the standard form"},
    {"shelf-id", Kind::text, "dra_set_shelf_id", "", "first word of ids"},
    {"local-mac", Kind::text, "dra_set_local_mac", "", ""},
    {"local-ip", Kind::address, "dra_set_local_ip", "", "giaddr of relayed requests"},
    {"contact", Kind::text, "dra_set_sys_contact", "", ""},
    {"location", Kind::text, "dra_set_sys_location", "", ""},
    {"name", Kind::text, "dra_set_sys_name", "", ""},
    // Last, so that a replayed file switches a relay on that is complete.
    {"enabled", Kind::onOff, "dra_set_enabled", "dra_is_enabled", "the DHCPv4 relay"},
    {"v6-enabled", Kind::onOff, "dra6_set_enabled", "dra6_is_enabled", "the DHCPv6 relay"},
};

constexpr Setting interfaceRows[] = {
    {"mode", Kind::interfaceMode, "dra_intf_set_mode", "dra_intf_get_mode",
     "disable, clients, servers or enable"},
    {"circuit-trusted", Kind::threeState, "dra_intf_set_circuit_trusted", "dra_intf_is_circuit_trusted", ""},
    {"insert-opt82", Kind::threeState, "dra_intf_set_insert_opt82", "dra_intf_is_insert_opt82", ""},
    {"unicast-extension", Kind::threeState, "dra_intf_set_unicast_extension", "dra_intf_is_unicast_extension",
     ""},
    {"keep-opt82", Kind::threeState, "dra_intf_set_keep_opt82", "dra_intf_is_keep_opt82", ""},
    {"metering", Kind::onOff, "dra_intf_set_metering", "dra_intf_is_metering_enabled", ""},
    {"rate", Kind::number, "dra_intf_set_rate", "dra_intf_get_rate", ""},
    {"remote-id", Kind::text, "dra_intf_set_remote_id", "dra_intf_get_remote_id", "at most 63 characters"},
    {"circuit-id-mode", Kind::circuitIdMode, "dra_intf_set_circuitid_mode", "dra_intf_get_circuitid_mode",
     "korvanel, standard, atm or custom"},
    {"description", Kind::text, "dra_set_intf_descr", "", ""},
    {"cpe-serial", Kind::text, "dra_set_serial_number", "", ""},
    {"cpe-mac", Kind::text, "dra_set_cpe_mac", "", ""},
    {"v6-mode", Kind::interfaceMode, "dra6_intf_set_mode", "dra6_intf_get_mode", ""},
    {"v6-circuit-trusted", Kind::threeState, "dra6_intf_set_circuit_trusted", "dra6_intf_is_circuit_trusted",
     ""},
    {"v6-interface-id", Kind::threeState, "dra6_intf_set_interfaceid", "dra6_intf_get_interfaceid", ""},
    {"v6-remote-id", Kind::text, "dra6_intf_set_remoteid_val", "dra6_intf_get_remoteid_val", ""},
    {"v6-enterprise-number", Kind::number, "dra6_intf_set_enterprise_num", "dra6_intf_get_enterprise_num",
     ""},
};

constexpr Setting interfaceVlanRows[] = {
    {"remote-id", Kind::text, "dra_intf_set_remote_id_per_vlan", "dra_intf_get_remote_id_list_vlan", "",
     "remoteId"},
    {"v6-remote-id", Kind::text, "dra6_intf_set_remoteid_val_per_vlan", "dra6_intf_get_remoteid_val_per_vlan",
     "", "remoteId"},
    {"v6-enterprise-number", Kind::number, "dra6_intf_set_enterprise_num_per_vlan",
     "dra6_intf_get_enterprise_num_per_vlan", "", "enterpriseNum"},
    {"circuit-id-mode", Kind::circuitIdMode, "dra_cid_mode_intf_vlan_set", "dra_intf_vlan_list", "", "mode"},
    {"circuit-id-format", Kind::text, "dra_cid_format_intf_vlan_set", "dra_intf_vlan_list", "",
     "circuitIdFormat"},
    {"remote-id-format", Kind::text, "dra_rid_format_intf_vlan_set", "dra_intf_vlan_list", "",
     "remoteIdFormat"},
    {"v6-interface-id-mode", Kind::interfaceIdMode, "dra6_interfaceid_mode_intf_vlan_set",
     "dra6_intf_vlan_list", "", "mode"},
    {"v6-interface-id-format", Kind::text, "dra6_interfaceid_format_intf_vlan_set", "dra6_intf_vlan_list", "",
     "interfaceIdFormat"},
    {"v6-remote-id-format", Kind::text, "dra6_remoteid_format_intf_vlan_set", "dra6_intf_vlan_list", "",
     "remoteIdFormat"},
};

constexpr Setting vlanRows[] = {
    {"enabled", Kind::threeState, "dra_set_vlan_state", "dra_get_vlan_list", "", "enabled"},
    {"full-mode", Kind::threeState, "dra_set_vlan_mode", "dra_get_vlan_list", "", "fullMode"},
    {"insert-opt82", Kind::threeState, "dra_set_vlan_insert_opt82", "dra_get_vlan_list", "", "insertOpt82"},
    {"unicast-extension", Kind::threeState, "dra_set_vlan_unicast_extension", "dra_get_vlan_list", "",
     "unicastExtension"},
    {"keep-opt82", Kind::threeState, "dra_set_vlan_keep_opt82", "dra_get_vlan_list", "", "keepOpt82"},
    {"circuit-id", Kind::threeState, "dra_set_vlan_circuit_id", "dra_get_vlan_list",
     "true: the korvanel form", "circuitId"},
    {"v6-enabled", Kind::threeState, "dra6_set_vlan_state", "dra6_get_vlan_list", "", "enabled"},
    {"v6-interface-id", Kind::threeState, "dra6_set_vlan_interfaceid", "dra6_get_vlan_list", "",
     "interfaceId"},
    {"v6-remote-id", Kind::threeState, "dra6_set_vlan_remoteid", "dra6_get_vlan_list", "", "remoteId"},
};

std::string named(std::span<const std::string_view> names, int value)
{
    if (value >= 0 && value < static_cast<int>(names.size()))
        return std::string(names[static_cast<std::size_t>(value)]);
    return std::to_string(value);
}

} // namespace

std::span<const Setting> relaySettings() { return relayRows; }
std::span<const Setting> interfaceSettings() { return interfaceRows; }
std::span<const Setting> interfaceVlanSettings() { return interfaceVlanRows; }
std::span<const Setting> vlanSettings() { return vlanRows; }

const Setting& findSetting(std::span<const Setting> settings, const std::string& key)
{
    const auto found = std::ranges::find(settings, std::string_view(key), &Setting::key);
    if (found != settings.end())
        return *found;
    std::string keys;
    for (const Setting& setting : settings)
        keys += (keys.empty() ? "" : ", ") + std::string(setting.key);
    throw UsageError("'" + key + "' is none of " + keys);
}

std::string valueText(Kind kind, const Json& value)
{
    static constexpr std::array<std::string_view, 3> threeStates{"unset", "false", "true"};
    static constexpr std::array<std::string_view, 4> modes{"disable", "clients", "servers", "enable"};
    static constexpr std::array<std::string_view, 4> circuitIdModes{"korvanel", "standard", "atm", "custom"};
    static constexpr std::array<std::string_view, 3> interfaceIdModes{"korvanel", "standard", "custom"};
    switch (kind) {
    case Kind::onOff:
        return value.get<bool>() ? "on" : "off";
    case Kind::threeState:
        return named(threeStates, value.get<int>());
    case Kind::interfaceMode:
        return named(modes, value.get<int>());
    case Kind::circuitIdMode:
        return named(circuitIdModes, value.get<int>());
    case Kind::interfaceIdMode:
        return named(interfaceIdModes, value.get<int>());
    case Kind::number:
        return std::to_string(value.get<std::int64_t>());
    case Kind::address:
        return wire::ipv4Text(value.get<std::uint32_t>());
    case Kind::text:
        return value.get<std::string>();
    }
    return {};
}

bool vlanComesLast(const Setting& setting) { return setting.setter.ends_with("_per_vlan"); }

std::vector<std::uint32_t> findInterfaces(Connection& connection, const std::optional<IdRange>& range)
{
    std::vector<std::uint32_t> ids;
    const IdRange wanted = range.value_or(IdRange{0, std::numeric_limits<std::uint32_t>::max()});
    try {
        const std::string answer = askWord(connection, "dhcpraInterfaces", "");
        std::istringstream listed(answer);
        std::size_t told = 0;
        std::size_t come = 0;
        const bool isCounted = static_cast<bool>(listed >> told);
        listed.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
        for (std::uint32_t id = 0; listed >> id; ++come)
            if (id >= wanted.first && id <= wanted.last)
                ids.push_back(id);
        // A list that was cut on its way would make a backup that is silently incomplete.
        if (!isCounted || come != told || !answer.ends_with('\n'))
            throw Refused("the daemon's list of interfaces is incomplete");
    } catch (const Refused& error) {
        ids.clear();
        if (!range)
            throw Refused(std::string(error.what()) + "; name the interfaces by --ids FIRST-LAST");
        for (std::uint64_t id = wanted.first; id <= wanted.last; ++id)
            if (codeOf(call(connection, "dra_intf_get_mode", {std::to_string(id)})) == RPC_DRA_SUCCESS)
                ids.push_back(static_cast<std::uint32_t>(id));
    }
    return ids;
}

Json ask(Connection& connection, std::string_view procedure, const std::vector<std::string>& arguments)
{
    const std::string name(procedure);
    Json result = call(connection, name, arguments);
    if (codeOf(result) != RPC_DRA_SUCCESS)
        throw Refused(refusalText(connection.program(), findProcedure(connection.program(), name), result));
    return result;
}

Json askList(Connection& connection, std::string_view procedure, const std::vector<std::string>& arguments)
{
    return ask(connection, procedure, arguments).at("list");
}

} // namespace dhcpractl
