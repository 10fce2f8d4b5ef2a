#pragma once

#include "wire/Bytes.h"
#include "wire/Mac.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

/// Ethernet header and VLAN tags (IEEE 802.3, 802.1Q). Offsets count from the destination MAC.
namespace wire {

inline constexpr std::size_t macDestination = 0;
inline constexpr std::size_t macSource = 6;
inline constexpr std::size_t outerType = 12; ///< type, or protocol of the first tag
inline constexpr std::size_t outerTag = 14;  ///< control word of the first tag
inline constexpr std::size_t innerType = 16; ///< the same behind one tag
inline constexpr std::size_t innerTag = 18;
inline constexpr std::size_t ethernetHeaderSize = 14;
inline constexpr std::size_t tagSize = 4;

/// VLAN id in a tag's control word (IEEE 802.1Q); the rest is priority and drop eligible bit.
inline constexpr std::uint16_t vlanIdMask = 0x0FFF;

inline constexpr std::uint16_t typeIpv4 = 0x0800;
inline constexpr std::uint16_t typeIpv6 = 0x86DD;
inline constexpr std::uint16_t typeCustomerTag = 0x8100;
inline constexpr std::uint16_t typeServiceTag = 0x88A8;

/// The MAC address at an offset; bytes that have not come are 0.
[[nodiscard]] inline Mac macAt(ConstBytes bytes, std::size_t offset)
{
    Mac mac{};
    const auto source = bytes.part(offset, macSize);
    if (!source.empty())
        std::memcpy(mac.data(), source.data(), source.size());
    return mac;
}

/// The type word behind the tags, and where its payload starts.
struct PayloadType
{
    std::uint16_t type;
    std::size_t payload;
};

/// Crosses tags as long as @p isTag(protocol, control word) says that a tag stands there. Words that have not
/// come read as 0.
template <typename IsTag>
[[nodiscard]] PayloadType crossTagsWhile(ConstBytes ethernet, IsTag&& isTag)
{
    const auto wordAt = [&](std::size_t offset) { return ethernet.be16(offset).value_or(0); };
    std::size_t position = outerType;
    while (isTag(wordAt(position), wordAt(position + sizeof(std::uint16_t))))
        position += tagSize;
    return {wordAt(position), position + sizeof(std::uint16_t)};
}

/// Crosses at most one service tag and then at most two customer tags; a further tag is taken for the type.
/// The ICMPv6 view looks for another value of the service tag.
[[nodiscard]] inline PayloadType crossTags(ConstBytes ethernet, std::uint16_t serviceTag = typeServiceTag)
{
    bool first = true;
    int customerTags = 0;
    return crossTagsWhile(ethernet, [&](std::uint16_t protocol, std::uint16_t) {
        if (std::exchange(first, false) && protocol == serviceTag)
            return true;
        return protocol == typeCustomerTag && ++customerTags <= 2;
    });
}

/// Puts a tag that the kernel moved aside back behind the MAC addresses. @p room holds four free bytes and
/// then the frame, and the tagged frame fills it. False, and nothing changed, for a frame without addresses.
inline bool restoreTag(Bytes room, std::uint16_t protocol, std::uint16_t control)
{
    if (!room.holds(tagSize, outerType))
        return false;
    room.move(0, tagSize, outerType);
    return room.putBe16(outerType, protocol) && room.putBe16(outerTag, control);
}

} // namespace wire
