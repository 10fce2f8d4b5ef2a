#pragma once

#include "wire/Bytes.h"

#include <cstddef>
#include <cstdint>

/// The IPv6 header (RFC 8200, section 3), and UDP right behind it. Offsets from its first byte; windows start
/// at a header and end with the last byte received.
namespace wire {

inline constexpr std::size_t ipv6FixedSize = 40;
inline constexpr std::size_t ipv6PayloadLength = 4;
inline constexpr std::size_t ipv6NextHeader = 6;
inline constexpr std::size_t ipv6HopLimit = 7;
inline constexpr std::size_t ipv6Source = 8;
inline constexpr std::size_t ipv6Destination = 24;
inline constexpr std::size_t ipv6AddressSize = 16;

inline constexpr std::uint8_t nextHeaderUdp = 17;
inline constexpr std::uint8_t nextHeaderIcmpv6 = 58;

/// Pseudo header (RFC 8200, section 8.1) and segment, its checksum field counted as zero. A segment that
/// claims more than has come is summed as far as it has come.
[[nodiscard]] std::uint16_t udpChecksumOverIpv6(ConstBytes ip, ConstBytes udp);

} // namespace wire
