#include "relay/frame/UdpFrame.h"

#include "relay/frame/FrameText.h"
#include "wire/Ipv4.h"
#include "wire/Udp.h"

#include <algorithm>

using namespace frame;
using namespace wire;

UdpFrame::UdpFrame(const FrameViewTexts& viewTexts, const IpFamily& ipFamily, const FrameOwner* owner)
    : BridgeFrame(viewTexts, owner), family(ipFamily)
{}

// Headers

wire::Bytes UdpFrame::lookForIp() const
{
    const wire::Bytes header = ethernet("getIpHeader", __LINE__);
    if (header.size() == 0)
        return {};
    const auto [type, start] = crossTags(header, family.serviceTag);
    if (type != family.etherType) {
        if (const auto* const sink = debug(); sink != nullptr && family.wrongType != nullptr)
            sink->log("\t getIpHeader(): not an %s packet (0x%04x).\n", family.wrongType, type);
        return {};
    }
    if (!header.holds(start, family.fixedSize))
        return {};
    return keep(positions.ip, wire::Bytes(header.part(start, header.size())));
}

wire::Bytes UdpFrame::lookForUdp() const
{
    const wire::Bytes header = ip(Access::get, "getUdpHeader", __LINE__);
    const std::size_t start = family.tellsSize ? ipv4HeaderSize(header) : family.fixedSize;
    if (!header.holds(start, udpHeaderSize))
        return {};
    return keep(positions.udp, wire::Bytes(header.part(start, header.size())));
}

wire::Bytes UdpFrame::lookForDhcp() const
{
    const wire::Bytes header = udp(Access::get, "getDhcpHeader", __LINE__);
    return keep(positions.dhcp, wire::Bytes(header.part(udpHeaderSize, header.size())));
}

wire::Bytes UdpFrame::keep(std::uint16_t& position, wire::Bytes window) const
{
    if (window.size() != 0)
        position = static_cast<std::uint16_t>(window.data() - (storage() + wire::recordSize));
    return window;
}

void UdpFrame::tellAbsent(Layer layer, Access access, const char* function, int line) const
{
    if (access == Access::get)
        missing(layer, function, line);
    else
        missingForSetter(layer, function, line);
}

wire::Bytes UdpFrame::message(const char* function, int line) const
{
    const wire::Bytes header = dhcp(Access::get, function, line);
    if (header.size() == 0)
        return header;
    // The UDP header stands whole right in front of it.
    const wire::Bytes udpHeader(header.data() - udpHeaderSize, udpHeaderSize);
    return wire::Bytes(header.part(0, family.messageSize(udpHeader.be16(udpLength).value_or(0))));
}

wire::Bytes UdpFrame::dhcpStorage() const
{
    const wire::Bytes frame = ethernetStorage();
    const auto start = static_cast<std::size_t>(dhcp().data() - frame.data());
    return wire::Bytes(frame.part(start, frame.size()));
}

const std::uint8_t* UdpFrame::getIpHeader() const { return locateIp().data(); }
const std::uint8_t* UdpFrame::getUdpHeader() const { return locateUdp().data(); }
const std::uint8_t* UdpFrame::getDhcpHeader() const { return locateDhcp().data(); }

// IP

std::uint32_t UdpFrame::getEthHeaderSize() const
{
    const auto* const header = ip().data();
    return header ? static_cast<std::uint16_t>(header - getEthHeader()) : 0;
}

std::uint16_t UdpFrame::getIpFieldLength() const { return ip().be16(family.lengthField).value_or(0); }

std::uint16_t UdpFrame::getFrameSize() const
{
    return static_cast<std::uint16_t>(getIpFieldLength() + getEthHeaderSize());
}

std::uint32_t UdpFrame::getIpFieldDest() const { return ip().be32(family.destinationField).value_or(0); }

bool UdpFrame::isIpFieldDestEq(std::uint32_t address) const { return getIpFieldDest() == address; }

// UDP

std::uint32_t UdpFrame::getUdpHeaderSize() const { return udpHeaderSize; }

