#pragma once

#include "vnode/model/Types.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vnode {

[[nodiscard]] constexpr bool isTpid(std::uint16_t value)
{
    return value == wire::typeCustomerTag || value == wire::typeServiceTag;
}

/// A VLAN tag as it stands on the wire (IEEE 802.1Q).
struct Tag
{
    std::uint16_t tpid = wire::typeCustomerTag;
    std::uint16_t tci = 0;

    [[nodiscard]] constexpr std::uint16_t vid() const { return tci & vlanIdMask; }
    [[nodiscard]] constexpr Tag withVid(std::uint16_t vid) const
    {
        return {tpid, static_cast<std::uint16_t>((tci & ~vlanIdMask) | (vid & vlanIdMask))};
    }
    friend constexpr bool operator==(const Tag&, const Tag&) = default;
};

/// Ethernet header with up to three tags of either protocol.
struct EtherHeader
{
    static constexpr std::size_t maxTags = 3;

    MacAddress destination{};
    MacAddress source{};
    std::array<Tag, maxTags> tags{};
    std::size_t tagCount = 0;
    std::uint16_t type = 0;  ///< behind the tags; a tag protocol where a fourth tag follows
    std::size_t payload = 0; ///< offset of what follows the type
};

/// Nothing for a frame that ends inside its header.
[[nodiscard]] std::optional<EtherHeader> parseEther(std::span<const std::uint8_t> frame);

/// The frame with another outer tag: its MACs, @p tag if any, and its bytes from @p rest on, into @p out (old
/// content goes).
void composeFrame(std::span<const std::uint8_t> frame, std::size_t rest, const std::optional<Tag>& tag,
                  std::vector<std::uint8_t>& out);

} // namespace vnode
