#include "tools/dhcpractl/Save.h"

#include "tools/dhcpractl/IntfVlanRecords.h"
#include "tools/dhcpractl/Lines.h"
#include "tools/dhcpractl/Procedures.h"
#include "tools/dhcpractl/Settings.h"

#include <initializer_list>
#include <ostream>
#include <set>

namespace dhcpractl {

namespace {

/// Head of a file: no procedure reads these.
constexpr const char* unsaved[] = {
    "Settings of the relay, for dhcpractl apply. No procedure reads these back, so they are missing:",
    "  chassis-id, shelf-id, local-mac, local-ip, contact, location, name,",
    "  of interfaces description, cpe-serial, cpe-mac and the ATM parameters of PVCs.",
    "Nor whether an ATM circuit-id-mode is protected against others: here all are.",
    "apply_default_settings forgets chassis-id, cpe-serial, cpe-mac and ATM parameters: set them behind it.",
};

class Writer
{
public:
    explicit Writer(std::ostream& stream) : out(stream) {}

    void comment(std::string_view text) { out << "# " << text << '\n'; }
    void line(std::string_view procedure, std::initializer_list<std::string> arguments)
    {
        out << "rpc_" << procedure;
        for (const std::string& argument : arguments)
            out << ' ' << quoteWord(argument);
        out << '\n';
    }

private:
    std::ostream& out;
};

std::string fieldOf(const Json& object, const Setting& setting)
{
    return valueText(setting.kind, object.at(std::string(setting.field)));
}

void saveRelay(Connection& connection, Writer& writer, bool switches)
{
    for (const Setting& setting : relaySettings()) {
        const bool isSwitch = setting.key == "enabled" || setting.key == "v6-enabled";
        if (!setting.getter.empty() && isSwitch == switches)
            writer.line(setting.setter, {fieldOf(ask(connection, setting.getter), setting)});
    }
}

void saveServers(Connection& connection, Writer& writer)
{
    // Equal addresses keep their order.
    for (const Json& element : askList(connection, "dra_get_server_vlan_list"))
        writer.line("dra_set_server_vlan", {valueText(Kind::address, element.at("server")),
                                            std::to_string(element.at("vlan").get<int>()), "1"});
}

/// A record comes to be with its first value, and with a start of its own in the others: those that are unset
/// are taken back behind all that are set.
void saveVlans(Connection& connection, Writer& writer)
{
    for (const bool unset : {false, true})
        for (const Setting& setting : vlanSettings()) {
            const Json list = askList(connection, setting.getter);
            for (const Json& element : list) {
                const bool isUnset = element.at(std::string(setting.field)) == RPC_DHCPRA_NOT_SET;
                if (isUnset == unset)
                    writer.line(setting.setter,
                                {std::to_string(element.at("vlan").get<int>()), fieldOf(element, setting)});
            }
        }
}

void saveInterface(Connection& connection, Writer& writer, const std::string& id)
{
    for (const Setting& setting : interfaceSettings()) {
        if (setting.getter.empty())
            continue;
        const std::string value = fieldOf(ask(connection, setting.getter, {id}), setting);
        if (setting.kind != Kind::circuitIdMode)
            writer.line(setting.setter, {id, value});
        else if (value == "atm") // whether it is protected is not told; a mode that an operator set is
            writer.line(setting.setter, {id, value, "1"});
        else if (value != "korvanel")
            writer.line(setting.setter, {id, value, "0"});
    }
    for (const Setting& setting : interfaceVlanSettings()) {
        if (!vlanComesLast(setting))
            continue;
        for (const Json& element : askList(connection, setting.getter, {id}))
            writer.line(setting.setter,
                        {id, fieldOf(element, setting), std::to_string(element.at("vlan").get<int>())});
    }
}

struct RecordProcedures
{
    const char* mode;
    const char* idFormat;
    const char* remoteIdFormat;
};
constexpr RecordProcedures proceduresV4{"dra_cid_mode_intf_vlan_set", "dra_cid_format_intf_vlan_set",
                                        "dra_rid_format_intf_vlan_set"};
constexpr RecordProcedures proceduresV6{"dra6_interfaceid_mode_intf_vlan_set",
                                        "dra6_interfaceid_format_intf_vlan_set",
                                        "dra6_remoteid_format_intf_vlan_set"};

void saveRecord(Writer& writer, const RecordProcedures& procedures, const std::string& id,
                const std::string& vlan, const IntfVlanRecord& record)
{
    if (record.mode != -1)
        writer.line(procedures.mode, {id, vlan, std::to_string(record.mode)});
    if (!record.idFormat.empty())
        writer.line(procedures.idFormat, {id, vlan, record.idFormat});
    if (!record.remoteIdFormat.empty())
        writer.line(procedures.remoteIdFormat, {id, vlan, record.remoteIdFormat});
}

/// A record that says nothing can only be added, which adds one in both families; setting nothing takes the
/// other family's away again.
void saveRecords(Connection& connection, Writer& writer, std::uint32_t interface)
{
    const std::string id = std::to_string(interface);
    const IntfVlanRecords v4 = recordsV4(connection, interface);
    const IntfVlanRecords v6 = recordsV6(connection, interface);
    std::set<std::uint16_t> vlans;
    for (const auto& [vlan, record] : v4)
        vlans.insert(vlan);
    for (const auto& [vlan, record] : v6)
        vlans.insert(vlan);

    const IntfVlanRecord silent;
    for (const std::uint16_t each : vlans) {
        const std::string vlan = std::to_string(each);
        const auto inV4 = v4.find(each);
        const auto inV6 = v6.find(each);
        const bool isSilent =
            (inV4 != v4.end() && inV4->second == silent) || (inV6 != v6.end() && inV6->second == silent);
        if (isSilent)
            writer.line("dra_intf_vlan_add", {id, vlan});
        if (inV4 != v4.end())
            saveRecord(writer, proceduresV4, id, vlan, inV4->second);
        else if (isSilent)
            writer.line(proceduresV4.idFormat, {id, vlan, ""});
        if (inV6 != v6.end())
            saveRecord(writer, proceduresV6, id, vlan, inV6->second);
        else if (isSilent)
            writer.line(proceduresV6.idFormat, {id, vlan, ""});
    }
}

} // namespace

void save(Connection& connection, const std::optional<IdRange>& range, std::ostream& out)
{
    Writer writer(out);
    for (const char* text : unsaved)
        writer.comment(text);
    const std::vector<std::uint32_t> interfaces = findInterfaces(connection, range);
    const std::string where = range ? "under the ids " + std::to_string(range->first) + "-" +
                                          std::to_string(range->last) + " (--ids)"
                                    : "everywhere";
    writer.comment("Interfaces were looked for " + where + ": " + std::to_string(interfaces.size()) +
                   " found.");
    writer.line("dra_apply_default_settings", {});
    saveRelay(connection, writer, false);
    saveServers(connection, writer);
    saveVlans(connection, writer);
    for (const std::uint32_t interface : interfaces) {
        saveInterface(connection, writer, std::to_string(interface));
        saveRecords(connection, writer, interface);
    }
    saveRelay(connection, writer, true);
}

} // namespace dhcpractl
