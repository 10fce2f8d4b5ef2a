#pragma once

#include "relay/frame/UdpFrame.h"
#include "wire/Dhcpv6.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace frame {

// IPv6 header (RFC 8200, section 3). Offsets from its first byte.
inline constexpr std::size_t ipv6FixedSize = 40;
inline constexpr std::size_t ipv6PayloadLength = 4;
inline constexpr std::size_t ipv6NextHeader = 6;
inline constexpr std::size_t ipv6Source = 8;
inline constexpr std::size_t ipv6Destination = 24;
inline constexpr std::size_t ipv6AddressSize = 16;

inline constexpr std::uint8_t nextHeaderUdp = 17;
inline constexpr std::uint8_t nextHeaderIcmpv6 = 58;

/// Pseudo header (RFC 8200, section 8.1) and segment, its checksum field counted as zero. A segment that
/// claims more than has come is summed as far as it has come.
[[nodiscard]] std::optional<std::uint16_t> udpChecksumOverIpv6(ConstWireBytes ip, ConstWireBytes udp);

[[nodiscard]] std::uint32_t dhcpv6MessageSize(std::uint16_t length);

/// The row of the family; the views differ in the outer tag that they know.
[[nodiscard]] constexpr IpFamily ipv6Family(std::uint16_t serviceTag, const char* wrongType)
{
    return {.etherType = typeIpv6,
            .serviceTag = serviceTag,
            .wrongType = wrongType,
            .fixedSize = ipv6FixedSize,
            .tellsSize = false,
            .lengthField = ipv6PayloadLength,
            .destinationField = ipv6Destination,
            .udpChecksum = udpChecksumOverIpv6,
            .messageSize = dhcpv6MessageSize,
            .hopsField = dhcpv6Hops};
}

} // namespace frame

/// What the views of IPv6 frames share. No extension headers are walked: a frame with any is nobody's here.
class Ipv6Frame : public UdpFrame
{
public:
    /// 40 for any frame at all.
    std::uint32_t getIpHeaderSize() const;
    std::uint8_t getIpFieldNextHeader() const;
    /// IPv6 has no header checksum; what asks for one gets 0.
    std::uint16_t getIpFieldCrc() const { return 0; }

protected:
    Ipv6Frame(const FrameViewTexts& viewTexts, const IpFamily& ipFamily, const FrameOwner* owner)
        : UdpFrame(viewTexts, ipFamily, owner)
    {}
    ~Ipv6Frame() = default;

    void printIp(std::string& out) const override;
};
