#include "vnode/model/Filters.h"

#include "vnode/model/Names.h"
#include "wire/Bytes.h"

#include <algorithm>
#include <cerrno>

namespace vnode {

namespace {

constexpr std::uint16_t etherTypeIpv4 = 0x0800;
constexpr std::uint8_t protocolUdp = 17;
constexpr std::uint16_t fragmentOffsetMask = 0x1FFF;
constexpr std::uint16_t portDhcpServer = 67;
constexpr std::uint16_t portDhcpClient = 68;

constexpr std::uint16_t etherTypeIpv6 = 0x86DD;
constexpr std::size_t ipv6HeaderSize = 40;
constexpr std::uint8_t nextHeaderHopByHop = 0;
constexpr std::uint8_t nextHeaderRouting = 43;
constexpr std::uint8_t nextHeaderFragment = 44;
constexpr std::uint8_t nextHeaderIcmpv6 = 58;
constexpr std::uint8_t nextHeaderDestinationOptions = 60;
constexpr std::size_t smallestExtensionHeader = 8; ///< and the unit of their lengths
constexpr std::uint16_t ipv6FragmentOffsetMask = 0xFFF8;
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

/// What an IPv6 packet carries behind its extension headers.
struct UpperLayer
{
    std::uint8_t protocol = 0;
    std::size_t offset = 0;
};

bool isExtensionHeader(std::uint8_t nextHeader)
{
    return nextHeader == nextHeaderHopByHop || nextHeader == nextHeaderRouting ||
           nextHeader == nextHeaderFragment || nextHeader == nextHeaderDestinationOptions;
}

/// Follows the chain of extension headers (RFC 8200, section 4). Otherwise a subscriber could get past the
/// relay with an empty options header (RFC 7113 describes this for router advertisements). Later fragments
/// have no ports.
std::optional<UpperLayer> upperLayerOfIpv6(const wire::ConstBytes& wire, const EtherHeader& header)
{
    if (header.type != etherTypeIpv6 || !wire.holds(header.payload, ipv6HeaderSize) ||
        *wire.u8(header.payload) >> 4 != 6)
        return std::nullopt;
    UpperLayer layer{*wire.u8(header.payload + 6), header.payload + ipv6HeaderSize};
    while (isExtensionHeader(layer.protocol)) {
        if (!wire.holds(layer.offset, smallestExtensionHeader))
            return std::nullopt;
        const bool fragment = layer.protocol == nextHeaderFragment;
        if (fragment && (*wire.be16(layer.offset + 2) & ipv6FragmentOffsetMask) != 0)
            return std::nullopt;
        // The second byte counts what stands behind the first eight; a fragment header has none of that.
        const std::size_t further = fragment ? 0 : *wire.u8(layer.offset + 1);
        layer.protocol = *wire.u8(layer.offset);
        layer.offset += (further + 1) * smallestExtensionHeader;
    }
    return layer;
}

} // namespace

/// Only the destination port counts: the relay reads nothing but 67 and 68 there. A later fragment has no
/// ports. The first fragment is diverted like a whole packet, so that no subscriber gets past the relay by
/// fragmenting.
bool matchesDhcp(std::span<const std::uint8_t> frame, const EtherHeader& header)
{
    if (header.type != etherTypeIpv4)
        return false;
    const wire::ConstBytes wire(frame);
    const std::size_t ip = header.payload;
    const auto versionAndLength = wire.u8(ip);
    const auto fragment = wire.be16(ip + 6);
    const auto protocol = wire.u8(ip + 9);
    if (!versionAndLength || !fragment || !protocol)
        return false;
    if (*versionAndLength >> 4 != 4 || *protocol != protocolUdp || (*fragment & fragmentOffsetMask) != 0)
        return false;
    const std::size_t udp = ip + std::size_t{*versionAndLength & 0x0FU} * 4;
    const auto port = wire.be16(udp + 2);
    return port == portDhcpServer || port == portDhcpClient;
}

bool matchesDhcpv6(std::span<const std::uint8_t> frame, const EtherHeader& header)
{
    const wire::ConstBytes wire(frame);
    const auto upper = upperLayerOfIpv6(wire, header);
    if (!upper || upper->protocol != protocolUdp)
        return false;
    const auto port = wire.be16(upper->offset + 2);
    return port == portDhcpv6Client || port == portDhcpv6Server;
}

bool matchesIcmpv6(std::span<const std::uint8_t> frame, const EtherHeader& header)
{
    const auto upper = upperLayerOfIpv6(wire::ConstBytes(frame), header);
    return upper && upper->protocol == nextHeaderIcmpv6;
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
