#pragma once

#include "wire/Bytes.h"

#include <cstddef>
#include <cstdint>

/// Ethernet header and VLAN tags (IEEE 802.3, 802.1Q). Offsets count from the destination MAC.
namespace wire {

inline constexpr std::size_t macSize = 6;
inline constexpr std::size_t macDestination = 0;
inline constexpr std::size_t macSource = 6;
inline constexpr std::size_t outerType = 12; ///< type, or protocol of the first tag
inline constexpr std::size_t outerTag = 14;  ///< control word of the first tag
inline constexpr std::size_t innerType = 16; ///< the same behind one tag
inline constexpr std::size_t innerTag = 18;
inline constexpr std::size_t ethernetHeaderSize = 14;
inline constexpr std::size_t tagSize = 4;

inline constexpr std::uint16_t typeIpv4 = 0x0800;
inline constexpr std::uint16_t typeIpv6 = 0x86DD;
inline constexpr std::uint16_t typeCustomerTag = 0x8100;
inline constexpr std::uint16_t typeServiceTag = 0x88A8;

/// The type word behind the tags, and where its payload starts.
struct PayloadType
{
    std::uint16_t type;
    std::size_t payload;
};

/// Crosses at most one service tag and then at most two customer tags; a further tag is taken for the type.
/// Words that have not come read as 0. The ICMPv6 view looks for another value of the service tag.
[[nodiscard]] inline PayloadType crossTags(ConstBytes ethernet, std::uint16_t serviceTag = typeServiceTag)
{
    std::size_t position = outerType;
    const auto typeAt = [&](std::size_t offset) { return ethernet.be16(offset).value_or(0); };

    if (typeAt(position) == serviceTag)
        position += tagSize;
    if (typeAt(position) == typeCustomerTag)
        position += tagSize * (typeAt(position + tagSize) == typeCustomerTag ? 2 : 1);
    return {typeAt(position), position + sizeof(std::uint16_t)};
}

} // namespace wire
