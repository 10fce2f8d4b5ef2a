#include "vnode/model/Filters.h"

#include "Frames.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vnode {
namespace {

using frames::Bytes;
using frames::join;

const Bytes ipv4Type{0x08, 0x00};
const Bytes ipv6Type{0x86, 0xDD};

Bytes withByte(Bytes bytes, std::size_t offset, std::uint8_t value)
{
    bytes.at(offset) = value;
    return bytes;
}

/// A UDP packet to port 67 behind its EtherType, with one byte of it changed.
Bytes udp4(std::size_t offset = 0, std::uint8_t value = 0x45)
{
    return join({ipv4Type, withByte(frames::udpToServer(), offset, value)});
}

/// The same with an IP header of six words.
Bytes udp4WithOptions()
{
    Bytes packet = udp4(0, 0x46);
    packet.insert(packet.begin() + 22, {1, 1, 1, 0});
    return packet;
}

/// An IPv6 packet behind its EtherType: this next header, then these bytes.
Bytes ipv6(std::uint8_t nextHeader, const Bytes& payload)
{
    return join({ipv6Type,
                 {0x60, 0, 0, 0, 0, static_cast<std::uint8_t>(payload.size()), nextHeader, 1},
                 Bytes(32, 0xFE),
                 payload});
}

Bytes udp6(std::uint8_t high, std::uint8_t low) { return ipv6(17, {2, 0x22, high, low, 0, 8, 0, 0}); }

/// The filter that takes a frame, by its row; nothing for a frame whose header cannot be read.
std::vector<Filter> takers(const Bytes& frame)
{
    std::vector<Filter> found;
    if (const auto header = parseEther(frame))
        for (const FilterRow& row : filterRows)
            if (row.matches(frame, *header))
                found.push_back(row.filter);
    return found;
}

TEST(Filters, DivertWhatTheRelayReads)
{
    const std::vector<Filter> none, dhcp{Filter::dhcp}, dhcpv6{Filter::dhcpv6}, icmpv6{Filter::icmpv6};
    struct Row
    {
        const char* what;
        Bytes packet;
        std::vector<Filter> takers;
    };
    for (const Row& row : {
             Row{"to a server", udp4(), dhcp},
             Row{"to a client", udp4(23, 68), dhcp},
             Row{"to another port", udp4(23, 69), none},
             Row{"port 67 in the wrong byte", withByte(udp4(23, 0), 24, 67), none},
             Row{"TCP", udp4(9, 6), none},
             Row{"IP version 6 inside", udp4(0, 0x65), none},
             Row{"IP options", udp4WithOptions(), dhcp},
             Row{"first fragment", udp4(6, 0x20), dhcp},
             Row{"later fragment", udp4(7, 1), none},
             Row{"IPv6 to a server", udp6(2, 0x23), dhcpv6},
             Row{"IPv6 to a client", udp6(2, 0x22), dhcpv6},
             Row{"IPv6 to DHCPv4", udp6(0, 67), none},
             Row{"no port", ipv6(17, {2, 0x22, 2}), none},
             Row{"IPv6 TCP", ipv6(6, {2, 0x22, 2, 0x23}), none},
             Row{"nothing behind the header", ipv6(58, {}), icmpv6},
             Row{"options first", ipv6(0, {58, 0, 5, 2, 0, 0, 1, 0, 143, 0}), icmpv6},
             Row{"a long options header", ipv6(60, join({{17, 1}, Bytes(14), {2, 0x22, 2, 0x23}})), dhcpv6},
             Row{"IPv6 first fragment", ipv6(44, {17, 0, 0, 1, 0, 0, 0, 9, 2, 0x22, 2, 0x23}), dhcpv6},
             Row{"IPv6 later fragment", ipv6(44, {17, 0, 0, 9, 0, 0, 0, 9, 2, 0x22, 2, 0x23}), none},
             Row{"two headers", ipv6(43, join({{60}, Bytes(7), {58, 0, 1, 4, 0, 0, 0, 0, 134}})), icmpv6},
             Row{"a header cut off", ipv6(60, {58, 0, 1, 4, 0, 0, 0}), none},
             Row{"a header that points behind the end",
                 ipv6(60, join({{17, 255}, Bytes(6), {2, 0x22, 2, 0x23}})), none},
             Row{"no next header", ipv6(59, {2, 0x22, 2, 0x23}), none},
             Row{"IP version 4 inside", withByte(udp6(2, 0x23), 2, 0x45), none},
             Row{"less than a header", join({ipv6Type, Bytes(39, 0x60)}), none},
         }) {
        SCOPED_TRACE(row.what);
        Bytes tags;
        for (const Bytes& tag : {Bytes{}, {0x88, 0xA8, 0, 5}, {0x81, 0, 0, 6}, {0x81, 0, 0, 7}}) {
            tags = join({tags, tag});
            EXPECT_EQ(takers(join({Bytes(12, 2), tags, row.packet})), row.takers);
        }
        EXPECT_EQ(takers(join({Bytes(12, 2), tags, {0x81, 0, 0, 8}, row.packet})), none) << "four tags";
    }
}

TEST(Filters, NeedTheDestinationPort)
{
    const Bytes whole = frames::dhcp(frames::everyone, frames::client);
    constexpr std::size_t endOfPort = 14 + 20 + 4;
    for (std::size_t size = 0; size <= whole.size(); ++size)
        EXPECT_EQ(takers(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))).size(),
                  size >= endOfPort ? 1U : 0U)
            << size;
    for (unsigned first = 0x40; first <= 0x4F; ++first) // header lengths from lies to past the end
        static_cast<void>(takers(join({Bytes(12, 2), udp4(0, static_cast<std::uint8_t>(first))})));
}

TEST(Filters, AttachOutlivesAndMoves)
{
    Filters filters;
    EXPECT_EQ(filters.attach("dhcp", "br0_dhcp"), ENODEV);
    EXPECT_EQ(filters.createDevice("br0_dhcp"), 0);
    EXPECT_EQ(filters.createDevice("br0_dhcp"), EEXIST);
    EXPECT_EQ(filters.createDevice("a name too long for Linux"), EINVAL);
    EXPECT_EQ(filters.attach("nonsense", "br0_dhcp"), EINVAL);
    EXPECT_EQ(filters.deviceOf(Filter::dhcp), "");

    EXPECT_EQ(filters.attach("dhcp", "br0_dhcp"), 0);
    EXPECT_EQ(filters.attach("dhcp", "br0_dhcp"), 0) << "a restarted daemon attaches again";
    EXPECT_EQ(filters.createDevice("other"), 0);
    EXPECT_EQ(filters.attach("dhcp", "other"), 0);
    EXPECT_EQ(filters.deviceOf(Filter::dhcp), "other");
    EXPECT_TRUE(filters.removeDevice("other"));
    EXPECT_EQ(filters.deviceOf(Filter::dhcp), "");
}

} // namespace
} // namespace vnode
