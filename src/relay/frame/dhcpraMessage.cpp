#include "relay/frame/dhcpraMessage.h"

#include "relay/frame/Ipv4Udp.h"

#include <array>

using namespace frame;

namespace {

constexpr FrameViewTexts viewTexts{"dhcpraMessage", "dhcpraMessage",
                                   "dhcpraMessage::isValid(): frame_info is null.\n", LogImpl::debug};

} // namespace

dhcpraMessage::dhcpraMessage(const FrameOwner* owner) : BridgeFrame(viewTexts, owner) {}

// Headers

WireBytes dhcpraMessage::locateIp() const
{
    const WireBytes header = ethernet("getIpHeader", __LINE__);
    if (header.size() == 0)
        return {};
    const auto [type, start] = crossTags(header);
    if (type != typeIpv4) {
        if (const auto* const sink = debug())
            sink->log("\t getIpHeader(): not an IP packet (0x%04x).\n", type);
        return {};
    }
    return header.holds(start, ipv4FixedSize) ? WireBytes(header.part(start, header.size())) : WireBytes();
}

WireBytes dhcpraMessage::locateUdp() const
{
    const WireBytes header = ip("getUdpHeader", __LINE__);
    const std::size_t start = ipv4HeaderSize(header);
    return header.holds(start, udpHeaderSize) ? WireBytes(header.part(start, header.size())) : WireBytes();
}

WireBytes dhcpraMessage::locateDhcp() const
{
    const WireBytes header = udp("getDhcpHeader", __LINE__);
    return WireBytes(header.part(udpHeaderSize, header.size()));
}

WireBytes dhcpraMessage::ip(const char* function, int line) const
{
    const WireBytes header = locateIp();
    if (header.size() == 0)
        missing(Layer::ip, function, line);
    return header;
}

WireBytes dhcpraMessage::udp(const char* function, int line) const
{
    const WireBytes header = locateUdp();
    if (header.size() == 0)
        missing(Layer::udp, function, line);
    return header;
}

WireBytes dhcpraMessage::dhcp(const char* function, int line) const
{
    const WireBytes header = locateDhcp();
    if (header.size() == 0)
        missing(Layer::dhcp, function, line);
    return header;
}

WireBytes dhcpraMessage::message(const char* function, int line) const
{
    const WireBytes header = dhcp(function, line);
    return header.size() == 0 ? header : WireBytes(header.part(0, getDhcpHeaderSize()));
}

const std::uint8_t* dhcpraMessage::getIpHeader() const { return locateIp().data(); }
const std::uint8_t* dhcpraMessage::getUdpHeader() const { return locateUdp().data(); }
const std::uint8_t* dhcpraMessage::getDhcpHeader() const { return locateDhcp().data(); }

// Record and tags

void dhcpraMessage::setFrameDstVlan(std::uint16_t vid, std::uint16_t ethType)
{
    const WireBytes header = ethernetForSetter();
    if (header.size() == 0)
        return;
    writeOuterVlan(vid, header);
    header.putBe16(outerType, ethType);
}

void dhcpraMessage::setFrameDstCVlan(std::uint16_t cvid)
{
    const WireBytes header = ethernetForSetter();
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
        const WireBytes grownHeader = ethernet();
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
    const WireBytes header = ethernet();
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

// IP

std::uint32_t dhcpraMessage::getEthHeaderSize() const
{
    const auto* const header = ip().data();
    return header ? static_cast<std::uint16_t>(header - getEthHeader()) : 0;
}

std::uint32_t dhcpraMessage::getIpHeaderSize() const
{
    return static_cast<std::uint32_t>(ipv4HeaderSize(ip()));
}

std::uint16_t dhcpraMessage::getIpFieldLength() const { return ip().be16(ipv4TotalLength).value_or(0); }

std::uint16_t dhcpraMessage::getFrameSize() const
{
    return static_cast<std::uint16_t>(getIpFieldLength() + getEthHeaderSize());
}

std::uint16_t dhcpraMessage::getIpFieldCrc() const { return ip().be16(ipv4Checksum).value_or(0); }

std::uint32_t dhcpraMessage::getIpFieldDest() const { return ip().be32(ipv4Destination).value_or(0); }

void dhcpraMessage::setIpFieldDest(std::uint32_t address) { ip().putBe32(ipv4Destination, address); }

bool dhcpraMessage::isIpFieldDestEq(std::uint32_t address) const { return getIpFieldDest() == address; }

// UDP

std::uint32_t dhcpraMessage::getUdpHeaderSize() const { return udpHeaderSize; }

dhcpraMessage::udpPort dhcpraMessage::getUdpFieldDestPort() const
{
    const auto port = static_cast<udpPort>(udp().be16(udpDestinationPort).value_or(0));
    return port == udpPort::server || port == udpPort::client ? port : udpPort::other;
}

void dhcpraMessage::setUdpFieldDestPort(udpPort port)
{
    udp().putBe16(udpDestinationPort, static_cast<std::uint16_t>(port));
}

std::uint16_t dhcpraMessage::getUdpFieldLength() const { return udp().be16(udpLength).value_or(0); }

std::uint16_t dhcpraMessage::getUdpFieldCrc() const { return udp().be16(udpChecksum).value_or(0); }

void dhcpraMessage::adjustLengths(int change)
{
    const auto adjust = [change](WireBytes header, std::size_t field) {
        header.putBe16(field, static_cast<std::uint16_t>(header.be16(field).value_or(0) + change));
    };
    adjust(udp(), udpLength);
    adjust(ip(), ipv4TotalLength);
}

// Checksums

std::uint16_t dhcpraMessage::getRecalcIpCrc() const
{
    const WireBytes header = ip();
    return header.size() == 0 ? 0 : ipv4ChecksumOf(header).value_or(0);
}

std::uint16_t dhcpraMessage::getRecalcUdpCrc() const
{
    const WireBytes header = udp();
    return header.size() == 0 ? 0 : udpChecksumOf(locateIp(), header).value_or(0);
}

bool dhcpraMessage::isIpCrcValid() const
{
    const WireBytes header = ip();
    const std::uint16_t stored = getIpFieldCrc();
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
    const WireBytes header = udp();
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
    const WireBytes ipHeader = ip();
    const WireBytes udpHeader = ipHeader.size() == 0 ? ipHeader : udp();
    if (udpHeader.size() == 0)
        return;
    const auto ipSum = ipv4ChecksumOf(ipHeader);
    const auto udpSum = udpChecksumOf(ipHeader, udpHeader);
    if (ipSum)
        ipHeader.putBe16(ipv4Checksum, *ipSum);
    if (udpSum)
        udpHeader.putBe16(udpChecksum, *udpSum);
}
