#pragma once

#include "wire/Bytes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>

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
using Ipv6Address = std::array<std::uint8_t, ipv6AddressSize>;

inline constexpr std::uint8_t nextHeaderHopByHop = 0;
inline constexpr std::uint8_t nextHeaderRouting = 43;
inline constexpr std::uint8_t nextHeaderFragment = 44;
inline constexpr std::uint8_t nextHeaderDestinationOptions = 60;
inline constexpr std::uint8_t nextHeaderUdp = 17;
inline constexpr std::uint8_t nextHeaderIcmpv6 = 58;

/// Pseudo header (RFC 8200, section 8.1) and segment, its checksum field counted as zero. A segment that
/// claims more than has come is summed as far as it has come.
[[nodiscard]] std::uint16_t udpChecksumOverIpv6(ConstBytes ip, ConstBytes udp);

/// What an IPv6 packet carries behind its extension headers.
struct Ipv6UpperLayer
{
    std::uint8_t protocol = 0;
    std::size_t offset = 0; ///< from the IPv6 header; may lie behind the last byte
};

/// Follows the chain of extension headers (RFC 8200, section 4) through those of the types @p crossed.
/// Nothing for a header that is cut, and for a later fragment, which has no upper layer header.
[[nodiscard]] std::optional<Ipv6UpperLayer> upperLayerOf(ConstBytes ip,
                                                         std::initializer_list<std::uint8_t> crossed);

} // namespace wire
