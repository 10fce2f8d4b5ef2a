#pragma once

#include "relay/model/dhcpraInterface.h"

#include <cstdint>
#include <string>

/**
 * What differs between the two families in custom ids; all else is shared. The format look-ups answer null
 * where the interface has no record for the VLAN.
 */
struct IdFamily
{
    const std::string& (*portRemoteId)(const dhcpraInterface& interface, std::uint16_t vid);
    const std::string* (*idFormat)(const dhcpraInterface& interface, std::uint16_t vid);
    const std::string* (*remoteIdFormat)(const dhcpraInterface& interface, std::uint16_t vid);
    const char* idWord; ///< the first id in debug texts
};

/// DHCPv4: circuit id and remote id of option 82 (RFC 3046).
extern const IdFamily idFamilyV4;

/// DHCPv6: interface id, option 18 (RFC 8415), and remote id, option 37 (RFC 4649).
extern const IdFamily idFamilyV6;
