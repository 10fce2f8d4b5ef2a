#pragma once

#include "tools/dhcpractl/Connection.h"

#include <cstdint>
#include <map>
#include <string>

namespace dhcpractl {

/// What an interface says for one VLAN in one family.
struct IntfVlanRecord
{
    int mode = -1; ///< -1: none of its own
    std::string idFormat;
    std::string remoteIdFormat;

    bool operator==(const IntfVlanRecord&) const = default;
};
using IntfVlanRecords = std::map<std::uint16_t, IntfVlanRecord>;

/// From the list of the family; where a record without a mode ends that, from the dump. @throws Refused
[[nodiscard]] IntfVlanRecords recordsV4(Connection& connection, std::uint32_t interface);
[[nodiscard]] IntfVlanRecords recordsV6(Connection& connection, std::uint32_t interface);

/// The records in a dump's text.
[[nodiscard]] IntfVlanRecords recordsOfDump(const std::string& dump);

} // namespace dhcpractl
