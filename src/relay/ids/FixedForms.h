#pragma once

#include "platform/Interfaces.h"
#include "relay/ids/IdDebug.h"
#include "relay/ids/NumberText.h"
#include "relay/model/dhcpraTypes.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

/// Vendor word in front of the fixed forms.
inline constexpr char defaultVendorId[] = "KORVANEL";

/// Pieces of the fixed id forms, the same in both families.

/// Slot of this board; 0, and said so, when the node does not tell.
[[nodiscard]] std::uint8_t slotOfBoard(const IdDebug& debug);

/// What the forms call a type of interface: "eth" for those listed, "n/a" for all others.
[[nodiscard]] inline std::string_view typeWord(Interfaces::interfaceType type,
                                               std::initializer_list<Interfaces::interfaceType> ethTypes)
{
    return std::ranges::find(ethTypes, type) == ethTypes.end() ? "n/a" : "eth";
}

/// The name behind its first "/"; the whole name if it has none.
[[nodiscard]] inline std::string_view portTail(std::string_view name)
{
    const std::size_t slash = name.find('/');
    return slash == std::string_view::npos ? name : name.substr(slash + 1);
}

/// ":" and the VLAN in decimal, or @p placeholder in place of no VLAN.
inline void appendVlan(std::string& id, std::uint16_t vid, std::string_view placeholder)
{
    id += ':';
    if (dhcpraTypes::isNoVlan(vid))
        id += placeholder;
    else
        appendDecimal(id, vid);
}

inline constexpr std::string_view noVlanText = "<vid>";
inline constexpr std::string_view noCVlanText = "<cvid>";

/// "KORVANEL:shelf word slot/port"
inline void vendorForm(std::string& id, std::string_view shelfId, std::string_view word, std::uint8_t slot,
                       std::string_view port)
{
    id = defaultVendorId;
    id += ':';
    id += shelfId;
    id += ' ';
    id += word;
    id += ' ';
    appendDecimal(id, slot);
    id += '/';
    id += port;
}

/// "node word chassis/slot/port"
inline void standardForm(std::string& id, std::string_view node, std::string_view word, int chassis,
                         std::uint8_t slot, std::string_view port)
{
    id = node;
    id += ' ';
    id += word;
    id += ' ';
    appendDecimal(id, chassis);
    id += '/';
    appendDecimal(id, slot);
    id += '/';
    id += port;
}
