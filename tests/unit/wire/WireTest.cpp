#include "support/DhcpFrame.h"
#include "support/InternetSum.h"
#include "support/PutBytes.h"
#include "wire/AddressText.h"
#include "wire/Arp.h"
#include "wire/Ethernet.h"
#include "wire/FrameRecord.h"
#include "wire/Icmpv6.h"
#include "wire/InternetChecksum.h"

#include <gtest/gtest.h>

namespace {

using test::Bytes;
using wire::ConstBytes;

ConstBytes view(const Bytes& bytes) { return ConstBytes(std::span(bytes)); }
ConstBytes front(const Bytes& bytes, std::size_t size) { return ConstBytes(std::span(bytes).first(size)); }

// Checksums

std::uint16_t sumOf(const Bytes& bytes, wire::OddByte oddByte = wire::OddByte::high)
{
    wire::InternetChecksum sum;
    sum.add(bytes, oddByte);
    return sum.value();
}

TEST(InternetChecksum, KnownSums)
{
    // RFC 1071, section 3: the words sum up to 0xDDF2.
    EXPECT_EQ(sumOf({0x00, 0x01, 0xF2, 0x03, 0xF4, 0xF5, 0xF6, 0xF7}), 0xFFFF - 0xDDF2);
    EXPECT_EQ(sumOf({}), 0xFFFF);
    EXPECT_EQ(sumOf({0xFF, 0xFF}), 0) << "no substitution by 0xFFFF";
    EXPECT_EQ(sumOf({0x12, 0x34, 0x56}), 0xFFFF - 0x6834);
    EXPECT_EQ(sumOf({0x12, 0x34, 0x56}, wire::OddByte::low), 0xFFFF - 0x128A);
    EXPECT_EQ(sumOf({0x80}), 0x7FFF);
}

// Ethernet

struct TagRow
{
    const char* what;
    std::vector<std::uint16_t> protocols;
    std::size_t payload; ///< 0: another tag is taken for the type
    std::uint16_t serviceTag = wire::typeServiceTag;
};

TEST(Tags, AreCrossedInTheirOrderOnly)
{
    for (const TagRow& row : {
             TagRow{"none", {}, 14},
             TagRow{"customer", {0x8100}, 18},
             TagRow{"service", {0x88A8}, 18},
             TagRow{"another service tag", {0x88A8}, 0, 0xA888},
             TagRow{"two customer tags", {0x8100, 0x8100}, 22},
             TagRow{"service and customer", {0x88A8, 0x8100}, 22},
             TagRow{"all", {0x88A8, 0x8100, 0x8100}, 26},
             TagRow{"customer before service", {0x8100, 0x88A8}, 0},
             TagRow{"two service tags", {0x88A8, 0x88A8}, 0},
             TagRow{"three customer tags", {0x8100, 0x8100, 0x8100}, 0},
             TagRow{"four", {0x88A8, 0x8100, 0x8100, 0x8100}, 0},
             TagRow{"unknown", {0x9100}, 0},
         }) {
        SCOPED_TRACE(row.what);
        auto frame = test::discover();
        for (const std::uint16_t protocol : row.protocols)
            frame.tag(protocol, 7);
        const Bytes bytes = frame.ethernetFrame();
        const auto found = wire::crossTags(view(bytes), row.serviceTag);
        EXPECT_EQ(found.type == wire::typeIpv4 ? found.payload : 0, row.payload);
        for (std::size_t size = 0; size < found.payload; ++size)
            EXPECT_NE(wire::crossTags(front(bytes, size), row.serviceTag).type, wire::typeIpv4);
    }
}

TEST(Tags, GoBackBehindTheAddresses)
{
    const Bytes tagged = test::discover().tag(0x88A8, 0x6064).ethernetFrame();
    Bytes room(4);
    test::putAll(room, test::discover().ethernetFrame());
    EXPECT_TRUE(wire::restoreTag(wire::Bytes(std::span(room)), 0x88A8, 0x6064));
    EXPECT_EQ(room, tagged);
    EXPECT_FALSE(wire::restoreTag(wire::Bytes(std::span(room).first(15)), 0x8100, 1));
    EXPECT_EQ(room, tagged) << "no room for two addresses";
}

// The record

TEST(FrameRecord, StandsAtItsOffsets)
{
    const Bytes bytes = test::discover().on(0x1234, "0123456789abcdef").vlan(100, 3).outputIndex(258).build();
    EXPECT_FALSE(wire::readRecord(front(bytes, 106)));
    auto record = wire::readRecord(front(bytes, 107));
    ASSERT_TRUE(record);
    EXPECT_EQ(wire::vlanIdOf(record->vlan_tag1_nf), 100);
    EXPECT_EQ(wire::vlanIdOf(record->vlan_tag2_nf), wire::noVlan);
    EXPECT_EQ(+record->full_size, bytes.size());
    EXPECT_EQ(+record->input_dev_idx, 0x1234);
    EXPECT_EQ(+record->output_dev_idx, 258);
    EXPECT_EQ(wire::recordName(record->input_dev), "0123456789abcdef") << "no NUL at its end";
    EXPECT_EQ(wire::recordName(record->output_dev), "");

    wire::setRecordName(record->output_dev, "0123456789abcdef");
    EXPECT_EQ(wire::recordName(record->output_dev), "0123456789abcde");
    EXPECT_EQ(wire::withVlanId(record->vlan_tag1_nf, 0x1005), htons(0x6005)) << "the priority stays";
}

// Texts

TEST(MacText, GoesBothWays)
{
    const wire::Mac mac{0x02, 0, 0x0A, 0xFF, 0x1B, 0x07};
    EXPECT_EQ(wire::macText(mac), "02:00:0A:FF:1B:07");
    EXPECT_EQ(wire::macText(mac, wire::LetterCase::lower), "02:00:0a:ff:1b:07");
    EXPECT_EQ(wire::macText(std::span(mac).first(5)), "");
    for (const char* text : {"02:00:0A:FF:1B:07", "2:0:a:ff:1b:7", "02-00-0a-ff-1b-07", "02000aFF1b07"})
        EXPECT_EQ(wire::readMac(text), mac) << text;
    for (const char* text :
         {"", ":", "02:00:0A:FF:1B", "02:00:0A:FF:1B:", "02:00:0A:FF:1B:07:", "02:00:0A:FF:1B:0g",
          "02:00-0A:FF:1B:07", "02:00:0AFF:1B:07", "002:0:A:FF:1B:7", "02000aFF1b0", "02000aFF1b071",
          " 2:0:a:ff:1b:7", "2:0:a:ff:1b:-7", "020:0aFF1b07"})
        EXPECT_FALSE(wire::readMac(text)) << text;
}

TEST(AddressText, GoesBothWays)
{
    EXPECT_EQ(wire::ipv4Text(0x0A010203), "10.1.2.3");
    EXPECT_EQ(wire::readIpv4("10.1.2.3"), 0x0A010203U);
    EXPECT_FALSE(wire::readIpv4("10.1.2"));
    const wire::Ipv6Address address{0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x1F};
    EXPECT_EQ(wire::ipv6Text(address), "2001:db8::1f");
    EXPECT_EQ(wire::ipv6Text(std::span(address).first(15)), "");
    EXPECT_EQ(wire::readIpv6("2001:DB8:0::1F"), address);
    EXPECT_FALSE(wire::readIpv6("10.1.2.3"));
}

// ARP and neighbour discovery

TEST(Arp, IsReadForIpv4OverEthernetOnly)
{
    const Bytes reply{0,    1,    8, 0, 6, 4, 0,   2,         // Ethernet, IPv4, sizes, reply
                      0x02, 0,    0, 0, 0, 1, 192, 0, 2, 254, // sender
                      0x02, 0x5E, 0, 0, 0, 9, 192, 0, 2, 1};  // target
    const wire::ArpPacket expected{
        wire::arpReply, {2, 0, 0, 0, 0, 1}, 0xC00002FE, {2, 0x5E, 0, 0, 0, 9}, 0xC0000201};
    EXPECT_EQ(wire::readArp(view(reply)), expected);
    for (std::size_t size = 0; size < reply.size(); ++size)
        EXPECT_FALSE(wire::readArp(front(reply, size))) << size;
    for (std::size_t at = 0; at < wire::arpOperation; ++at) {
        Bytes other = reply;
        other[at] ^= 0x10;
        EXPECT_FALSE(wire::readArp(view(other))) << at;
    }
}

/// A router advertisement with a source link-layer address and a prefix for autoconfiguration (RFC 4861,
/// sections 4.2 and 4.6).
Bytes advertisement()
{
    Bytes message{134, 0, 0, 0, 64, 0, 7, 8, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 2, 0, 0, 0, 0, 1};
    test::putAll(message,
                 Bytes{3, 4, 64, 0xC0, 0, 0, 0x0E, 0x10, 0, 0, 7, 8, 0, 0, 0, 0, 0x20, 1, 0x0D, 0xB8});
    message.resize(24 + 32);
    return message;
}

TEST(NeighbourDiscovery, FindsOptionsAndTellsAbsentFromMalformed)
{
    using enum wire::NdOptionEnd;
    const Bytes message = advertisement();
    const auto prefix = wire::findNdOption(view(message), wire::ndPrefixInformation);
    ASSERT_EQ(prefix.result, found);
    const ConstBytes option{prefix.bytes};
    EXPECT_EQ(option.size(), 32U);
    EXPECT_EQ(option.u8(wire::ndPrefixLength), 64);
    EXPECT_EQ(option.u8(wire::ndPrefixFlags), wire::ndPrefixOnLink | wire::ndPrefixAutonomous);
    EXPECT_EQ(option.be32(wire::ndPrefixValidLifetime), 3600U);
    EXPECT_EQ(option.be32(wire::ndPrefixPreferredLifetime), 1800U);
    EXPECT_EQ(option.be32(wire::ndPrefix), 0x20010DB8U);
    EXPECT_EQ(wire::findNdOption(view(message), wire::ndTargetLinkLayer).result, absent);

    for (std::size_t size = 0; size < message.size(); ++size) {
        const bool atBoundary = size <= 16 || size == 24;
        EXPECT_EQ(wire::findNdOption(front(message, size), wire::ndPrefixInformation).result,
                  atBoundary ? absent : malformed)
            << size;
    }
    const std::pair<std::uint8_t, wire::NdOptionEnd> rows[] = {
        {133, malformed}, {135, found}, {136, found}, {137, malformed}, {138, absent}};
    for (const auto& [type, result] : rows) {
        Bytes other = message;
        other[0] = type;
        EXPECT_EQ(wire::findNdOption(view(other), wire::ndPrefixInformation).result, result) << int{type};
    }
}

TEST(NeighbourDiscovery, SumsOverThePseudoHeader)
{
    Bytes packet{0x60, 0, 0, 0, 0, 56, 58, 255};
    packet.resize(40, 0xFE);
    test::putAll(packet, advertisement());
    const auto checksum = wire::icmpv6ChecksumOf(view(packet), 40);
    ASSERT_TRUE(checksum);
    test::set16(packet, 42, *checksum);
    test::InternetSum sum;
    sum.add(std::span(packet).subspan(8));
    sum.addWord(56);
    sum.addWord(58);
    EXPECT_EQ(sum.folded(), 0xFFFF);
    EXPECT_EQ(wire::icmpv6ChecksumOf(view(packet), 40), checksum) << "its own field counts as zero";
    EXPECT_FALSE(wire::icmpv6ChecksumOf(front(packet, packet.size() - 1), 40));
    EXPECT_FALSE(wire::icmpv6ChecksumOf(view(packet), 96)) << "nothing is claimed there";
}

} // namespace
