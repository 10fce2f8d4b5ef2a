#pragma once

#include "relay/model/dhcpraTypes.h"

#include <array>
#include <cstddef>
#include <string_view>

/// Letter in front of a macro.
inline constexpr std::string_view macroIdentifier = "$";

/// Largest number of characters (in hexadecimal output: of bytes) that a macro may ask for.
inline constexpr std::uint32_t macroNumOfCharsMax = 99;

/// Longest id, in characters or bytes.
inline constexpr std::size_t customIdLengthMax = 253;

/// Option bits of a macro.
enum macroStringFlag : char {
    macroStringPrintHex = 1,   ///< "h": hexadecimal text, binary in the sub-option
    macroStringNumOfChars = 2, ///< digits
    macroStringPadZeroes = 4,  ///< "z"
    macroStringPadSpaces = 8,  ///< "s"
    macroStringDelimChar = 16, ///< "d" and the delimiter
};

[[nodiscard]] constexpr bool hasFlag(char flags, int anyOf) { return (flags & anyOf) != 0; }

/// One macro of the custom id formats.
struct MacroRow
{
    dhcpraTypes::customIdFormat type;
    std::string_view word;
    bool hex = false;        ///< takes "h"
    bool delimiter = false;  ///< takes "d"
    bool userString = false; ///< what stands before the word is its value
};

using customIdFormatMacros_t = std::array<MacroRow, dhcpraTypes::customIdFormatCount>;

[[nodiscard]] constexpr customIdFormatMacros_t createCustomIdFormatMacrosMap()
{
    using enum dhcpraTypes::customIdFormat;
    return {{
        {SHELF, "SHELF"},
        {CHASSIS, "CHASSIS", true},
        {PANEL, "PANEL"},
        {INTF_TYPE, "INTF_TYPE"},
        {AGENT_BOARD, "AGENT_BOARD", true},
        {BOARD, "BOARD", true},
        {PORT, "PORT", true},
        {PORT_REM_ID, "PORT_REM_ID"},
        {INTF, "INTF"},
        {INTF_DSCR, "INTF_DSCR"},
        {ONU, "ONU", true},
        {VGEM, "VGEM", true},
        {TCONT, "TCONT", true},
        {PVC_INTF, "PVC_INTF", true},
        {VPI, "VPI", true},
        {VCI, "VCI", true},
        {CLNT_MAC, "CLNT_MAC", true, true},
        {AGENT_MAC, "AGENT_MAC", true, true},
        {AGENT_IPV4, "AGENT_IPV4", true, true},
        {AGENT_IPV6, "AGENT_IPV6", true, true},
        {VLAN, "VLAN", true},
        {VLAN_NAME, "VLAN_NAME"},
        {CVID, "CVID", true},
        {SYSNAME, "SYSNAME"},
        {LOCATION, "LOCATION"},
        {CONTACT, "CONTACT"},
        {HEX, "HEX", false, false, true},
        {CPE_SERIAL, "CPE_SERIAL"},
        {CPE_MAC, "CPE_MAC", true, true},
    }};
}

/// The macros by type; constant-initialised, so that no constructor of another translation unit can meet it
/// unbuilt.
inline constexpr customIdFormatMacros_t customIdFormatMacros = createCustomIdFormatMacrosMap();

static_assert(
    [] {
        for (std::size_t index = 0; index < customIdFormatMacros.size(); ++index) {
            if (customIdFormatMacros[index].type != static_cast<dhcpraTypes::customIdFormat>(index) ||
                customIdFormatMacros[index].word.empty())
                return false;
        }
        return true;
    }(),
    "one row for each macro type, in order");

/// Null for a type outside the table.
[[nodiscard]] constexpr const MacroRow* macroRow(dhcpraTypes::customIdFormat type)
{
    const auto index = static_cast<std::size_t>(type);
    return index < customIdFormatMacros.size() ? &customIdFormatMacros[index] : nullptr;
}

/// The macro's word, "N/A" for a type outside the table.
[[nodiscard]] constexpr std::string_view macroFormatTypeToString(dhcpraTypes::customIdFormat type)
{
    const MacroRow* row = macroRow(type);
    return row == nullptr ? "N/A" : row->word;
}

[[nodiscard]] constexpr bool macroIsSupportedForHex(dhcpraTypes::customIdFormat type)
{
    const MacroRow* row = macroRow(type);
    return row != nullptr && row->hex;
}

[[nodiscard]] constexpr bool macroIsSupportedForDelimiter(dhcpraTypes::customIdFormat type)
{
    const MacroRow* row = macroRow(type);
    return row != nullptr && row->delimiter;
}

[[nodiscard]] constexpr bool macroIsSupportedForUserString(dhcpraTypes::customIdFormat type)
{
    const MacroRow* row = macroRow(type);
    return row != nullptr && row->userString;
}
