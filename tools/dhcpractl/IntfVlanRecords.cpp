#include "tools/dhcpractl/IntfVlanRecords.h"

#include "tools/dhcpractl/Failures.h"
#include "tools/dhcpractl/Procedures.h"
#include "tools/dhcpractl/ReplyFile.h"

#include <cstdlib>
#include <dhcpra.h> // made from dhcpra.x
#include <string_view>

namespace dhcpractl {

namespace {

struct Family
{
    const char* list;
    const char* idFormat; ///< field of the list's elements
    const char* word;     ///< of the dump
};

constexpr Family v4{"dra_intf_vlan_list", "circuitIdFormat", "dhcpraDump"};
constexpr Family v6{"dra6_intf_vlan_list", "interfaceIdFormat", "dhcprav6Dump"};

IntfVlanRecords records(Connection& connection, const Family& family, std::uint32_t interface)
{
    const std::string id = std::to_string(interface);
    const Json result = call(connection, family.list, {id});
    if (codeOf(result) == RPC_DRA_ENTITY_FAILED)
        return recordsOfDump(askWord(connection, family.word, id));
    if (codeOf(result) != RPC_DRA_SUCCESS)
        throw Refused("interface " + id + ": " + std::string(connection.program().meaningOf(codeOf(result))));
    IntfVlanRecords found;
    for (const Json& element : result.at("list"))
        found[element.at("vlan").get<std::uint16_t>()] = {element.at("mode"), element.at(family.idFormat),
                                                          element.at("remoteIdFormat")};
    return found;
}

/// The text between @p before and the "'" that ends a line, from @p position on, which moves behind it.
std::string textAfter(std::string_view dump, std::string_view before, std::size_t& position)
{
    const std::size_t found = dump.find(before, position);
    if (found == std::string_view::npos)
        return {};
    const std::size_t begin = found + before.size();
    const std::size_t end = dump.find("'\n", begin);
    position = end == std::string_view::npos ? dump.size() : end;
    return std::string(dump.substr(begin, position - begin));
}

} // namespace

IntfVlanRecords recordsV4(Connection& connection, std::uint32_t interface)
{
    return records(connection, v4, interface);
}

IntfVlanRecords recordsV6(Connection& connection, std::uint32_t interface)
{
    return records(connection, v6, interface);
}

IntfVlanRecords recordsOfDump(const std::string& dump)
{
    constexpr std::string_view vlan = "\t\tVlan: ";
    IntfVlanRecords found;
    for (std::size_t at = dump.find(vlan); at != std::string::npos; at = dump.find(vlan, at)) {
        at += vlan.size();
        const auto vid = static_cast<std::uint16_t>(std::strtoul(dump.c_str() + at, nullptr, 10));
        IntfVlanRecord& record = found[vid];
        constexpr std::string_view mode = "IdMode: ";
        if (const std::size_t modeAt = dump.find(mode, at); modeAt != std::string::npos)
            record.mode = static_cast<int>(std::strtol(dump.c_str() + modeAt + mode.size(), nullptr, 10));
        record.idFormat = textAfter(dump, "idFormat: '", at);
        record.remoteIdFormat = textAfter(dump, "ridFormat: '", at);
    }
    return found;
}

} // namespace dhcpractl
