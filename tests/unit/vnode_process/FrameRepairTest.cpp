#include "vnode/process/FrameRepair.h"

#include "support/Dhcpv6Frame.h"

#include <gtest/gtest.h>

namespace {

using test::Bytes;
using test::discover;
using test::Part;
using test::solicit;

/// A SYN and a UDP datagram behind a hop-by-hop options header, with checksums that were worked out by hand.
const Bytes tcpSyn{0x03, 0xE8, 0, 80, 0, 0, 0, 1, 0, 0, 0, 0, 0x50, 0x02, 0x20, 0, 0x8E, 0x22, 0, 0};
const Bytes udpBehindOptions{17, 0, 5, 2, 0, 0, 1, 0, 2, 0x22, 2, 0x23, 0, 10, 0xFD, 0x0B, 1, 2};

test::Dhcpv6Frame bare(std::uint8_t nextHeader, const Bytes& payload)
{
    return test::Dhcpv6Frame({}).source(test::linkLocal(1)).bare(nextHeader, payload);
}

TEST(CompleteChecksum, WritesTheSumAndChangesNothingElse)
{
    struct
    {
        const char* what;
        Bytes frame; ///< with its right checksum
        std::size_t at;
    } const rows[] = {
        {"udp4", discover().ethernetFrame(), 40},
        {"odd and padded", discover().option(12, "odd").ethernetPadding(15, 0xEE).ethernetFrame(), 40},
        {"tagged", discover().vlan(100, 3).ethernetFrame(), 44},
        {"qinq", discover().tag(0x88A8, 7).vlan(100, 3).ethernetFrame(), 48},
        {"udp6", solicit().vlan(100, 3).ethernetFrame(), 64},
        {"tcp6", bare(6, tcpSyn).ethernetFrame(), 70},
        {"hop-by-hop", bare(0, udpBehindOptions).ethernetFrame(), 68},
    };
    for (const auto& row : rows) {
        Bytes frame = row.frame;
        frame[row.at] = 0x12; // what a stack leaves there for the card
        frame[row.at + 1] = 0x34;
        EXPECT_TRUE(vnode::completeChecksum(frame)) << row.what;
        EXPECT_EQ(frame, row.frame) << row.what;
    }
    // A sum that comes out as zero is sent as 0xFFFF (RFC 768).
    Bytes zero = discover().secs(0).ethernetFrame();
    const std::size_t secs = 14 + 20 + 8 + 8;
    zero[secs] = zero[40];
    zero[secs + 1] = zero[41];
    EXPECT_TRUE(vnode::completeChecksum(zero));
    EXPECT_EQ((std::pair{zero[40], zero[41]}), (std::pair<std::uint8_t, std::uint8_t>{0xFF, 0xFF}));
}

TEST(CompleteChecksum, LeavesAloneWhatHasNone)
{
    for (const Bytes& untouched : {
             discover().spoil(Part::ip, 6, 0x20).ethernetFrame(), // first fragment of several
             discover().spoil(Part::ip, 7, 1).ethernetFrame(),    // a later fragment
             discover().spoil(Part::ip, 9, 1).ethernetFrame(),    // ICMP
             discover().spoil(Part::ip, 2, 2).ethernetFrame(),    // claims more than there is
             discover().spoil(Part::ip, 2, 0).spoil(Part::ip, 3, 19).ethernetFrame(), // less than its header
             discover().spoil(Part::ip, 0, 0x44).ethernetFrame(), // a header of four words
             solicit().spoil(Part::ip, 4, 1).ethernetFrame(),     // payload past the end
             bare(0, {17, 0, 5, 2, 0, 0, 1, 0, 2, 0x22, 2, 0x23, 0, 7, 0})
                 .ethernetFrame(),                                 // shorter than its header
             bare(0, {17, 200, 5, 2, 0, 0, 1, 0}).ethernetFrame(), // options past the end
             discover().etherType(0x0806).ethernetFrame(),         // ARP
         }) {
        Bytes frame = untouched;
        EXPECT_FALSE(vnode::completeChecksum(frame));
        EXPECT_EQ(frame, untouched);
    }
}

TEST(WithoutTail, EndsWhereThePacketEnds)
{
    for (const Bytes& packet : {discover().vlan(100).ethernetFrame(), solicit().vlan(100).ethernetFrame(),
                                bare(59, {}).ethernetFrame()}) {
        Bytes frame = packet;
        frame.resize(packet.size() + 9);
        EXPECT_EQ(vnode::withoutTail(frame).size(), packet.size());
        for (std::size_t size = 0; size <= packet.size(); ++size)
            EXPECT_EQ(vnode::withoutTail(std::span(packet).first(size)).size(), size);
    }
    const Bytes arp = discover().etherType(0x0806).ethernetPadding(9).ethernetFrame();
    EXPECT_EQ(vnode::withoutTail(arp).size(), arp.size());
}

} // namespace
