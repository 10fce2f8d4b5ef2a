#pragma once

#include "wire/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>

/// IPv4 headers (RFC 791), and UDP behind them. Windows start at the header and end with the last byte
/// received.
namespace wire {

inline constexpr std::size_t ipv4FixedSize = 20;
inline constexpr std::size_t ipv4TotalLength = 2;
inline constexpr std::size_t ipv4Identification = 4;
inline constexpr std::size_t ipv4Fragment = 6; ///< flags and offset
inline constexpr std::size_t ipv4Ttl = 8;
inline constexpr std::size_t ipv4Protocol = 9;
inline constexpr std::size_t ipv4Checksum = 10;
inline constexpr std::size_t ipv4Source = 12;
inline constexpr std::size_t ipv4Destination = 16;

inline constexpr std::uint16_t ipv4MoreFragments = 0x2000;
inline constexpr std::uint16_t ipv4FragmentOffset = 0x1FFF;

inline constexpr std::uint8_t protocolTcp = 6;
inline constexpr std::uint8_t protocolUdp = 17;

[[nodiscard]] inline std::uint8_t ipVersion(ConstBytes ip)
{
    return static_cast<std::uint8_t>(ip.u8(0).value_or(0) >> 4);
}

/// Header size as the header claims it, in bytes.
[[nodiscard]] inline std::size_t ipv4HeaderSize(ConstBytes ip)
{
    return std::size_t{4} * (ip.u8(0).value_or(0) & 0x0Fu);
}

/// What the checksum fields should hold, each field counted as zero; nothing if bytes to be summed have not
/// come.
[[nodiscard]] std::optional<std::uint16_t> ipv4ChecksumOf(ConstBytes ip);
[[nodiscard]] std::optional<std::uint16_t> udpChecksumOf(ConstBytes ip, ConstBytes udp);

} // namespace wire
