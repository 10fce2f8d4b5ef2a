#include "wire/Ipv4.h"

#include "wire/InternetChecksum.h"
#include "wire/Udp.h"

namespace wire {

namespace {

/// A range of the window without the word of its checksum field. The field lies on a word of its own.
void addWithout(InternetChecksum& sum, ConstBytes window, std::size_t size, std::size_t field)
{
    constexpr std::size_t word = sizeof(std::uint16_t);
    sum.add(window.part(0, size < field ? size : field));
    if (size > field + word)
        sum.add(window.part(field + word, size - field - word));
}

} // namespace

std::optional<std::uint16_t> ipv4ChecksumOf(ConstBytes ip)
{
    const std::size_t size = ipv4HeaderSize(ip);
    if (!ip.holds(0, size))
        return std::nullopt;
    InternetChecksum sum;
    addWithout(sum, ip, size, ipv4Checksum);
    return sum.value();
}

std::optional<std::uint16_t> udpChecksumOf(ConstBytes ip, ConstBytes udp)
{
    const std::uint16_t length = udp.be16(udpLength).value_or(0);
    if (!udp.holds(0, length))
        return std::nullopt;
    InternetChecksum sum;
    sum.add(ip.part(ipv4Source, 2 * sizeof(std::uint32_t)));
    sum.add(std::uint16_t{ip.u8(ipv4Protocol).value_or(0)});
    sum.add(length);
    addWithout(sum, udp, length, udpChecksum);
    return sum.value();
}

} // namespace wire
