#pragma once

#include "wire/Bytes.h"
#include "wire/Mac.h"

#include <cstddef>
#include <cstdint>
#include <optional>

/// ARP for IPv4 over Ethernet (RFC 826).
namespace wire {

inline constexpr std::uint16_t typeArp = 0x0806;

// Offsets from the first byte behind the Ethernet type.
inline constexpr std::size_t arpHardwareType = 0;
inline constexpr std::size_t arpProtocolType = 2;
inline constexpr std::size_t arpHardwareSize = 4;
inline constexpr std::size_t arpProtocolSize = 5;
inline constexpr std::size_t arpOperation = 6;
inline constexpr std::size_t arpSenderMac = 8;
inline constexpr std::size_t arpSenderIp = 14;
inline constexpr std::size_t arpTargetMac = 18;
inline constexpr std::size_t arpTargetIp = 24;
inline constexpr std::size_t arpPacketSize = 28;

inline constexpr std::uint16_t arpRequest = 1;
inline constexpr std::uint16_t arpReply = 2;

/// A packet's fields; IPv4 addresses in host order.
struct ArpPacket
{
    std::uint16_t operation = 0;
    Mac senderMac{};
    std::uint32_t senderIp = 0;
    Mac targetMac{};
    std::uint32_t targetIp = 0;
    friend bool operator==(const ArpPacket&, const ArpPacket&) = default;
};

/// Nothing for a packet that is cut, and for other hardware, protocols or address sizes.
[[nodiscard]] std::optional<ArpPacket> readArp(ConstBytes arp);

} // namespace wire
