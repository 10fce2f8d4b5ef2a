#include "wire/Ipv4.h"

#include "wire/InternetChecksum.h"
#include "wire/Udp.h"

namespace wire {

std::optional<std::uint16_t> ipv4ChecksumOf(ConstBytes ip)
{
    const std::size_t size = ipv4HeaderSize(ip);
    if (!ip.holds(0, size))
        return std::nullopt;
    InternetChecksum sum;
    sum.addWithout(ip.part(0, size), ipv4Checksum);
    return sum.value();
}

std::optional<std::uint16_t> udpChecksumOf(ConstBytes ip, ConstBytes udp)
{
    const std::uint16_t length = udp.be16(udpLength).value_or(0);
    if (!udp.holds(0, length))
        return std::nullopt;
    return transportChecksum(ip.part(ipv4Source, 2 * sizeof(std::uint32_t)), ip.u8(ipv4Protocol).value_or(0),
                             udp.part(0, length), udpChecksum);
}

} // namespace wire
