#include "vnode/process/FrameRepair.h"

#include <algorithm>
#include <cstring>
#include <netinet/in.h>
#include <optional>

namespace vnode {

namespace {

/// The transport segment of a frame and what its pseudo header is made of.
struct Segment
{
    std::size_t addresses; ///< offset of source and destination address, which adjoin
    std::size_t addressBytes;
    std::size_t start;
    std::size_t size;
    std::uint8_t protocol;
};

constexpr std::uint16_t typeIpv4 = 0x0800;
constexpr std::uint16_t typeIpv6 = 0x86DD;
constexpr std::size_t ipv6Header = 40;

std::optional<std::size_t> networkHeader(const wire::ConstBytes& wire, std::uint16_t& type)
{
    std::size_t at = 12;
    for (int tags = 0; tags <= 3; ++tags, at += 4) {
        const auto word = wire.be16(at);
        if (!word)
            return std::nullopt;
        if (*word != 0x8100 && *word != 0x88A8) {
            type = *word;
            return at + 2;
        }
    }
    return std::nullopt;
}

std::optional<Segment> segmentOfIpv4(const wire::Bytes& wire, std::size_t ip)
{
    const auto version = wire.u8(ip);
    const auto total = wire.be16(ip + 2);
    const auto fragment = wire.be16(ip + 6);
    const auto protocol = wire.u8(ip + 9);
    if (!protocol || *version >> 4 != 4 || (*fragment & 0x3FFF) != 0) // more fragments, or not the first
        return std::nullopt;
    const std::size_t header = std::size_t{*version & 0x0Fu} * 4;
    if (header < 20 || *total < header || !wire.holds(ip, *total))
        return std::nullopt;
    return Segment{ip + 12, 8, ip + header, *total - header, *protocol};
}

std::optional<Segment> segmentOfIpv6(const wire::Bytes& wire, std::size_t ip)
{
    const auto payload = wire.be16(ip + 4);
    auto next = wire.u8(ip + 6);
    if (!next || !wire.holds(ip + ipv6Header, *payload))
        return std::nullopt;
    const std::size_t end = ip + ipv6Header + *payload;
    std::size_t at = ip + ipv6Header;
    // Hop-by-hop and destination options may stand between; a routing header changes the pseudo header's
    // destination, and local senders that use one compute the sum themselves.
    while (*next == IPPROTO_HOPOPTS || *next == IPPROTO_DSTOPTS) {
        const auto following = wire.u8(at);
        const auto words = wire.u8(at + 1);
        if (!words)
            return std::nullopt;
        next = following;
        at += (std::size_t{*words} + 1) * 8;
        if (at > end)
            return std::nullopt;
    }
    return Segment{ip + 8, 32, at, end - at, *next};
}

std::uint32_t sumOf(const wire::Bytes& wire, std::size_t offset, std::size_t count)
{
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i + 1 < count; i += 2)
        sum += wire.be16(offset + i).value_or(0);
    if (count % 2 != 0)
        sum += std::uint32_t{wire.u8(offset + count - 1).value_or(0)} << 8;
    return sum;
}

} // namespace

std::span<std::uint8_t> restoreTag(FrameBuffer& buffer, std::size_t size, std::uint16_t protocol,
                                   std::uint16_t control)
{
    constexpr std::size_t addresses = 12;
    if (size < addresses)
        return buffer.landing().first(size);
    const wire::Bytes whole(std::span(buffer.bytes).first(FrameBuffer::tagSize + size));
    whole.move(0, FrameBuffer::tagSize, addresses);
    whole.putBe16(addresses, protocol);
    whole.putBe16(addresses + 2, control);
    return std::span(buffer.bytes).first(FrameBuffer::tagSize + size);
}

bool completeChecksum(std::span<std::uint8_t> frame)
{
    const wire::Bytes wire(frame);
    std::uint16_t type = 0;
    const auto ip = networkHeader(wire, type);
    if (!ip || (type != typeIpv4 && type != typeIpv6))
        return false;
    const auto segment = type == typeIpv4 ? segmentOfIpv4(wire, *ip) : segmentOfIpv6(wire, *ip);
    if (!segment)
        return false;

    const bool udp = segment->protocol == IPPROTO_UDP;
    if (!udp && segment->protocol != IPPROTO_TCP)
        return false;
    const std::size_t field = udp ? 6 : 16;
    if (segment->size < (udp ? 8u : 20u))
        return false;

    wire.putBe16(segment->start + field, 0);
    std::uint32_t sum = sumOf(wire, segment->addresses, segment->addressBytes) + segment->protocol +
                        static_cast<std::uint32_t>(segment->size) +
                        sumOf(wire, segment->start, segment->size);
    while (sum >> 16 != 0)
        sum = (sum & 0xFFFF) + (sum >> 16);
    auto checksum = static_cast<std::uint16_t>(~sum);
    if (udp && checksum == 0)
        checksum = 0xFFFF; // zero means "none was computed" (RFC 768)
    return wire.putBe16(segment->start + field, checksum);
}

std::span<const std::uint8_t> withoutTail(std::span<const std::uint8_t> frame)
{
    const wire::ConstBytes wire(frame);
    std::uint16_t type = 0;
    const auto ip = networkHeader(wire, type);
    if (!ip || (type != typeIpv4 && type != typeIpv6))
        return frame;
    const auto length = wire.be16(*ip + (type == typeIpv4 ? 2 : 4));
    if (!length)
        return frame;
    const std::size_t size = *ip + *length + (type == typeIpv6 ? ipv6Header : 0);
    return frame.first(std::min(size, frame.size()));
}

} // namespace vnode
