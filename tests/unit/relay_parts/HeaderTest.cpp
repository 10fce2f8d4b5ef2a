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

/// Where the IP header is found behind tags of these protocols, from the Ethernet header; 0: not found.
struct TagCase
{
    const char* name;
    std::vector<std::uint16_t> protocols;
    std::uint32_t ipAt;     ///< in the views of DHCP
    std::uint32_t ipAtIcmp; ///< in the view of ICMPv6
};

class Tags : public testing::TestWithParam<TagCase>
{
protected:
    template <typename Message>
    static std::uint32_t ipAt(auto frame)
    {
        for (const auto protocol : GetParam().protocols)
            frame.tag(protocol, 7);
        Message message;
        EXPECT_TRUE(message.load(frame.build()));
        return message.getEthHeaderSize();
    }
};

} // namespace

TEST_P(Tags, EachViewCrossesItsOwn)
{
    EXPECT_EQ(ipAt<dhcpraMessage>(discover()), GetParam().ipAt);
    EXPECT_EQ(ipAt<dhcpraV6Message>(solicit()), GetParam().ipAt);
    EXPECT_EQ(ipAt<icmpV6Message>(solicit()), GetParam().ipAtIcmp);
}

INSTANTIATE_TEST_SUITE_P(Header, Tags,
                         testing::Values(TagCase{"none", {}, 14, 14}, TagCase{"service", {0x88A8}, 18, 0},
                                         TagCase{"serviceBytesSwapped", {0xA888}, 0, 18},
                                         TagCase{"twoCustomer", {0x8100, 0x8100}, 22, 22},
                                         TagCase{"all", {0x88A8, 0x8100, 0x8100}, 26, 0}),
                         [](const auto& row) { return row.param.name; });

TEST(Header, FieldsOfAFrame)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(discover()
                                 .from(macOf(9))
                                 .on(0x0102, "0123456789ABCDEF")
                                 .vlan(100, 5, 0x88A8)
                                 .cvlan(200)
                                 .giaddr(ip(10, 0, 0, 4))
                                 .flags(0x7FFF)
                                 .build()));
    EXPECT_EQ(message.getFrameVlan(), 100);
    EXPECT_EQ(message.getFrameCVlan(), 200);
    EXPECT_EQ(message.getFrameEthType(), 0x88A8);
    EXPECT_EQ(message.getFrameCEthType(), 0x8100);
    EXPECT_EQ(message.getFrameSrcInterfaceName(), "0123456789ABCDEF");
    EXPECT_EQ(message.getFrameSrcInterfaceId(), 0x0102u);
    EXPECT_TRUE(message.isEthFieldDestEq(broadcastMac.data()));
    EXPECT_FALSE(message.isDhcpBroadcastFlag());
    EXPECT_TRUE(message.isGiaddrEq(ip(4, 0, 0, 10))) << "the test holds for the reversed address";
    EXPECT_FALSE(message.isGiaddrEq(ip(10, 0, 0, 4)));
    const auto* const client = message.getDhcpFieldChaddr();
    EXPECT_TRUE(std::equal(client, client + 6, macOf(9).begin()));

    ASSERT_TRUE(message.load(discover().vlan(100).broadcastFlag().build()));
    EXPECT_EQ(message.getFrameCEthType(), 0) << "the record knows no inner tag";
    EXPECT_TRUE(message.isDhcpBroadcastFlag());
    EXPECT_FALSE(message.isGiaddrPresent());
    message.frameInfo = nullptr;
    EXPECT_EQ(message.getDhcpFieldOpcode(), 1) << "the value of a request";
}

