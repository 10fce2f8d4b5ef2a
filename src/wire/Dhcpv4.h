#pragma once

#include "wire/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// Fixed part of a DHCPv4 message (RFC 2131, figure 1 and table 1). Offsets from its first byte.
namespace wire {

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
inline constexpr std::uint8_t dhcpOpReply = 2;

// The option area of a DHCPv4 message (RFC 2131 section 3, RFC 2132 section 2).

inline constexpr std::size_t cookieOffset = 236;
inline constexpr std::size_t optionsOffset = 240;
inline constexpr std::uint8_t magicCookie[4] = {0x63, 0x82, 0x53, 0x63};

inline constexpr std::uint8_t optionPad = 0;
inline constexpr std::uint8_t optionMessageType = 53;
inline constexpr std::uint8_t optionRelayAgent = 82;
inline constexpr std::uint8_t optionEnd = 255;

enum class OptionWalkEnd {
    found,     ///< stands on the wanted code
    end,       ///< stands on an End option that was not wanted
    exhausted, ///< the options fill the message exactly; no End
    malformed, ///< an option has no length byte, or runs past the end of the message
};

struct OptionWalk
{
    OptionWalkEnd result;
    std::size_t offset; ///< from the start of the message; of the code byte, or the size of the message
};

/// Walks the options of @p message (from the DHCP header to the last byte that is claimed and has come) up to
/// @p wanted, End, or the end of the message. The wanted code counts as found before its length is looked at.
[[nodiscard]] OptionWalk walkOptions(ConstBytes message, std::uint8_t wanted);

/// What follows the code byte at @p offset as length and value, the value cut at the end of the message;
/// nothing without a length byte.
[[nodiscard]] std::optional<std::span<const std::uint8_t>> optionValueAt(ConstBytes message,
                                                                         std::size_t offset);

} // namespace wire
