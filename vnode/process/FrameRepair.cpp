#include "vnode/process/FrameRepair.h"

#include "vnode/model/Ether.h"
#include "wire/InternetChecksum.h"
#include "wire/Ipv4.h"
#include "wire/Ipv6.h"
#include "wire/Udp.h"

#include <algorithm>
#include <optional>

namespace vnode {

namespace {

/// The transport segment of an IP packet and what its pseudo header is made of.
struct Segment
{
    std::span<const std::uint8_t> addresses; ///< source and destination
    std::uint8_t protocol;
    std::size_t start; ///< from the IP header
    std::size_t size;
};

struct Transport
{
    std::uint8_t protocol;
    std::size_t checksum;
    std::size_t headerSize;
};

constexpr Transport transports[] = {{wire::protocolUdp, wire::udpChecksum, wire::udpHeaderSize},
                                    {wire::protocolTcp, 16, 20}};

std::optional<Segment> segmentOfIpv4(wire::ConstBytes ip)
{
    const auto total = ip.be16(wire::ipv4TotalLength);
    const std::size_t header = wire::ipv4HeaderSize(ip);
    if (wire::ipVersion(ip) != 4 || header < wire::ipv4FixedSize || !total || *total < header ||
        !ip.holds(0, *total) ||
        (*ip.be16(wire::ipv4Fragment) & (wire::ipv4MoreFragments | wire::ipv4FragmentOffset)) != 0)
        return std::nullopt;
    return Segment{ip.part(wire::ipv4Source, 2 * sizeof(std::uint32_t)), *ip.u8(wire::ipv4Protocol), header,
                   *total - header};
}

std::optional<Segment> segmentOfIpv6(wire::ConstBytes ip)
{
    const std::size_t end = wire::ipv6FixedSize + ip.be16(wire::ipv6PayloadLength).value_or(0);
    if (!ip.holds(0, end))
        return std::nullopt;
    // Hop-by-hop and destination options may stand between; a routing header changes the pseudo header's
    // destination, and local senders that use one compute the sum themselves.
    const auto upper = wire::upperLayerOf(wire::ConstBytes(ip.part(0, end)),
                                          {wire::nextHeaderHopByHop, wire::nextHeaderDestinationOptions});
    if (!upper || upper->offset > end)
        return std::nullopt;
    return Segment{ip.part(wire::ipv6Source, 2 * wire::ipv6AddressSize), upper->protocol, upper->offset,
                   end - upper->offset};
}

} // namespace

bool completeChecksum(std::span<std::uint8_t> frame)
{
    const auto ethernet = parseEther(frame);
    if (!ethernet || (ethernet->type != wire::typeIpv4 && ethernet->type != wire::typeIpv6))
        return false;
    const wire::Bytes ip(frame.subspan(ethernet->payload));
    const auto segment = ethernet->type == wire::typeIpv4 ? segmentOfIpv4(ip) : segmentOfIpv6(ip);
    if (!segment)
        return false;
    const auto* transport = std::ranges::find(transports, segment->protocol, &Transport::protocol);
    if (transport == std::end(transports) || segment->size < transport->headerSize)
        return false;
    auto checksum = wire::transportChecksum(segment->addresses, segment->protocol,
                                            ip.part(segment->start, segment->size), transport->checksum);
    if (segment->protocol == wire::protocolUdp && checksum == 0)
        checksum = 0xFFFF; // zero means "none was computed" (RFC 768)
    return ip.putBe16(segment->start + transport->checksum, checksum);
}

std::span<const std::uint8_t> withoutTail(std::span<const std::uint8_t> frame)
{
    const auto ethernet = parseEther(frame);
    if (!ethernet || (ethernet->type != wire::typeIpv4 && ethernet->type != wire::typeIpv6))
        return frame;
    const bool version4 = ethernet->type == wire::typeIpv4;
    const wire::ConstBytes ip(frame.subspan(ethernet->payload));
    const auto length = ip.be16(version4 ? wire::ipv4TotalLength : wire::ipv6PayloadLength);
    if (!length)
        return frame;
    const std::size_t size = ethernet->payload + *length + (version4 ? 0 : wire::ipv6FixedSize);
    return frame.first(std::min(size, frame.size()));
}

} // namespace vnode
