#pragma once

#include <cstddef>

/// UDP header (RFC 768). Offsets from its first byte.
namespace wire {

inline constexpr std::size_t udpHeaderSize = 8;
inline constexpr std::size_t udpSourcePort = 0;
inline constexpr std::size_t udpDestinationPort = 2;
inline constexpr std::size_t udpLength = 4;
inline constexpr std::size_t udpChecksum = 6;

} // namespace wire
