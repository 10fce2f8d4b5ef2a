#include "support/Dhcpv6Frame.h"

#include "support/InternetSum.h"
#include "support/PutBytes.h"

#include <span>

namespace test {

namespace {

constexpr std::uint8_t udpProtocol = 17;

Bytes withOptions(Bytes head, const std::vector<Bytes>& options)
{
    for (const Bytes& each : options)
        putAll(head, each);
    return head;
}

} // namespace

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
    return withOptions({type, 0xAB, 0xCD, 0xEF}, options);
}

Bytes relayMessage6(std::uint8_t type, std::uint8_t hops, const Ipv6& link, const Ipv6& peer,
                    const std::vector<Bytes>& options)
{
    Bytes head{type, hops};
    putAll(head, link);
    putAll(head, peer);
    return withOptions(head, options);
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

Dhcpv6Frame::Dhcpv6Frame(Bytes message)
    : BridgedFrame({0x33, 0x33, 0, 1, 0, 2}, 0x86DD, 546, 547), payload(std::move(message))
{}

Bytes Dhcpv6Frame::build() const
{
    Bytes out = lowerLayers();
    const bool udp = nextHeader == udpProtocol;
    put32(out, 0x60000000);
    put16(out, payload.size() + (udp ? udpSize : 0));
    put8(out, nextHeader);
    put8(out, 1); // hop limit
    putAll(out, sourceAddress);
    putAll(out, destinationAddress);
    if (udp)
        putUdp(out, payload.size());
    putAll(out, payload);
    if (udp)
        writeSum(out);
    return finished(std::move(out));
}

void Dhcpv6Frame::writeSum(Bytes& out) const
{
    const std::span<const std::uint8_t> all(out);
    const auto addresses = all.subspan(offsetOf(Part::ip) + 8, 32);
    auto segment = all.subspan(offsetOf(Part::udp));
    const auto size = static_cast<std::uint16_t>(segment.size());
    const std::uint8_t last = segment.back();
    const bool lastIsLow = oddByteLow && size % 2 != 0;
    if (lastIsLow)
        segment = segment.first(size - 1u);
    auto sum = udpSum(addresses, size, segment);
    if (lastIsLow)
        sum.addWord(last);
    set16(out, offsetOf(Part::udp) + 6, sum.checksum());
}

Dhcpv6Frame fromClient6(std::uint8_t type, const Mac& mac)
{
    return Dhcpv6Frame(message6(type, {clientIdLlt(mac), option6(8, Bytes{0, 0})})).sourceMac(mac);
}

} // namespace test
