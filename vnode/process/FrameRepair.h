#pragma once

#include "wire/Ethernet.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vnode {

/// Longest frame that a port takes, tags included; larger ones (segmentation offload of a local sender, jumbo
/// frames) are dropped and counted.
constexpr std::size_t largestFrame = 9728;

/// A receive buffer with room in front of the frame for the tag that the kernel moved aside.
struct FrameBuffer
{
    std::array<std::uint8_t, wire::tagSize + largestFrame> bytes;

    /// Where the kernel writes the frame.
    [[nodiscard]] std::span<std::uint8_t> landing() { return std::span(bytes).subspan(wire::tagSize); }
};

/**
 * Computes the UDP or TCP checksum of an unfragmented IPv4 or IPv6 frame behind up to three tags (RFC 768,
 * RFC 9293 section 3.1, RFC 8200 section 8.1). Local senders leave it to the card (checksum offload), and a
 * veth has none. False, and the frame untouched, when it has no such checksum or claims more bytes than it
 * has.
 */
bool completeChecksum(std::span<std::uint8_t> frame);

/// The frame as far as its IPv4 or IPv6 packet, behind up to three tags, goes: padding, and the tail with
/// which the daemon sends some of its DHCPv6 frames, are no part of that. Other frames, and those that claim
/// more than they have, as they are.
[[nodiscard]] std::span<const std::uint8_t> withoutTail(std::span<const std::uint8_t> frame);

} // namespace vnode
