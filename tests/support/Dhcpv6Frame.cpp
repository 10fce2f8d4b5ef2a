#include "support/Dhcpv6Frame.h"

#include "support/InternetSum.h"
#include "support/PutBytes.h"

#include <algorithm>
#include <stdexcept>

namespace test {

Bytes option6(std::uint16_t code, const Bytes& value)
{
    Bytes out;
    put16(out, code);
    put16(out, value.size());
    putAll(out, value);
    return out;
}

Bytes option6(std::uint16_t code, std::string_view value) { return option6(code, bytesOf(value)); }

Bytes message6(std::uint8_t type, const std::vector<Bytes>& options)
{
    Bytes out{type, 0xAB, 0xCD, 0xEF};
    for (const Bytes& each : options)
        putAll(out, each);
    return out;
}

Bytes relayMessage6(std::uint8_t type, std::uint8_t hops, const Ipv6& link, const Ipv6& peer,
                    const std::vector<Bytes>& options)
{
    Bytes out{type, hops};
    putAll(out, link);
    putAll(out, peer);
    for (const Bytes& each : options)
        putAll(out, each);
    return out;
}

Bytes clientIdLlt(const Mac& mac)
{
    Bytes duid{0, 1, 0, 1, 0x2A, 0x2B, 0x2C, 0x2D};
    putAll(duid, mac);
    return option6(1, duid);
}

Bytes clientIdLl(const Mac& mac)
{
    Bytes duid{0, 3, 0, 1};
    putAll(duid, mac);
    return option6(1, duid);
}

Dhcpv6Frame& Dhcpv6Frame::on(std::uint16_t interfaceId, std::string_view interfaceName)
{
    inputIndex = interfaceId;
    inputName = interfaceName;
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::outputIndex(std::uint16_t interfaceId)
{
    outputIndexValue = interfaceId;
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::fullSize(std::uint32_t claimed)
{
    claimedFullSize = claimed;
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::recordTag(std::uint16_t outer)
{
    recordOuter = outer;
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::sourceMac(const Mac& mac)
{
    sourceMacValue = mac;
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::to(const Mac& mac)
{
    destinationMac = mac;
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::vlan(std::uint16_t id, std::uint8_t priority, std::uint16_t protocol)
{
    recordOuter = static_cast<std::uint16_t>(priority << 13 | id);
    return tag(protocol, recordOuter);
}

Dhcpv6Frame& Dhcpv6Frame::cvlan(std::uint16_t id)
{
    recordInner = id;
    return tag(0x8100, id);
}

Dhcpv6Frame& Dhcpv6Frame::tag(std::uint16_t protocol, std::uint16_t control)
{
    tags.emplace_back(protocol, control);
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::etherType(std::uint16_t value)
{
    type = value;
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::padding(std::size_t count, std::uint8_t value)
{
    paddingBytes.assign(count, value);
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::source(const Ipv6& address)
{
    sourceAddress = address;
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::destination(const Ipv6& address)
{
    destinationAddress = address;
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::ports(std::uint16_t from, std::uint16_t to)
{
    sourcePort = from;
    destinationPort = to;
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::udpLength(std::uint16_t claimed)
{
    claimedUdpLength = claimed;
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::bare(std::uint8_t header, Bytes bytes)
{
    nextHeader = header;
    payload = std::move(bytes);
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::summedByTheNode()
{
    oddByteLow = true;
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::message(Bytes bytes)
{
    payload = std::move(bytes);
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::spoil(Part part, std::size_t offset, std::uint8_t value)
{
    patches.push_back({part, offset, value});
    return *this;
}

Dhcpv6Frame& Dhcpv6Frame::cutTo(std::size_t count)
{
    cut = count;
    return *this;
}

std::size_t Dhcpv6Frame::offsetOf(Part part) const
{
    const std::size_t ipStart = recordSize + 14 + tags.size() * 4;
    switch (part) {
    case Part::record:
        return 0;
    case Part::ethernet:
        return recordSize;
    case Part::ip:
        return ipStart;
    case Part::udp:
        return ipStart + 40;
    case Part::dhcp:
        return ipStart + 48;
    case Part::options:
        break;
    }
    throw std::invalid_argument("options start where the message type says");
}

Bytes Dhcpv6Frame::build() const
{
    Bytes out(recordSize);
    set16(out, 4, recordOuter);
    set16(out, 6, recordInner);
    setHost(out, 52, inputIndex);
    setHost(out, 54, outputIndexValue);
    std::copy_n(inputName.begin(), std::min<std::size_t>(inputName.size(), 16), out.begin() + 74);

    putAll(out, destinationMac);
    putAll(out, sourceMacValue);
    for (const auto& [protocol, control] : tags) {
        put16(out, protocol);
        put16(out, control);
    }
    put16(out, type);

    const bool udp = nextHeader == 17;
    const std::size_t udpSize = payload.size() + 8;
    put32(out, 0x60000000);
    put16(out, udp ? udpSize : payload.size());
    put8(out, nextHeader);
    put8(out, 1); // hop limit
    putAll(out, sourceAddress);
    putAll(out, destinationAddress);
    if (udp) {
        put16(out, sourcePort);
        put16(out, destinationPort);
        put16(out, claimedUdpLength.value_or(static_cast<std::uint16_t>(udpSize)));
        put16(out, 0);
    }
    putAll(out, payload);
    if (udp) {
        InternetSum sum;
        sum.add(sourceAddress);
        sum.add(destinationAddress);
        sum.addWord(static_cast<std::uint16_t>(udpSize));
        sum.addWord(17);
        std::span<const std::uint8_t> segment(out);
        segment = segment.subspan(offsetOf(Part::udp));
        if (oddByteLow && segment.size() % 2 != 0) {
            sum.addWord(segment.back());
            segment = segment.first(segment.size() - 1);
        }
        sum.add(segment);
        set16(out, offsetOf(Part::udp) + 6, sum.checksum());
    }
    putAll(out, paddingBytes);
    const std::size_t arriving = std::min(cut.value_or(out.size()), out.size());
    setHost(out, 48, claimedFullSize.value_or(static_cast<std::uint32_t>(arriving)));
    for (const Patch& patch : patches)
        out.at(offsetOf(patch.part) + patch.offset) = patch.value;
    out.resize(arriving);
    return out;
}

Bytes Dhcpv6Frame::ethernetFrame() const
{
    const Bytes all = build();
    return {all.begin() + std::min<std::ptrdiff_t>(recordSize, std::ssize(all)), all.end()};
}

Dhcpv6Frame fromClient6(std::uint8_t type, const Mac& mac)
{
    return Dhcpv6Frame(message6(type, {clientIdLlt(mac), option6(8, Bytes{0, 0})})).sourceMac(mac);
}

} // namespace test
