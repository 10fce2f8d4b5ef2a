#include "wire/Ipv6.h"

#include "wire/InternetChecksum.h"
#include "wire/Udp.h"

#include <algorithm>

namespace wire {

std::uint16_t udpChecksumOverIpv6(ConstBytes ip, ConstBytes udp)
{
    const std::size_t claimed = udp.be16(udpLength).value_or(0);
    const auto segment = udp.part(0, claimed);
    // The last byte of an odd segment is summed low, not high as RFC 1071 has it: peers of this node expect
    // that. Where only the front of a segment has come, no byte is the last.
    const OddByte oddByte = segment.size() == claimed ? OddByte::low : OddByte::high;
    InternetChecksum sum;
    sum.add(ip.part(ipv6Source, 2 * ipv6AddressSize));
    sum.add(ip.be16(ipv6PayloadLength).value_or(0));
    sum.add(std::uint16_t{ip.u8(ipv6NextHeader).value_or(0)});
    sum.addWithout(segment, udpChecksum, oddByte);
    return sum.value();
}

std::optional<Ipv6UpperLayer> upperLayerOf(ConstBytes ip, std::initializer_list<std::uint8_t> crossed)
{
    constexpr std::size_t unit = 8; // of an extension header's length, and the smallest size
    constexpr std::uint16_t fragmentOffset = 0xFFF8;
    if (!ip.holds(0, ipv6FixedSize))
        return std::nullopt;
    Ipv6UpperLayer layer{*ip.u8(ipv6NextHeader), ipv6FixedSize};
    while (std::ranges::find(crossed, layer.protocol) != crossed.end()) {
        if (!ip.holds(layer.offset, unit))
            return std::nullopt;
        const bool fragment = layer.protocol == nextHeaderFragment;
        if (fragment && (*ip.be16(layer.offset + 2) & fragmentOffset) != 0)
            return std::nullopt;
        // The second byte counts what stands behind the first eight; a fragment header has none of that.
        const std::size_t further = fragment ? 0 : *ip.u8(layer.offset + 1);
        layer.protocol = *ip.u8(layer.offset);
        layer.offset += (further + 1) * unit;
    }
    return layer;
}

} // namespace wire
