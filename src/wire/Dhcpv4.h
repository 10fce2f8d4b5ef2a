#pragma once

#include <cstddef>
#include <cstdint>

/// Fixed part of a DHCPv4 message (RFC 2131, figure 1 and table 1). Offsets from its first byte.
namespace frame {

inline constexpr std::size_t dhcpOp = 0;
inline constexpr std::size_t dhcpHtype = 1;
inline constexpr std::size_t dhcpHlen = 2;
inline constexpr std::size_t dhcpHops = 3;
inline constexpr std::size_t dhcpXid = 4;
inline constexpr std::size_t dhcpSecs = 8;
inline constexpr std::size_t dhcpFlags = 10;
inline constexpr std::size_t dhcpCiaddr = 12;
inline constexpr std::size_t dhcpYiaddr = 16;
inline constexpr std::size_t dhcpSiaddr = 20;
inline constexpr std::size_t dhcpGiaddr = 24;
inline constexpr std::size_t dhcpChaddr = 28;
inline constexpr std::size_t dhcpChaddrSize = 16;

inline constexpr std::uint16_t dhcpBroadcastBit = 0x8000;
inline constexpr std::uint8_t dhcpOpRequest = 1;

} // namespace frame
