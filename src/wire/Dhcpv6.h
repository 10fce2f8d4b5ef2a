#pragma once

#include "wire/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// DHCPv6 messages (RFC 8415, sections 8 and 9) and the options that a relay reads or writes (sections 21.2,
/// 21.10, 21.18; RFC 4649). Offsets from the first byte of the message, or of the option.
namespace wire {

inline constexpr std::size_t dhcpv6Type = 0;
inline constexpr std::size_t dhcpv6TransactionId = 1; ///< three bytes; not in relay messages
inline constexpr std::size_t dhcpv6Options = 4;

inline constexpr std::size_t dhcpv6Hops = 1; ///< from here on relay messages only
inline constexpr std::size_t dhcpv6LinkAddress = 2;
inline constexpr std::size_t dhcpv6PeerAddress = 18;
inline constexpr std::size_t dhcpv6RelayOptions = 34;

inline constexpr std::uint8_t dhcpv6RelayForward = 12;
inline constexpr std::uint8_t dhcpv6RelayReply = 13;

inline constexpr std::uint8_t optionClientId = 1;
inline constexpr std::uint8_t optionRelayMessage = 9;
inline constexpr std::uint8_t optionInterfaceId = 18;
inline constexpr std::uint8_t optionRemoteId = 37;

inline constexpr std::size_t dhcpv6OptionHeader = 4; ///< code and length
inline constexpr std::size_t enterpriseNumberSize = 4;

// DUID types (RFC 8415, section 11) with a link-layer address, and where it stands in the option.
inline constexpr std::uint16_t duidLinkLayerTime = 1;
inline constexpr std::uint16_t duidLinkLayer = 3;
inline constexpr std::size_t duidType = 4;
inline constexpr std::size_t duidHardwareType = 6;
inline constexpr std::size_t duidLinkLayerTimeAddress = 12;
inline constexpr std::size_t duidLinkLayerAddress = 8;

// The option area of a DHCPv6 message (RFC 8415, section 21.1).

enum class OptionSearchEnd {
    found,
    absent,    ///< also where less than an option's header is left
    malformed, ///< an option's length runs past 16 bits
    tooMany,   ///< 100 options were passed
};

struct OptionSearch
{
    OptionSearchEnd result;
    /// Where the search stands, from the start of the message: at the option found or malformed, or at the
    /// first one that was not looked at.
    std::size_t offset = 0;
    std::uint16_t code = 0; ///< of the option last looked at; 0 if there was none
    std::uint16_t length = 0;
};

/// The first option @p wanted on the top level of @p message, which reaches from the message type to the last
/// byte that is claimed and has come. The wanted code counts as found before its length is looked at. Codes
/// above 255 are nobody's here.
[[nodiscard]] OptionSearch searchOption(ConstBytes message, std::uint8_t wanted);

/// The value of the option at @p offset, cut at the end of the message; nothing without its header.
[[nodiscard]] std::optional<std::span<const std::uint8_t>> optionDataAt(ConstBytes message,
                                                                        std::size_t offset);

} // namespace wire
