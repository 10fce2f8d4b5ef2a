#include "tools/dhcpractl/Show.h"

#include "tools/dhcpractl/CounterNames.h"
#include "tools/dhcpractl/IntfVlanRecords.h"
#include "tools/dhcpractl/Print.h"
#include "tools/dhcpractl/Procedures.h"
#include "tools/dhcpractl/ReplyFile.h"
#include "tools/dhcpractl/Settings.h"

#include <iomanip>
#include <ostream>
#include <sstream>

namespace dhcpractl {

namespace {

constexpr int labelWidth = 24;

/// Keys and texts, one line each, indented.
void printFields(std::ostream& out, const Json& fields)
{
    for (const auto& [key, value] : fields.items()) {
        out << "  " << std::left << std::setw(labelWidth) << key << ' '
            << (value.is_string() ? value.get<std::string>() : jsonText(value)) << '\n';
    }
}

void finish(std::ostream& out, const ShowOptions& options, const Json& answer,
            void (*forPeople)(std::ostream&, const Json&))
{
    if (options.json)
        print(out, answer, true);
    else
        forPeople(out, answer);
}

Json relayFields(Connection& connection)
{
    Json fields = Json::object();
    for (const Setting& setting : relaySettings())
        if (!setting.getter.empty())
            fields[std::string(setting.key)] =
                valueText(setting.kind, ask(connection, setting.getter).at(std::string(setting.field)));
    return fields;
}

template <std::size_t Size>
Json namedCounters(const std::array<std::string_view, Size>& names, const Json& values)
{
    Json named = Json::object();
    for (std::size_t i = 0; i < values.size() && i < Size; ++i)
        named[std::string(names[i])] = values[i];
    return named;
}

Json interfaceCounters(Connection& connection, const std::string& id)
{
    return {{"dhcp",
             namedCounters(counterNames, ask(connection, "dra_intf_get_all_counters", {id}).at("counters"))},
            {"dhcpv6", namedCounters(counterNamesV6,
                                     ask(connection, "dra6_intf_get_all_counters", {id}).at("counters"))},
            {"ndp", namedCounters(counterNamesNdp,
                                  ask(connection, "dra6_intf_get_all_ndp_counters", {id}).at("counters"))}};
}

Json interfaceFields(Connection& connection, const std::string& id)
{
    Json fields = Json::object();
    for (const Setting& setting : interfaceSettings())
        if (!setting.getter.empty())
            fields[std::string(setting.key)] =
                valueText(setting.kind, ask(connection, setting.getter, {id}).at(std::string(setting.field)));
    fields["circuit-id"] = ask(connection, "dra_intf_get_circuit_id", {id}).at("value");
    return fields;
}

void addRecords(Json& vlans, const IntfVlanRecords& records, const char* prefix, const char* idWord,
                Kind modeKind)
{
    for (const auto& [vlan, record] : records) {
        Json& fields = vlans[std::to_string(vlan)];
        const std::string id = std::string(prefix) + idWord;
        fields[id + "-mode"] = record.mode == -1 ? "none" : valueText(modeKind, record.mode);
        fields[id + "-format"] = record.idFormat;
        fields[std::string(prefix) + "remote-id-format"] = record.remoteIdFormat;
    }
}

/// What the interface says for single VLANs.
Json interfaceVlans(Connection& connection, std::uint32_t interface)
{
    Json vlans = Json::object();
    for (const Setting& setting : interfaceVlanSettings()) {
        if (!vlanComesLast(setting))
            continue; // a part of a record
        for (const Json& element : askList(connection, setting.getter, {std::to_string(interface)}))
            vlans[std::to_string(element.at("vlan").get<int>())][std::string(setting.key)] =
                valueText(setting.kind, element.at(std::string(setting.field)));
    }
    addRecords(vlans, recordsV4(connection, interface), "", "circuit-id", Kind::circuitIdMode);
    addRecords(vlans, recordsV6(connection, interface), "v6-", "interface-id", Kind::interfaceIdMode);
    return vlans;
}

void printInterface(std::ostream& out, const Json& interface)
{
    out << "interface " << interface.at("id") << '\n';
    if (interface.contains("settings"))
        printFields(out, interface.at("settings"));
    for (const char* family : {"dhcp", "dhcpv6", "ndp"}) {
        if (!interface.contains("counters"))
            continue;
        out << " counters " << family << '\n';
        printFields(out, interface.at("counters").at(family));
    }
    if (interface.contains("vlans"))
        for (const auto& [vlan, fields] : interface.at("vlans").items()) {
            out << " vlan " << vlan << '\n';
            printFields(out, fields);
        }
}

Json vlanFields(Connection& connection)
{
    Json vlans = Json::object();
    for (const Setting& setting : vlanSettings()) {
        const Json list = askList(connection, setting.getter);
        for (const Json& element : list)
            vlans[std::to_string(element.at("vlan").get<int>())][std::string(setting.key)] =
                valueText(setting.kind, element.at(std::string(setting.field)));
    }
    return vlans;
}

/// Lines of a section of the dump, from the line that starts with @p title to the next blank one.
Json section(const std::string& dump, const std::string& title)
{
    Json lines = Json::array();
    std::istringstream text(dump);
    std::string line;
    while (std::getline(text, line) && !line.starts_with(title))
        ;
    std::getline(text, line); // underlines the title
    while (std::getline(text, line) && !line.empty())
        lines.push_back(line);
    return lines;
}

} // namespace

void showRelay(Connection& connection, const ShowOptions& options, std::ostream& out)
{
    finish(out, options, relayFields(connection), printFields);
}

void showInterfaces(Connection& connection, const ShowOptions& options, std::ostream& out)
{
    const std::vector<std::uint32_t> ids = options.interface ? std::vector<std::uint32_t>{*options.interface}
                                                             : findInterfaces(connection, options.range);
    Json interfaces = Json::array();
    for (const std::uint32_t each : ids) {
        const std::string id = std::to_string(each);
        if (options.counters)
            interfaces.push_back({{"id", each}, {"counters", interfaceCounters(connection, id)}});
        else
            interfaces.push_back({{"id", each},
                                  {"settings", interfaceFields(connection, id)},
                                  {"vlans", interfaceVlans(connection, each)}});
    }
    finish(out, options, interfaces, [](std::ostream& to, const Json& list) {
        for (const Json& interface : list)
            printInterface(to, interface);
    });
}

void showVlans(Connection& connection, const ShowOptions& options, std::ostream& out)
{
    finish(out, options, vlanFields(connection), [](std::ostream& to, const Json& vlans) {
        for (const auto& [vlan, fields] : vlans.items()) {
            to << "vlan " << vlan << '\n';
            printFields(to, fields);
        }
    });
}

void showServers(Connection& connection, const ShowOptions& options, std::ostream& out)
{
    Json servers = Json::array();
    for (const Json& element : askList(connection, "dra_get_server_vlan_list"))
        servers.push_back(
            {{"server", valueText(Kind::address, element.at("server"))}, {"vlan", element.at("vlan")}});
    finish(out, options, servers, [](std::ostream& to, const Json& list) {
        for (const Json& each : list)
            to << "server " << each.at("server").get<std::string>() << " vlan " << each.at("vlan") << '\n';
    });
}

void showClients(Connection& connection, const ShowOptions& options, std::ostream& out)
{
    const std::string dump = askWord(connection, "dhcpraDump", "");
    const Json clients{{"open", section(dump, " Client data:")},
                       {"history", section(dump, " Client History")}};
    finish(out, options, clients, [](std::ostream& to, const Json& sections) {
        for (const auto& [title, lines] : sections.items()) {
            to << title << '\n';
            for (const Json& line : lines)
                to << "  " << line.get<std::string>() << '\n';
        }
    });
}

} // namespace dhcpractl
