#include "vnode/model/Filters.h"
#include "support/Dhcpv6Frame.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vnode {
namespace {

using test::Bytes;
using test::discover;
using test::Part;

const Bytes udp6{2, 0x22, 2, 0x23, 0, 8, 0, 0}; // from 546 to 547

/// An IPv6 packet with a chain of headers and what stands behind them.
test::Dhcpv6Frame chain(std::uint8_t nextHeader, Bytes headers, const Bytes& behind = {})
{
    headers.insert(headers.end(), behind.begin(), behind.end());
    return test::Dhcpv6Frame({}).bare(nextHeader, headers);
}

/// The filters that take a frame; none for a frame whose header cannot be read.
std::vector<Filter> takers(const Bytes& frame)
{
    std::vector<Filter> found;
    if (const auto header = parseEther(frame))
        for (const FilterRow& row : filterRows)
            if (row.matches(frame, *header))
                found.push_back(row.filter);
    return found;
}

struct Row
{
    Row(const char* name, const auto& builder, const std::vector<Filter>& filters)
        : what(name), frame(builder.ethernetFrame()), takers(filters)
    {}
    const char* what;
    Bytes frame;
    std::vector<Filter> takers;
};

TEST(Filters, DivertWhatTheRelayReads)
{
    const std::vector<Filter> none, dhcp{Filter::dhcp}, dhcpv6{Filter::dhcpv6}, icmpv6{Filter::icmpv6};
    for (const Row& row : {
             Row{"to a server", discover(), dhcp},
             Row{"to a client", test::offer(), dhcp},
             Row{"to another port", discover().ports(68, 69), none},
             Row{"port 67 in the wrong byte", discover().ports(68, 67 << 8), none},
             Row{"TCP", discover().spoil(Part::ip, 9, 6), none},
             Row{"IP version 6 inside", discover().spoil(Part::ip, 0, 0x65), none},
             Row{"IP options", discover().ipOptions({1, 1, 1, 0}), dhcp},
             Row{"first fragment", discover().spoil(Part::ip, 6, 0x20), dhcp},
             Row{"later fragment", discover().spoil(Part::ip, 7, 1), none},
             Row{"IPv6 to a server", test::solicit(), dhcpv6},
             Row{"IPv6 to a client", test::solicit().ports(547, 546), dhcpv6},
             Row{"IPv6 to DHCPv4", test::solicit().ports(68, 67), none},
             Row{"no port", test::solicit().cutTo(107 + 14 + 40 + 3), none},
             Row{"IPv6 TCP", chain(6, udp6), none},
             Row{"nothing behind the header", chain(58, {}), icmpv6},
             Row{"options first", chain(0, {58, 0, 5, 2, 0, 0, 1, 0, 143, 0}), icmpv6},
             Row{"a long options header", chain(60, {17, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, udp6),
                 dhcpv6},
             Row{"IPv6 first fragment", chain(44, {17, 0, 0, 1, 0, 0, 0, 9}, udp6), dhcpv6},
             Row{"IPv6 later fragment", chain(44, {17, 0, 0, 9, 0, 0, 0, 9}, udp6), none},
             Row{"two headers", chain(43, {60, 0, 0, 0, 0, 0, 0, 0, 58, 0, 1, 4, 0, 0, 0, 0, 134}), icmpv6},
             Row{"a header cut off", chain(60, {58, 0, 1, 4, 0, 0, 0}), none},
             Row{"a header that points behind the end", chain(60, {17, 255, 0, 0, 0, 0, 0, 0}, udp6), none},
             Row{"no next header", chain(59, udp6), none},
             Row{"IP version 4 inside", test::solicit().spoil(Part::ip, 0, 0x45), none},
             Row{"less than a header", chain(58, {}).cutTo(107 + 14 + 39), none},
         }) {
        SCOPED_TRACE(row.what);
        Bytes frame = row.frame;
        EXPECT_EQ(takers(frame), row.takers);
        for (const Bytes& tag : {Bytes{0x88, 0xA8, 0, 5}, {0x81, 0, 0, 6}, {0x81, 0, 0, 7}}) {
            frame.insert(frame.begin() + 12, tag.begin(), tag.end());
            EXPECT_EQ(takers(frame), row.takers);
        }
        frame.insert(frame.begin() + 12, {0x81, 0, 0, 8});
        EXPECT_EQ(takers(frame), none) << "four tags";
    }
}

TEST(Filters, NeedTheDestinationPort)
{
    const Bytes whole = discover().ethernetFrame();
    constexpr std::size_t endOfPort = 14 + 20 + 4;
    for (std::size_t size = 0; size <= endOfPort; ++size)
        EXPECT_EQ(takers(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))).size(),
                  size == endOfPort ? 1U : 0U)
            << size;
}

TEST(Filters, GoWithTheirDevice)
{
    Filters filters;
    EXPECT_EQ(filters.attach("dhcp", "br0_dhcp"), ENODEV);
    EXPECT_EQ(filters.createDevice("a name too long for Linux"), EINVAL);
    EXPECT_EQ(filters.createDevice("br0_dhcp"), 0);
    EXPECT_EQ(filters.attach("dhcp", "br0_dhcp"), 0);
    EXPECT_TRUE(filters.removeDevice("br0_dhcp"));
    EXPECT_EQ(filters.deviceOf(Filter::dhcp), "");
}

} // namespace
} // namespace vnode
