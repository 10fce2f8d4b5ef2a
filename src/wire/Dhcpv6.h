#pragma once

#include <cstddef>
#include <cstdint>

/// DHCPv6 messages (RFC 8415, sections 8 and 9) and the options that a relay reads or writes (sections 21.2,
/// 21.10, 21.18; RFC 4649). Offsets from the first byte of the message, or of the option.
namespace frame {

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

} // namespace frame
