#pragma once

#include "relay/frame/UdpFrame.h"
#include "wire/Dhcpv6.h"
#include "wire/Ethernet.h"
#include "wire/Ipv6.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace frame {

/// What the family's row asks for; the sum of a segment of which only the front came is told too.
[[nodiscard]] std::optional<std::uint16_t> udpChecksumOfIpv6Frame(wire::ConstBytes ip, wire::ConstBytes udp);

[[nodiscard]] std::uint32_t dhcpv6MessageSize(std::uint16_t length);

/// The row of the family; the views differ in the outer tag that they know.
[[nodiscard]] constexpr IpFamily ipv6Family(std::uint16_t serviceTag, const char* wrongType)
{
    return {.etherType = wire::typeIpv6,
            .serviceTag = serviceTag,
            .wrongType = wrongType,
            .fixedSize = wire::ipv6FixedSize,
            .tellsSize = false,
            .lengthField = wire::ipv6PayloadLength,
            .destinationField = wire::ipv6Destination,
            .udpChecksum = udpChecksumOfIpv6Frame,
            .messageSize = dhcpv6MessageSize,
            .hopsField = wire::dhcpv6Hops};
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

    void printIp(std::string& out, wire::ConstBytes header) const override;
};