std::uint16_t UdpFrame::destinationPortNumber(const char* function, int line) const
{
    return udp(Access::get, function, line).be16(udpDestinationPort).value_or(0);
}

std::uint16_t UdpFrame::getUdpFieldLength() const { return udp().be16(udpLength).value_or(0); }

std::uint16_t UdpFrame::getUdpFieldCrc() const { return udp().be16(udpChecksum).value_or(0); }

std::uint16_t UdpFrame::getRecalcUdpCrc() const
{
    const wire::Bytes header = udp();
    return header.size() == 0 ? 0 : family.udpChecksum(locateIp(), header).value_or(0);
}

// DHCP

std::uint32_t UdpFrame::getDhcpHeaderSize() const { return family.messageSize(getUdpFieldLength()); }

std::span<const std::uint8_t> UdpFrame::dhcpMessageBytes() const
{
    const wire::Bytes bytes = message();
    return {bytes.data(), bytes.size()};
}

std::uint8_t UdpFrame::getDhcpFieldHops() const { return dhcp().u8(family.hopsField).value_or(0); }

void UdpFrame::incrementDhcpFieldHops()
{
    const wire::Bytes header = dhcp(Access::set);
    header.putU8(family.hopsField, static_cast<std::uint8_t>(header.u8(family.hopsField).value_or(0) + 1));
}

// Debug texts

void UdpFrame::printFrame(std::string& out) const
{
    const auto hasPart = [&out](const char* name, wire::ConstBytes header, auto size) {
        if (header.size() == 0)
            appendFormat(out, "[%s] NULL\n", name);
        else
            appendFormat(out, "[%s] (%u)\n", name, static_cast<unsigned>(size()));
        return header.size() != 0;
    };
    const wire::ConstBytes frame = ethernet("printEthernet");
    if (hasPart("ETH", frame, [this] { return getEthHeaderSize(); }))
        printEthernet(out, frame);
    const wire::ConstBytes packet = ip(Access::get, "printIp");
    if (hasPart("IP", packet, [&] { return family.tellsSize ? ipv4HeaderSize(packet) : family.fixedSize; }))
        printIp(out, packet);
    const wire::ConstBytes datagram = udp(Access::get, "printUdp");
    if (hasPart("UDP", datagram, [this] { return getUdpHeaderSize(); }))
        printUdp(out, datagram);
    const wire::ConstBytes message = dhcp(Access::get, "printDhcp");
    if (hasPart("DHCP", message, [this] { return getDhcpHeaderSize(); }))
        printDhcp(out, message);
}

void UdpFrame::printEthernet(std::string& out, wire::ConstBytes header) const
{
    appendField(out, "   MAC dest", "%s", macText(header.part(macDestination, macSize)).c_str());
    appendField(out, "   MAC src", "%s", macText(header.part(macSource, macSize)).c_str());
    appendField(out, "   Type", "0x%04x", header.be16(outerType).value_or(0));
}

void UdpFrame::printUdp(std::string& out, wire::ConstBytes header) const
{
    appendField(out, "   SrcPort", "%u", header.be16(udpSourcePort).value_or(0));
    appendField(out, "   DestPort", "%u", header.be16(udpDestinationPort).value_or(0));
    appendField(out, "   Length", "%u", getUdpFieldLength());
    appendField(out, "   Checksum", "0x%04x", getUdpFieldCrc());
    appendField(out, "   Checksum My", "0x%04x", getRecalcUdpCrc());
}

void UdpFrame::printFrameInfo(std::string& out) const { appendFrameInfo(out, frameInfo); }

void UdpFrame::dump16(std::string& out, const char* prefix, int size) const
{
    constexpr int wholeBuffer = -1;
    if (frameInfo == nullptr || (size < 1 && size != wholeBuffer))
        return;
    const std::size_t shown = size == wholeBuffer ? capacity : std::min<std::size_t>(size, receivedSize());
    appendDump(out, prefix, {storage(), shown});
}

void UdpFrame::dump16(const char* prefix, int size) const
{
    const auto* const sink = debug();
    if (sink == nullptr)
        return;
    std::string text;
    dump16(text, prefix, size);
    sink->log("%s", text.c_str());
}
