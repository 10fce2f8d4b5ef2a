#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/**
 * Reads the fixed text forms of a circuit id back, to find the subscriber's port and VLANs:
 *
 *     KORVANEL:shelf eth slot/interface:vlan[:cvlan]     maker form
 *     node eth chassis/slot/portTail:vlan[:cvlan]        standard form
 *     KORVANEL:shelf atm slot/portTail:vpi.vci           ATM form
 *
 * A text with "atm" anywhere is taken for the ATM form and one with "KORVANEL" anywhere for the maker form:
 * the texts of deployed nodes are recognised that way, so it stays. Numbers are read by numberAtStart().
 */
namespace frame {

enum class VlanFieldResult {
    found,
    atmForm,     ///< carries no VLAN
    noCvlan,     ///< a form without C-VLAN, when that was asked for
    unknownForm, ///< not a number of colons that any form has
    empty,       ///< nothing where the number should stand
};

struct VlanField
{
    VlanFieldResult result;
    std::uint16_t vlan = 0;
};

[[nodiscard]] VlanField vlanOfCircuitId(std::string_view circuitId);
[[nodiscard]] VlanField cvlanOfCircuitId(std::string_view circuitId);

enum class PortFieldResult {
    found,
    foundAtm, ///< the port is the parent of the PVC with this vpi and vci
    unknownForm,
    noColon,
    noSlash,
    empty,
};

struct PortField
{
    PortFieldResult result;
    std::string port; ///< interface name as the registry knows it
    std::uint32_t vpi = 0;
    std::uint32_t vci = 0;
};

[[nodiscard]] PortField portOfCircuitId(std::string_view circuitId);

} // namespace frame
