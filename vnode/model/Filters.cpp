#include "vnode/model/Filters.h"

#include "vnode/model/Names.h"
#include "wire/Ipv4.h"
#include "wire/Ipv6.h"
#include "wire/Udp.h"

#include <algorithm>
#include <cerrno>

namespace vnode {

namespace {

constexpr std::uint16_t portDhcpServer = 67;
constexpr std::uint16_t portDhcpClient = 68;
constexpr std::uint16_t portDhcpv6Client = 546;
constexpr std::uint16_t portDhcpv6Server = 547;

constexpr bool rowsAreInOrder()
{
    for (std::size_t i = 0; i < filterRows.size(); ++i)
        if (static_cast<std::size_t>(filterRows[i].filter) != i)
            return false;
    return true;
}
static_assert(rowsAreInOrder(), "a filter's number is its row");

wire::ConstBytes payloadOf(std::span<const std::uint8_t> frame, const EtherHeader& header)
{
    return wire::ConstBytes(frame.subspan(std::min(header.payload, frame.size())));
}

/// What an IPv6 packet carries. Extension headers are crossed. Otherwise a subscriber could get past the
/// relay with an empty options header (RFC 7113 describes this for router advertisements).
std::optional<wire::Ipv6UpperLayer> upperLayerOfIpv6(wire::ConstBytes ip, const EtherHeader& header)
{
    if (header.type != wire::typeIpv6 || wire::ipVersion(ip) != 6)
        return std::nullopt;
    return wire::upperLayerOf(ip, {wire::nextHeaderHopByHop, wire::nextHeaderRouting,
                                   wire::nextHeaderFragment, wire::nextHeaderDestinationOptions});
}

} // namespace

/// Only the destination port counts: the relay reads nothing but 67 and 68 there. A later fragment has no
/// ports. The first fragment is diverted like a whole packet, so that no subscriber gets past the relay by
/// fragmenting.
bool matchesDhcp(std::span<const std::uint8_t> frame, const EtherHeader& header)
{
    const auto ip = payloadOf(frame, header);
    if (header.type != wire::typeIpv4 || wire::ipVersion(ip) != 4 ||
        ip.u8(wire::ipv4Protocol) != wire::protocolUdp ||
        (ip.be16(wire::ipv4Fragment).value_or(0) & wire::ipv4FragmentOffset) != 0)
        return false;
    const auto port = ip.be16(wire::ipv4HeaderSize(ip) + wire::udpDestinationPort);
    return port == portDhcpServer || port == portDhcpClient;
}

bool matchesDhcpv6(std::span<const std::uint8_t> frame, const EtherHeader& header)
{
    const auto ip = payloadOf(frame, header);
    const auto upper = upperLayerOfIpv6(ip, header);
    if (!upper || upper->protocol != wire::nextHeaderUdp)
        return false;
    const auto port = ip.be16(upper->offset + wire::udpDestinationPort);
    return port == portDhcpv6Client || port == portDhcpv6Server;
}

bool matchesIcmpv6(std::span<const std::uint8_t> frame, const EtherHeader& header)
{
    const auto upper = upperLayerOfIpv6(payloadOf(frame, header), header);
    return upper && upper->protocol == wire::nextHeaderIcmpv6;
}

int Filters::createDevice(const std::string& name)
{
    if (!isDeviceName(name))
        return EINVAL;
    return created.insert(name).second ? 0 : EEXIST;
}

bool Filters::removeDevice(const std::string& name)
{
    for (std::string& device : attached)
        if (device == name)
            device.clear();
    return created.erase(name) != 0;
}

int Filters::attach(std::string_view filter, const std::string& device)
{
    const auto row = std::ranges::find(filterRows, filter, &FilterRow::name);
    if (row == filterRows.end())
        return EINVAL;
    if (!created.contains(device))
        return ENODEV;
    attached[static_cast<std::size_t>(row->filter)] = device;
    return 0;
}

bool Filters::detach(std::string_view filter)
{
    const auto row = std::ranges::find(filterRows, filter, &FilterRow::name);
    if (row == filterRows.end())
        return false;
    attached[static_cast<std::size_t>(row->filter)].clear();
    return true;
}

const std::string& Filters::deviceOf(Filter filter) const
{
    return attached[static_cast<std::size_t>(filter)];
}

const std::string* Filters::match(std::span<const std::uint8_t> frame, const EtherHeader& header) const
{
    for (const FilterRow& row : filterRows) {
        const std::string& device = deviceOf(row.filter);
        if (!device.empty() && row.matches(frame, header))
            return &device;
    }
    return nullptr;
}

} // namespace vnode
