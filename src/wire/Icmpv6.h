#pragma once

#include "wire/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// ICMPv6 (RFC 4443, section 2) and neighbour discovery (RFC 4861, section 4). Offsets from the ICMPv6 type,
/// or from the type of an option.
namespace wire {

inline constexpr std::size_t icmpv6Type = 0;
inline constexpr std::size_t icmpv6Code = 1;
inline constexpr std::size_t icmpv6Checksum = 2;

inline constexpr std::uint8_t routerSolicitation = 133;
inline constexpr std::uint8_t routerAdvertisement = 134;
inline constexpr std::uint8_t neighbourSolicitation = 135;
inline constexpr std::uint8_t neighbourAdvertisement = 136;
inline constexpr std::uint8_t redirectMessage = 137;

inline constexpr std::size_t advertisedFlags = 5; ///< of a router advertisement
inline constexpr std::uint8_t advertisedManaged = 0x80;
inline constexpr std::uint8_t advertisedOther = 0x40;
inline constexpr std::size_t neighbourTarget = 8; ///< of a solicitation, an advertisement, a redirect

inline constexpr std::uint8_t ndSourceLinkLayer = 1;
inline constexpr std::uint8_t ndTargetLinkLayer = 2;
inline constexpr std::size_t ndLinkLayerAddress = 2;
inline constexpr std::uint8_t ndPrefixInformation = 3;
inline constexpr std::size_t ndPrefixLength = 2; ///< in bits
inline constexpr std::size_t ndPrefixFlags = 3;
inline constexpr std::uint8_t ndPrefixOnLink = 0x80;
inline constexpr std::uint8_t ndPrefixAutonomous = 0x40;
inline constexpr std::size_t ndPrefixValidLifetime = 4;
inline constexpr std::size_t ndPrefixPreferredLifetime = 8;
inline constexpr std::size_t ndPrefix = 16;

enum class NdOptionEnd : std::uint8_t {
    found,
    absent,    ///< also in messages that have no options
    malformed, ///< an option of length 0, or one that runs past the end of the message
};

struct NdOption
{
    NdOptionEnd result;
    std::span<const std::uint8_t> bytes{}; ///< the whole option, from its type on
};

/// The first option @p wanted of a neighbour discovery message, which reaches from the ICMPv6 type to the
/// last byte that is claimed and has come. Options in front of it have to be whole.
[[nodiscard]] NdOption findNdOption(ConstBytes message, std::uint8_t wanted);

/// What the checksum of the message at @p icmp, counted from the IPv6 header, should be; nothing if bytes
/// that the header claims have not come, or none of the message is claimed.
[[nodiscard]] std::optional<std::uint16_t> icmpv6ChecksumOf(ConstBytes ip, std::size_t icmp);

} // namespace wire
