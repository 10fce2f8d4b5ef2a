#include "relay/frame/dhcpraMessage.h"

#include "wire/Dhcpv4.h"
#include "wire/Ipv4.h"
#include "wire/Udp.h"

#include <array>

using namespace wire;

namespace {

constexpr FrameViewTexts viewTexts{"dhcpraMessage", "dhcpraMessage",
                                   "dhcpraMessage::isValid(): frame_info is null.\n", LogImpl::debug};

// A UDP length below its own header's size claims nearly 64 kB, of which only what has come is looked at.
std::uint32_t messageSizeOf(std::uint16_t length)
{
    return length == 0 ? 0 : static_cast<std::uint16_t>(length - udpHeaderSize);
}

constexpr IpFamily ipv4{.etherType = typeIpv4,
                        .serviceTag = typeServiceTag,
                        .wrongType = "IP",
                        .fixedSize = ipv4FixedSize,
                        .tellsSize = true,
                        .lengthField = ipv4TotalLength,
                        .destinationField = ipv4Destination,
                        .udpChecksum = udpChecksumOf,
                        .messageSize = messageSizeOf,
                        .hopsField = dhcpHops};

} // namespace

dhcpraMessage::dhcpraMessage(const FrameOwner* owner) : UdpFrame(viewTexts, ipv4, owner) {}

// Record and tags

void dhcpraMessage::setFrameDstVlan(std::uint16_t vid, std::uint16_t ethType)
{
    const wire::Bytes header = ethernetForSetter();
    if (header.size() == 0)
        return;
    header.putBe16(outerType, ethType);
    writeOuterVlan(vid, header);
}

void dhcpraMessage::setFrameDstCVlan(std::uint16_t cvid)
{
    const wire::Bytes header = ethernetForSetter();
    if (header.size() == 0)
        return;
    if (getFrameCVlan() != noVlan) {
        // Peers behind the bridge know this tag with its two bytes the other way round, and without priority.
        const std::array<std::uint8_t, 2> lowByteFirst{static_cast<std::uint8_t>(cvid),
                                                       static_cast<std::uint8_t>(cvid >> 8)};
        header.put(innerTag, lowByteFirst);
    } else {
        if (!openInnerTag())
            return;
        const wire::Bytes grownHeader = ethernet();
        grownHeader.putBe16(innerType, typeCustomerTag);
        grownHeader.putBe16(innerTag, cvid);
    }
    recordInnerVlan(cvid);
}

void dhcpraMessage::setFrameDstCVlan(std::uint16_t cvid, std::uint16_t ethType)
{
    if (ethernetForSetter().size() == 0)
        return;
    if (getFrameCVlan() == noVlan && !openInnerTag())
        return;
    const wire::Bytes header = ethernet();
    header.putBe16(innerType, ethType);
    header.putBe16(innerTag, cvid);
    recordInnerVlan(cvid);
}

bool dhcpraMessage::openInnerTag()
{
    if (!hasRoomFor(tagSize) || ethernet().size() < innerType)
        return false;
    // The length counts from the record's middle, not from the tag: more than the tail moves, but nothing of
    // another frame stands behind this one. The window holds the move inside the buffer.
    constexpr std::uint32_t notMoved = 64;
    const std::uint32_t full = getFrameFullSize();
    ethernetStorage().move(innerType + tagSize, innerType, full > notMoved ? full - notMoved : 0);
    grown(tagSize);
    return true;
}

void dhcpraMessage::recordInnerVlan(std::uint16_t cvid)
{
    frameInfo->vlan_tag2_nf = withVlanId(frameInfo->vlan_tag2_nf, cvid);
    positions = {}; // a frame without the tag has had another header at this place
}

std::uint16_t dhcpraMessage::getFrameEthType() const
{
    return getFrameVlan() < noVlan ? ethernet().be16(outerType).value_or(0) : std::uint16_t{0};
}

std::uint16_t dhcpraMessage::getFrameCEthType() const
{
    return getFrameCVlan() < noVlan ? ethernet().be16(innerType).value_or(0) : std::uint16_t{0};
}

int dhcpraMessage::getOrigin() const { return cameFromNetworkSide() ? 1 : 0; }

bool dhcpraMessage::isDestinationBroadcast() const
{
    const bool groupAddress = (ethernet().u8(macDestination).value_or(0) & 0x01) != 0;
    return groupAddress && isIpFieldDestEq(0xFFFFFFFF);
}

// IP and UDP

std::uint32_t dhcpraMessage::getIpHeaderSize() const
{
    return static_cast<std::uint32_t>(ipv4HeaderSize(ip()));
}

std::uint16_t dhcpraMessage::getIpFieldCrc() const { return ip().be16(ipv4Checksum).value_or(0); }

void dhcpraMessage::setIpFieldDest(std::uint32_t address) { ip().putBe32(ipv4Destination, address); }

dhcpraMessage::udpPort dhcpraMessage::getUdpFieldDestPort() const { return destinationPort<udpPort>(); }

void dhcpraMessage::setUdpFieldDestPort(udpPort port)
{
    udp().putBe16(udpDestinationPort, static_cast<std::uint16_t>(port));
}

void dhcpraMessage::adjustLengths(int change)
{
    const auto adjust = [change](wire::Bytes header, std::size_t field) {
        header.putBe16(field, static_cast<std::uint16_t>(header.be16(field).value_or(0) + change));
    };
    adjust(udp(), udpLength);
    adjust(ip(), ipv4TotalLength);
}

// Checksums

std::uint16_t dhcpraMessage::getRecalcIpCrc() const
{
    const wire::Bytes header = ip();
    return header.size() == 0 ? 0 : ipv4ChecksumOf(header).value_or(0);
}

bool dhcpraMessage::isIpCrcValid() const
{
    const wire::Bytes header = ip();
    const std::uint16_t stored = header.be16(ipv4Checksum).value_or(0);
    const auto computed = header.size() == 0 ? std::uint16_t{0} : ipv4ChecksumOf(header);
    if (stored == computed)
        return true;
    if (const auto* const sink = debug())
        sink->log("\t dhcpraMessage::isIpCrcValid(). getIpFieldCrc()=0x%x,getRecalcIpCrc()=0x%x\n", stored,
                  computed.value_or(0));
    return false;
}

bool dhcpraMessage::isUdpCrcValid() const
{
    const wire::Bytes header = udp();
    const std::uint16_t stored = header.be16(udpChecksum).value_or(0);
    if (stored == 0)
        return true;
    const auto computed = udpChecksumOf(locateIp(), header);
    if (stored == computed)
        return true;
    if (const auto* const sink = debug())
        sink->log("\t dhcpraMessage::isUdpCrcValid(). getUdpFieldCrc()=0x%x,getRecalcUdpCrc()=0x%x\n", stored,
                  computed.value_or(0));
    return false;
}

void dhcpraMessage::updateCRC()
{
    const wire::Bytes ipHeader = ip();
    const wire::Bytes udpHeader = ipHeader.size() == 0 ? ipHeader : udp();
    if (udpHeader.size() == 0)
        return;
    const auto ipSum = ipv4ChecksumOf(ipHeader);
    const auto udpSum = udpChecksumOf(ipHeader, udpHeader);
    if (ipSum)
        ipHeader.putBe16(ipv4Checksum, *ipSum);
    if (udpSum)
        udpHeader.putBe16(udpChecksum, *udpSum);
}
