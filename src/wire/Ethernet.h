#pragma once

#include "wire/Bytes.h"
#include "wire/Mac.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

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

/// Crosses tags as long as @p isTag(protocol, position) says that the word at that offset is a tag's
/// protocol. Words that have not come read as 0.
template <typename IsTag>
[[nodiscard]] PayloadType crossTagsWhile(ConstBytes ethernet, IsTag&& isTag)
{
    std::size_t position = outerType;
    std::uint16_t type = ethernet.be16(position).value_or(0);
    while (isTag(type, position)) {
        position += tagSize;
        type = ethernet.be16(position).value_or(0);
    }
    return {type, position + sizeof(std::uint16_t)};
}

/// Control word of the tag whose protocol stands at @p position; 0 if it has not come.
[[nodiscard]] inline std::uint16_t tagControlAt(ConstBytes ethernet, std::size_t position)
{
    return ethernet.be16(position + sizeof(std::uint16_t)).value_or(0);
}

/// Crosses at most one service tag and then at most two customer tags; a further tag is taken for the type.
/// The ICMPv6 view looks for another value of the service tag.
[[nodiscard]] inline PayloadType crossTags(ConstBytes ethernet, std::uint16_t serviceTag = typeServiceTag)
{
    int left = 3; // a service tag, which only stands first, and two customer tags
    return crossTagsWhile(ethernet, [&left, serviceTag](std::uint16_t protocol, std::size_t) {
        if (left == 3 && protocol == serviceTag) {
            left = 2;
            return true;
        }
        if (protocol != typeCustomerTag || left == 0)
            return false;
        left = left == 3 ? 1 : left - 1;
        return true;
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
