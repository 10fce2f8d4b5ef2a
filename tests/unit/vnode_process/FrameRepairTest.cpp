#include "vnode/process/FrameRepair.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const Bytes addresses{0x02, 0, 0, 0, 0, 0x02, 0x02, 0, 0, 0, 0, 0x01};
const Bytes tagOf100{0x81, 0x00, 0x60, 0x64};

// 192.0.2.1 to 192.0.2.254; the header checksum is none of our business and stays as it is.
Bytes ipv4(std::uint8_t protocol, std::uint8_t totalLength, std::uint8_t fragmentHigh = 0)
{
    return {0x08, 0x00, 0x45, 0, 0, totalLength, 0, 1, fragmentHigh, 0, 64, protocol, 0xAA,
            0xBB, 192,  0,    2, 1, 192,         0, 2, 254};
}

// fe80::1 to ff02::1:2
Bytes ipv6(std::uint8_t next, std::uint8_t payload)
{
    return Bytes{0x86, 0xDD, 0x60, 0, 0, 0, 0, payload, next, 1} +
           Bytes{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1} +
           Bytes{0xFF, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 2};
}

// 68 to 67, "abc"; the sum field holds what a stack leaves there for the card.
const Bytes udpAbc{0, 68, 0, 67, 0, 11, 0x12, 0x34, 'a', 'b', 'c'};
const Bytes udpSolicit{0x02, 0x22, 0x02, 0x23, 0, 10, 0x12, 0x34, 1, 2};
const Bytes tcpSyn{0x03, 0xE8, 0, 80, 0, 0, 0, 1, 0, 0, 0, 0, 0x50, 0x02, 0x20, 0, 0x12, 0x34, 0, 0};

TEST(CompleteChecksum, WritesTheSumAndChangesNothingElse)
{
    // The sums were worked out by hand over pseudo header and segment.
    struct
    {
        const char* what;
        Bytes frame;
        std::size_t at;
        std::uint16_t checksum;
    } const rows[] = {
        {"udp4", addresses + ipv4(17, 31) + udpAbc, 40, 0xB5EE},
        {"padded", addresses + ipv4(17, 31) + udpAbc + Bytes(15, 0xEE), 40, 0xB5EE},
        {"tagged", addresses + tagOf100 + ipv4(17, 31) + udpAbc, 44, 0xB5EE},
        {"qinq", addresses + Bytes{0x88, 0xA8, 0, 7} + tagOf100 + ipv4(17, 31) + udpAbc, 48, 0xB5EE},
        // A sum that comes out as zero is sent as 0xFFFF (RFC 768).
        {"zero", addresses + ipv4(17, 30) + Bytes{0, 68, 0, 67, 0, 10, 0, 0, 0x7A, 0x53}, 40, 0xFFFF},
        {"tcp4", addresses + ipv4(6, 40) + tcpSyn, 50, 0x06AA},
        {"udp6", addresses + tagOf100 + ipv6(17, 10) + udpSolicit, 64, 0xFD0B},
        {"hop-by-hop", addresses + ipv6(0, 18) + Bytes{17, 0, 5, 2, 0, 0, 1, 0} + udpSolicit, 68, 0xFD0B},
    };
    for (const auto& row : rows) {
        Bytes expected = row.frame;
        expected[row.at] = static_cast<std::uint8_t>(row.checksum >> 8);
        expected[row.at + 1] = static_cast<std::uint8_t>(row.checksum);
        Bytes frame = row.frame;
        EXPECT_TRUE(vnode::completeChecksum(frame)) << row.what;
        EXPECT_EQ(frame, expected) << row.what;
    }
}

TEST(CompleteChecksum, LeavesAloneWhatHasNone)
{
    for (const Bytes& untouched : {
             addresses + ipv4(17, 31, 0x20) + udpAbc,               // first fragment of several
             addresses + ipv4(17, 31, 0x01) + udpAbc,               // a later fragment
             addresses + ipv4(1, 31) + udpAbc,                      // ICMP
             addresses + ipv4(17, 32) + udpAbc,                     // claims a byte more than there is
             addresses + ipv4(17, 19) + udpAbc,                     // claims less than its own header
             addresses + ipv6(17, 11) + udpSolicit,                 // payload past the end
             addresses + ipv6(0, 10) + Bytes{17, 200} + udpSolicit, // options past the end
             addresses + Bytes{0x08, 0x06} + Bytes(28, 0),          // ARP
         }) {
        Bytes frame = untouched;
        EXPECT_FALSE(vnode::completeChecksum(frame));
        EXPECT_EQ(frame, untouched);
    }
}

TEST(CompleteChecksum, StaysInsideAFrameCutAnywhere)
{
    const Bytes whole = addresses + tagOf100 + ipv6(0, 18) + Bytes{17, 0, 5, 2, 0, 0, 1, 0} + udpSolicit;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        // An allocation of exactly that size lets the address sanitizer see a read past its end.
        const std::unique_ptr<std::uint8_t[]> cut(new std::uint8_t[size]);
        std::copy_n(whole.begin(), size, cut.get());
        EXPECT_FALSE(vnode::completeChecksum({cut.get(), size})) << size;
    }
}

TEST(WithoutTail, EndsWhereThePacketEnds)
{
    const Bytes padding(9, 0xEE);
    for (const Bytes& packet :
         {addresses + ipv4(17, 31) + udpAbc, addresses + tagOf100 + ipv4(17, 31) + udpAbc,
          addresses + tagOf100 + ipv6(17, 10) + udpSolicit, addresses + ipv6(59, 0)}) {
        const Bytes frame = packet + padding;
        EXPECT_EQ(vnode::withoutTail(frame).size(), packet.size());
        EXPECT_EQ(vnode::withoutTail(packet).size(), packet.size());
        for (std::size_t size = 0; size < packet.size(); ++size)
            EXPECT_EQ(vnode::withoutTail(std::span(packet).first(size)).size(), size)
                << "claims more than it has";
    }
    const Bytes arp = addresses + Bytes{0x08, 0x06, 0, 1, 8, 0, 6, 4} + padding;
    EXPECT_EQ(vnode::withoutTail(arp).size(), arp.size());
}

TEST(RestoreTag, StandsBehindTheAddresses)
{
    vnode::FrameBuffer buffer;
    const Bytes bare = addresses + ipv4(17, 31) + udpAbc;
    std::copy(bare.begin(), bare.end(), buffer.landing().begin());

    const auto frame = vnode::restoreTag(buffer, bare.size(), 0x88A8, 0x6064);

    const Bytes expected = addresses + Bytes{0x88, 0xA8, 0x60, 0x64} + ipv4(17, 31) + udpAbc;
    EXPECT_EQ(Bytes(frame.begin(), frame.end()), expected);
    EXPECT_EQ(vnode::restoreTag(buffer, 11, 0x8100, 1).size(), 11u) << "no room for two addresses";
}

} // namespace
