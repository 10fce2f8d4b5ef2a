#include "Frames.h"

#include "wire/Dhcpv4.h"
#include "wire/Ethernet.h"
#include "wire/Ipv4.h"
#include "wire/Udp.h"

#include <algorithm>
#include <array>

namespace storm {
namespace {

class Writer
{
public:
    explicit Writer(std::size_t expected) { bytes.reserve(expected); }

    void u8(std::uint8_t value) { bytes.push_back(value); }
    void u16(std::uint16_t value) { end(sizeof value).putBe16(0, value); }
    void u32(std::uint32_t value) { end(sizeof value).putBe32(0, value); }
    template <typename Range>
    void all(const Range& range)
    {
        bytes.insert(bytes.end(), std::begin(range), std::end(range));
    }
    void zeroes(std::size_t count) { bytes.resize(bytes.size() + count); }
    void option(std::uint8_t code, std::uint32_t value)
    {
        u8(code);
        u8(4);
        u32(value);
    }

    Bytes bytes;

private:
    wire::Bytes end(std::size_t count)
    {
        zeroes(count);
        return wire::Bytes(std::span(bytes).last(count));
    }
};

constexpr std::uint8_t optionRequestedAddress = 50;
constexpr std::uint8_t optionLeaseTime = 51;
constexpr std::uint8_t optionServer = 54;

void writeMessage(Writer& out, const Message& message)
{
    out.u8(message.reply ? wire::dhcpOpReply : wire::dhcpOpRequest);
    out.all(std::array<std::uint8_t, 3>{1, 6, 0});
    out.u32(message.xid);
    out.u16(message.secs);
    out.u16(message.flags);
    out.u32(message.ciaddr);
    out.u32(message.yiaddr);
    out.u32(0);
    out.u32(message.giaddr);
    out.all(message.chaddr);
    out.zeroes(10 + 192);
    out.all(wire::magicCookie);
    out.all(std::array<std::uint8_t, 3>{wire::optionMessageType, 1, static_cast<std::uint8_t>(message.kind)});
    if (message.server)
        out.option(optionServer, message.server);
    if (message.requested)
        out.option(optionRequestedAddress, message.requested);
    if (message.reply && message.kind != Kind::nak)
        out.option(optionLeaseTime, 3600);
    if (!message.relayInformation.empty()) {
        out.u8(wire::optionRelayAgent);
        out.u8(static_cast<std::uint8_t>(message.relayInformation.size()));
        out.all(message.relayInformation);
    }
    out.u8(wire::optionEnd);
}

std::optional<std::span<const std::uint8_t>> optionOf(wire::ConstBytes message, std::uint8_t code)
{
    const auto walk = wire::walkOptions(message, code);
    if (walk.result != wire::OptionWalkEnd::found)
        return std::nullopt;
    return wire::optionValueAt(message, walk.offset);
}

/// The address in an option; 0 without one.
std::uint32_t addressOf(wire::ConstBytes message, std::uint8_t code)
{
    const auto value = optionOf(message, code);
    return value ? wire::ConstBytes(*value).be32(0).value_or(0) : 0;
}

} // namespace

Bytes encode(const Frame& frame)
{
    Writer out(400 + frame.message.relayInformation.size());
    out.all(frame.headers.to);
    out.all(frame.headers.from);
    if (frame.headers.vlan) {
        out.u16(wire::typeCustomerTag);
        out.u16(*frame.headers.vlan);
    }
    out.u16(wire::typeIpv4);
    const std::size_t ipStart = out.bytes.size();
    out.zeroes(wire::ipv4FixedSize + wire::udpHeaderSize);
    writeMessage(out, frame.message);

    const wire::Bytes ip(std::span(out.bytes).subspan(ipStart));
    const wire::Bytes udp(ip.part(wire::ipv4FixedSize, ip.size()));
    ip.putU8(0, 0x45); // version 4, five words
    ip.putBe16(wire::ipv4TotalLength, static_cast<std::uint16_t>(ip.size()));
    ip.putU8(wire::ipv4Ttl, 64);
    ip.putU8(wire::ipv4Protocol, wire::protocolUdp);
    ip.putBe32(wire::ipv4Source, frame.headers.fromIp);
    ip.putBe32(wire::ipv4Destination, frame.headers.toIp);
    udp.putBe16(wire::udpSourcePort, frame.headers.fromPort);
    udp.putBe16(wire::udpDestinationPort, frame.headers.toPort);
    udp.putBe16(wire::udpLength, static_cast<std::uint16_t>(udp.size()));
    // A sum of zero is written as all ones (RFC 768), and the relay does not take those for right. It is one
    // frame in 65,536; a test that counts every loss gets out of its way.
    if (wire::udpChecksumOf(ip, udp) == 0)
        udp.putBe16(wire::udpHeaderSize + wire::dhcpSecs, static_cast<std::uint16_t>(frame.message.secs + 1));
    udp.putBe16(wire::udpChecksum, wire::udpChecksumOf(ip, udp).value_or(0));
    ip.putBe16(wire::ipv4Checksum, wire::ipv4ChecksumOf(ip).value_or(0));
    return std::move(out.bytes);
}

std::optional<Frame> decode(std::span<const std::uint8_t> bytes)
{
    const wire::ConstBytes ethernet(bytes);
    Frame frame;
    Headers& headers = frame.headers;
    const auto behind = wire::crossTagsWhile(ethernet, [&](std::uint16_t protocol, std::size_t position) {
        if (protocol != wire::typeCustomerTag || headers.vlan)
            return false;
        headers.vlan = wire::tagControlAt(ethernet, position) & wire::vlanIdMask;
        return true;
    });
    const wire::ConstBytes ip(ethernet.part(behind.payload, ethernet.size()));
    const wire::ConstBytes udp(ip.part(wire::ipv4HeaderSize(ip), ip.size()));
    const wire::ConstBytes dhcp(udp.part(wire::udpHeaderSize, udp.size()));
    if (behind.type != wire::typeIpv4 || ip.u8(wire::ipv4Protocol) != wire::protocolUdp ||
        !std::ranges::equal(dhcp.part(wire::cookieOffset, sizeof wire::magicCookie), wire::magicCookie))
        return std::nullopt;
    headers.to = wire::macAt(ethernet, wire::macDestination);
    headers.from = wire::macAt(ethernet, wire::macSource);
    headers.fromIp = *ip.be32(wire::ipv4Source);
    headers.toIp = *ip.be32(wire::ipv4Destination);
    headers.fromPort = *udp.be16(wire::udpSourcePort);
    headers.toPort = *udp.be16(wire::udpDestinationPort);
    Message& message = frame.message;
    message.reply = dhcp.u8(wire::dhcpOp) == wire::dhcpOpReply;
    message.xid = *dhcp.be32(wire::dhcpXid);
    message.secs = *dhcp.be16(wire::dhcpSecs);
    message.flags = *dhcp.be16(wire::dhcpFlags);
    message.ciaddr = *dhcp.be32(wire::dhcpCiaddr);
    message.yiaddr = *dhcp.be32(wire::dhcpYiaddr);
    message.giaddr = *dhcp.be32(wire::dhcpGiaddr);
    message.chaddr = wire::macAt(dhcp, wire::dhcpChaddr);
    if (const auto kind = optionOf(dhcp, wire::optionMessageType); kind && kind->size() == 1)
        message.kind = Kind{kind->front()};
    message.server = addressOf(dhcp, optionServer);
    message.requested = addressOf(dhcp, optionRequestedAddress);
    if (const auto relay = optionOf(dhcp, wire::optionRelayAgent))
        message.relayInformation.assign(relay->begin(), relay->end());
    return frame;
}

} // namespace storm