TEST(Header, BroadcastNeedsGroupAddressAndIp)
{
    const auto isBroadcast = [](const DhcpFrame& frame) {
        dhcpraMessage message;
        EXPECT_TRUE(message.load(frame.build()));
        return message.isDestinationBroadcast();
    };
    EXPECT_TRUE(isBroadcast(discover().to({0x01, 0, 0x5E, 0, 0, 1})));
    EXPECT_FALSE(isBroadcast(discover().to(macOf(2))));
    EXPECT_FALSE(isBroadcast(discover().destinationIp(ip(10, 0, 0, 1))));
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

TEST(Header, SettersWriteNetworkOrder)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(offer().hops(255).build()));
    message.setEthFieldDest(macOf(9).data());
    message.setIpFieldDest(ip(192, 168, 1, 2));
    message.setUdpFieldDestPort(dhcpraMessage::udpPort::server);
    message.setDhcpFieldGiaddr(ip(10, 1, 2, 3));
    message.incrementDhcpFieldHops();
    message.setFrameDstInterfaceName("a name longer than the field");
    message.setFrameDstInterfaceName("up1");
    message.setFrameDstInterfaceIdx(0x00020007);
    message.updateCRC();
    const ParsedDhcpFrame seen(message.bytesToSend());
    EXPECT_EQ(seen.destination, macOf(9));
    EXPECT_EQ(seen.destinationIp, ip(192, 168, 1, 2));
    EXPECT_EQ(seen.destinationPort, 67);
    EXPECT_EQ(seen.giaddr, ip(10, 1, 2, 3));
    EXPECT_EQ(seen.hops, 0) << "wraps at 8 bits";
    EXPECT_EQ(seen.outputIndex, 7);
    EXPECT_EQ(std::string(message.frameInfo->output_dev, 16), std::string("up1") + std::string(13, '\0'));
    EXPECT_TRUE(seen.ipSumRight && seen.udpSumRight);
    message.setFrameDstInterfaceName("a name longer than the field");
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).outputName, "a name longer t");
}

// VLAN setters

TEST(VlanSetter, OuterKeepsPriorityAndOverwritesTheWordBehindTheType)
{
    using Tag = std::pair<std::uint16_t, std::uint16_t>;
    dhcpraMessage message;
    ASSERT_TRUE(message.load(discover().vlan(100, 5).build()));
    message.setFrameDstVlan(0xF123);
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).recordOuter, 0xA123);
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).tags.at(0), (Tag{0x8100, 0xA123}));
    message.setFrameDstVlan(7, 0x88A8);
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).tags.at(0), (Tag{0x88A8, 0xA007}));

    // Without a tag the start of the IP header is overwritten; nothing else happens.
    ASSERT_TRUE(message.load(discover().build()));
    message.setFrameDstVlan(7);
    EXPECT_EQ(wordAt(message, 12), 0x0800);
    EXPECT_EQ(wordAt(message, 14), 0x0007) << "the record's word had no priority bits";
    message.setFrameDstVlan(7, 0x8100);
    EXPECT_EQ(message.getIpHeader(), nullptr);
}

TEST(VlanSetter, InnerMakesRoomForATag)
{
    const auto frame = discover().vlan(100).option82("c", "r");
    dhcpraMessage message;
    ASSERT_TRUE(message.load(frame.build()));
    message.setFrameDstCVlan(0x2123); // the one-argument form always writes 0x8100
    EXPECT_EQ(message.getFrameCVlan(), 0x123);
    const ParsedDhcpFrame seen(message.bytesToSend());
    EXPECT_EQ(seen.tags.at(1), (std::pair<std::uint16_t, std::uint16_t>{0x8100, 0x2123}));
    EXPECT_EQ(seen.recordInner, 0x0123) << "the id alone, under the priority bits that the record had";
    EXPECT_TRUE(seen.ipSumRight && seen.udpSumRight);
    EXPECT_EQ(seen.dhcp, ParsedDhcpFrame(frame.build()).dhcp);

    ASSERT_TRUE(message.load(frame.build()));
    message.setFrameDstCVlan(0x2123, 0x88A8);
    EXPECT_EQ(message.bytesToSend().size(), frame.size() + 4);
    EXPECT_EQ(wordAt(message, 16), 0x88A8);
    EXPECT_EQ(wordAt(message, 18), 0x2123);
    EXPECT_EQ(wordAt(message, 20), 0x0800);
}

TEST(VlanSetter, InnerOnAnInnerTagWritesInPlace)
{
    dhcpraMessage message;
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
