// Record, Ethernet with tags, IP and UDP: where they are found and what they answer.
#include "relay/frame/dhcpraMessage.h"
#include "relay/frame/dhcpraV6Message.h"
#include "relay/frame/icmpV6Message.h"
#include "support/Dhcpv6Frame.h"
#include "support/FakeFrameOwner.h"
#include "support/ParsedDhcpFrame.h"

#include <gtest/gtest.h>

using namespace test;

namespace {

std::uint16_t wordAt(const dhcpraMessage& message, std::size_t ethernetOffset)
{
    const auto* at = message.getEthHeader() + ethernetOffset;
    return static_cast<std::uint16_t>(at[0] * 256 + at[1]);
}

using Protocols = std::vector<std::uint16_t>;

/// Where a view finds the IP header behind these tags, from the Ethernet header; 0: not found.
template <typename Message>
std::uint32_t ipBehind(const Protocols& protocols, auto frame)
{
    for (const auto protocol : protocols)
        frame.tag(protocol, 7);
    Message message;
    EXPECT_TRUE(message.load(frame.build()));
    return message.getEthHeaderSize();
}

} // namespace

TEST(Header, EachViewCrossesItsOwnTags)
{
    const struct
    {
        Protocols tags;
        std::uint32_t dhcp, icmp;
    } rows[] = {{{}, 14, 14},
                {{0x8100}, 18, 18},
                {{0x88A8}, 18, 0},
                {{0xA888}, 0, 18}, // the bytes of 88A8 swapped
                {{0x8100, 0x8100}, 22, 22},
                {{0x88A8, 0x8100}, 22, 0},
                {{0x88A8, 0x8100, 0x8100}, 26, 0},
                {{0x8100, 0x88A8}, 0, 0},
                {{0x88A8, 0x88A8}, 0, 0},
                {{0x8100, 0x8100, 0x8100}, 0, 0},
                {{0x88A8, 0x8100, 0x8100, 0x8100}, 0, 0},
                {{0x9100}, 0, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(ipBehind<dhcpraMessage>(row.tags, discover()), row.dhcp) << &row - rows;
        EXPECT_EQ(ipBehind<dhcpraV6Message>(row.tags, solicit()), row.dhcp) << &row - rows;
        EXPECT_EQ(ipBehind<icmpV6Message>(row.tags, solicit()), row.icmp) << &row - rows;
    }
}

TEST(Header, OriginFollowsTheInterfaceType)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    for (std::uint16_t type = 0; type < 8; ++type) {
        owner.add(100u + type, "0", static_cast<Interfaces::interfaceType>(type));
        ASSERT_TRUE(message.load(discover().on(static_cast<std::uint16_t>(100 + type)).build()));
        EXPECT_EQ(message.getOrigin(), type != 1 && type != 2 && type != 5) << "type " << type;
    }
    ASSERT_TRUE(message.load(discover().on(9).build()));
    owner.text.clear();
    EXPECT_EQ(message.getOrigin(), 0);
    EXPECT_EQ(owner.text, "\t dhcpraMessage::getOrigin(). getInterfaceById 9\n"
                          "\t dhcpraMessage::getOrigin(). getInterfaceById 9, intf not found!!\n");
}

TEST(Header, ANameIsCutToTheFieldAndLeavesNothingOfALongerOne)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(offer().build()));
    message.setFrameDstInterfaceName("a name longer than the field");
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).outputName, "a name longer t");
    message.setFrameDstInterfaceName("up1");
    EXPECT_EQ(std::string(message.frameInfo->output_dev, 16), std::string("up1") + std::string(13, '\0'));
}

// VLAN setters

TEST(VlanSetter, OuterKeepsPriorityAndOverwritesTheWordBehindTheType)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(discover().vlan(100, 5).build()));
    message.setFrameDstVlan(0xF123);
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).recordOuter, 0xA123);
    EXPECT_EQ(wordAt(message, 14), 0xA123);

    // Without a tag the start of the IP header is overwritten; nothing else happens.
    ASSERT_TRUE(message.load(discover().build()));
    message.setFrameDstVlan(7);
    EXPECT_EQ(wordAt(message, 12), 0x0800);
    EXPECT_EQ(wordAt(message, 14), 0x0007) << "the record's word had no priority bits";
    message.setFrameDstVlan(7, 0x8100);
    EXPECT_EQ(message.getIpHeader(), nullptr);
}

TEST(VlanSetter, InnerMakesRoomForATagOrWritesInPlace)
{
    const auto frame = discover().vlan(100).option82("c", "r");
    dhcpraMessage message;
    ASSERT_TRUE(message.load(frame.build()));
    message.setFrameDstCVlan(0x2123); // the one-argument form always writes 0x8100
    const ParsedDhcpFrame seen(message.bytesToSend());
    EXPECT_EQ(seen.tags.at(1), (std::pair<std::uint16_t, std::uint16_t>{0x8100, 0x2123}));
    EXPECT_EQ(seen.recordInner, 0x0123) << "the id alone, under the priority bits that the record had";
    EXPECT_TRUE(seen.ipSumRight && seen.udpSumRight);
    EXPECT_EQ(seen.dhcp, ParsedDhcpFrame(frame.build()).dhcp);

    ASSERT_TRUE(message.load(discover().vlan(100).cvlan(200, 3).build()));
    const auto size = message.getFrameFullSize();
    message.setFrameDstCVlan(0x0123);
    EXPECT_EQ(wordAt(message, 18), 0x2301) << "low byte first";
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).recordInner, 0x6123);
    message.setFrameDstCVlan(0x0123, 0x8100);
    EXPECT_EQ(wordAt(message, 18), 0x0123);
    EXPECT_EQ(message.getFrameFullSize(), size);
}

TEST(VlanSetter, InnerIsNotOpenedInAFullBuffer)
{
    auto frame = discover().vlan(100);
    const std::size_t plain = frame.size();
    dhcpraMessage message;
    ASSERT_TRUE(message.load(frame.ethernetPadding(2048 - plain - 3, 0x5A).build()));
    const Bytes before(message.buffer);
    message.setFrameDstCVlan(5);
    message.setFrameDstCVlan(5, 0x8100);
    EXPECT_EQ(message.buffer, before);

    ASSERT_TRUE(message.load(frame.ethernetPadding(2048 - plain - 4, 0x5A).build()));
    message.setFrameDstCVlan(5);
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).tags.size(), 2u);
}
