#include "wire/Icmpv6.h"

#include "wire/InternetChecksum.h"
#include "wire/Ipv6.h"

namespace wire {

namespace {

/// Where the options of a neighbour discovery message start; nothing for a message that has none.
std::optional<std::size_t> ndOptionsOffset(std::uint8_t type)
{
    switch (type) {
    case routerSolicitation:
        return 8;
    case routerAdvertisement:
        return 16;
    case neighbourSolicitation:
    case neighbourAdvertisement:
        return 24;
    case redirectMessage:
        return 40;
    default:
        return std::nullopt;
    }
}

} // namespace

NdOption findNdOption(ConstBytes message, std::uint8_t wanted)
{
    constexpr std::size_t unit = 8; // of an option's length
    auto offset = ndOptionsOffset(message.u8(icmpv6Type).value_or(0));
    while (offset && *offset < message.size()) {
        const std::size_t size = unit * message.u8(*offset + 1).value_or(0);
        if (size == 0 || !message.holds(*offset, size))
            return {NdOptionEnd::malformed};
        if (message.u8(*offset) == wanted)
            return {NdOptionEnd::found, message.part(*offset, size)};
        *offset += size;
    }
    return {NdOptionEnd::absent};
}

std::optional<std::uint16_t> icmpv6ChecksumOf(ConstBytes ip, std::size_t icmp)
{
    const std::size_t end = ipv6FixedSize + ip.be16(ipv6PayloadLength).value_or(0);
    if (icmp >= end || !ip.holds(0, end))
        return std::nullopt;
    return transportChecksum(ip.part(ipv6Source, 2 * ipv6AddressSize), nextHeaderIcmpv6,
                             ip.part(icmp, end - icmp), icmpv6Checksum);
}

} // namespace wire
