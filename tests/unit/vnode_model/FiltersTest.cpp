#include "vnode/model/Filters.h"

#include "Frames.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vnode {
namespace {

using frames::Bytes;

bool isDhcp(const Bytes& frame)
{
    const auto header = parseEther(frame);
    return header && matchesDhcp(frame, *header);
}

Bytes withByte(Bytes packet, std::size_t offset, std::uint8_t value)
{
    packet.at(offset) = value;
    return packet;
}

struct DhcpCase
{
    const char* what;
    Bytes tags;
    Bytes packet;
    bool diverted;
};

class DhcpFilter : public testing::TestWithParam<DhcpCase>
{};

TEST_P(DhcpFilter, DivertsWhatTheRelayReads)
{
    const DhcpCase& row = GetParam();
    EXPECT_EQ(isDhcp(frames::dhcp(frames::everyone, frames::client, row.tags, row.packet)), row.diverted)
        << row.what;
}

Bytes withIpOptions()
{
    // Header of six words: the UDP header stands four bytes later.
    Bytes packet = withByte(frames::udpToServer(), 0, 0x46);
    packet.insert(packet.begin() + 20, {1, 1, 1, 0});
    return packet;
}

INSTANTIATE_TEST_SUITE_P(
    Frames, DhcpFilter,
    testing::Values(
        DhcpCase{"to a server", {}, frames::udpToServer(), true},
        DhcpCase{"to a client", {}, withByte(frames::udpToServer(), 23, 68), true},
        DhcpCase{"to another port", {}, withByte(frames::udpToServer(), 23, 69), false},
        DhcpCase{
            "port 67 in the wrong byte", {}, withByte(withByte(frames::udpToServer(), 22, 67), 23, 0), false},
        DhcpCase{"TCP", {}, withByte(frames::udpToServer(), 9, 6), false},
        DhcpCase{"IP version 6 inside", {}, withByte(frames::udpToServer(), 0, 0x65), false},
        DhcpCase{"IP options", {}, withIpOptions(), true},
        DhcpCase{"first fragment", {}, withByte(frames::udpToServer(), 6, 0x20), true},
        DhcpCase{"later fragment", {}, withByte(frames::udpToServer(), 7, 1), false},
        DhcpCase{"one tag", {0x81, 0, 0, 5}, frames::udpToServer(), true},
        DhcpCase{"service tag", {0x88, 0xA8, 0, 5}, frames::udpToServer(), true},
        DhcpCase{"three tags", {0x88, 0xA8, 0, 5, 0x81, 0, 0, 6, 0x81, 0, 0, 7}, frames::udpToServer(), true},
        DhcpCase{"four tags",
                 {0x81, 0, 0, 5, 0x81, 0, 0, 6, 0x81, 0, 0, 7, 0x81, 0, 0, 8},
                 frames::udpToServer(),
                 false}));

TEST(DhcpFilterBounds, NeedsTheDestinationPort)
{
    const Bytes whole = frames::dhcp(frames::everyone, frames::client);
    constexpr std::size_t endOfPort = 14 + 20 + 4;
    for (std::size_t size = 14; size <= whole.size(); ++size) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(isDhcp(cut), size >= endOfPort) << size;
    }
    for (unsigned first = 0x40; first <= 0x4F; ++first) // header lengths from lies to past the end
        static_cast<void>(
            isDhcp(frames::dhcp(frames::everyone, frames::client, {},
                                withByte(frames::udpToServer(), 0, static_cast<std::uint8_t>(first)))));
}

/// An IPv6 packet: this next header, then these bytes.
Bytes ipv6(std::uint8_t nextHeader, const Bytes& payload)
{
    Bytes packet{0x60, 0, 0, 0, 0, static_cast<std::uint8_t>(payload.size()), nextHeader, 1};
    packet.resize(40, 0xFE);
    packet.insert(packet.end(), payload.begin(), payload.end());
    return packet;
}

Bytes frameOf(const Bytes& tags, const Bytes& packet)
{
    Bytes frame(12, 2);
    frame.insert(frame.end(), tags.begin(), tags.end());
    frame.insert(frame.end(), {0x86, 0xDD});
    frame.insert(frame.end(), packet.begin(), packet.end());
    return frame;
}

TEST(Ipv6Filters, DivertWhatTheRelayReads)
{
    struct Row
    {
        const char* what;
        Bytes packet;
        bool dhcp;
        bool icmp;
    };
    const auto udpTo = [](std::uint8_t high, std::uint8_t low) {
        return ipv6(17, {2, 0x22, high, low, 0, 8, 0, 0});
    };
    for (const Row& row : {
             Row{"to a server", udpTo(2, 0x23), true, false},
             Row{"to a client", udpTo(2, 0x22), true, false},
             Row{"to DHCPv4", udpTo(0, 67), false, false},
             Row{"no port", ipv6(17, {2, 0x22, 2}), false, false},
             Row{"TCP", ipv6(6, {2, 0x22, 2, 0x23}), false, false},
             Row{"neighbour solicitation", ipv6(58, {135, 0}), false, true},
             Row{"nothing behind the header", ipv6(58, {}), false, true},
             Row{"options first", ipv6(0, {58, 0, 5, 2, 0, 0, 1, 0, 143, 0}), false, true},
             Row{"a long options header",
                 ipv6(60, {17, 1, 1, 12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0x22, 2, 0x23}), true, false},
             Row{"first fragment", ipv6(44, {17, 0, 0, 1, 0, 0, 0, 9, 2, 0x22, 2, 0x23}), true, false},
             Row{"later fragment", ipv6(44, {17, 0, 0, 9, 0, 0, 0, 9, 2, 0x22, 2, 0x23}), false, false},
             Row{"two headers", ipv6(43, {60, 0, 0, 0, 0, 0, 0, 0, 58, 0, 1, 4, 0, 0, 0, 0, 134}), false,
                 true},
             Row{"a header cut off", ipv6(60, {58, 0, 1, 4, 0, 0, 0}), false, false},
             Row{"a header that points behind the end",
                 ipv6(60, {17, 255, 1, 4, 0, 0, 0, 0, 2, 0x22, 2, 0x23}), false, false},
             Row{"no next header", ipv6(59, {2, 0x22, 2, 0x23}), false, false},
             Row{"IP version 4 inside", withByte(udpTo(2, 0x23), 0, 0x45), false, false},
             Row{"less than a header", Bytes(39, 0x60), false, false},
         })
        for (const Bytes& tags : {Bytes{}, Bytes{0x81, 0, 0, 5}, Bytes{0x88, 0xA8, 0, 5, 0x81, 0, 0, 6}}) {
            const Bytes frame = frameOf(tags, row.packet);
            const auto header = parseEther(frame);
            ASSERT_TRUE(header);
            EXPECT_EQ(matchesDhcpv6(frame, *header), row.dhcp) << row.what;
            EXPECT_EQ(matchesIcmpv6(frame, *header), row.icmp) << row.what;
            EXPECT_FALSE(matchesDhcp(frame, *header)) << row.what;
        }
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
    EXPECT_EQ(filters.deviceOf(Filter::dhcp), "br0_dhcp");
    EXPECT_EQ(filters.createDevice("other"), 0);
    EXPECT_EQ(filters.attach("dhcp", "other"), 0);
    EXPECT_EQ(filters.deviceOf(Filter::dhcp), "other");
    EXPECT_TRUE(filters.removeDevice("other"));
    EXPECT_EQ(filters.deviceOf(Filter::dhcp), "");
}

} // namespace
} // namespace vnode
