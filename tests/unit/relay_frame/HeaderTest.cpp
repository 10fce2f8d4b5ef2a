// Record, Ethernet with tags, IP and UDP: where they are found and what they answer.
#include "relay/frame/dhcpraMessage.h"
#include "support/CapturedLog.h"
#include "support/DhcpFrame.h"
#include "support/FakeFrameOwner.h"
#include "support/ParsedDhcpFrame.h"

#include <cstring>

#include <gtest/gtest.h>

using namespace test;

namespace {

/// A DHCPDISCOVER of a client on port 0x0102 ("0/2/5"), priority 5 in VLAN 100, written out by hand up to
/// chaddr.
Bytes handWritten()
{
    Bytes bytes(recordSize);
    const auto put = [&bytes](std::size_t offset, const Bytes& what) {
        std::copy(what.begin(), what.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    };
    put(4, {0xA0, 0x64, 0x0F, 0xFF});
    put(74, bytesOf("0/2/5"));
    const Bytes frame{
        0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x02, 0x00, 0x5E, 0x10, 0x20, 0x30, // MACs
        0x81, 0x00, 0xA0, 0x64, 0x08, 0x00,                                     // tag, IPv4
        0x45, 0x10, 0x01, 0x48, 0x00, 0x00, 0x00, 0x00, 0x80, 0x11, 0x39, 0x96, // IP, sum by hand
        0x00, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF,                         // addresses
        0x00, 0x44, 0x00, 0x43, 0x01, 0x34, 0xBE, 0xEF,                         // UDP 68 to 67, 308 bytes
        0x01, 0x01, 0x06, 0x03, 0x39, 0x03, 0xF3, 0x26, 0x00, 0x07, 0x80, 0x00, // op ... flags
        0x0A, 0x00, 0x00, 0x01, 0x0A, 0x00, 0x00, 0x02, 0x0A, 0x00, 0x00, 0x03, // ciaddr, yiaddr, siaddr
        0x0A, 0x00, 0x00, 0x04, 0x02, 0x00, 0x5E, 0x10, 0x20, 0x30,             // giaddr, chaddr
    };
    bytes.insert(bytes.end(), frame.begin(), frame.end());
    bytes.resize(recordSize + 18 + 328);
    put(recordSize + 18 + 28 + 236, {0x63, 0x82, 0x53, 0x63, 53, 1, 1, 255});
    const std::uint32_t fullSize = static_cast<std::uint32_t>(bytes.size());
    const std::uint16_t input = 0x0102;
    const std::uint16_t output = 0x0304;
    std::memcpy(&bytes[48], &fullSize, sizeof fullSize);
    std::memcpy(&bytes[52], &input, sizeof input);
    std::memcpy(&bytes[54], &output, sizeof output);
    return bytes;
}

std::uint16_t wordAt(const dhcpraMessage& message, std::size_t ethernetOffset)
{
    const auto* at = message.getEthHeader() + ethernetOffset;
    return static_cast<std::uint16_t>(at[0] * 256 + at[1]);
}

} // namespace

TEST(Header, AccessorsReadAHandWrittenFrame)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(handWritten()));

    EXPECT_EQ(message.getFrameVlan(), 100);
    EXPECT_EQ(message.getFrameCVlan(), 4095);
    EXPECT_EQ(message.getFrameSrcInterfaceName(), "0/2/5");
    EXPECT_EQ(message.getFrameSrcInterfaceId(), 0x0102u);
    EXPECT_EQ(message.getFrameFullSize(), 453u);
    EXPECT_EQ(message.getEthHeader(), message.buffer.data() + 107);
    EXPECT_TRUE(message.isEthFieldDestEq(broadcastMac.data()));
    EXPECT_FALSE(message.isEthFieldDestEq(macOf(1).data()));
    EXPECT_EQ(message.getFrameEthType(), 0x8100);
    EXPECT_EQ(message.getFrameCEthType(), 0) << "the record knows no inner tag";
    EXPECT_EQ(message.getIpHeader(), message.getEthHeader() + 18);
    EXPECT_EQ(message.getEthHeaderSize(), 18u);
    EXPECT_EQ(message.getIpHeaderSize(), 20u);
    EXPECT_EQ(message.getIpFieldLength(), 328);
    EXPECT_EQ(message.getFrameSize(), 346);
    EXPECT_EQ(message.getIpFieldCrc(), 0x3996);
    EXPECT_EQ(message.getIpFieldDest(), 0xFFFFFFFFu);
    EXPECT_TRUE(message.isIpCrcValid());
    EXPECT_TRUE(message.isDestinationBroadcast());
    EXPECT_EQ(message.getUdpHeader(), message.getIpHeader() + 20);
    EXPECT_EQ(message.getUdpHeaderSize(), 8u);
    EXPECT_EQ(message.getUdpFieldDestPort(), dhcpraMessage::udpPort::server);
    EXPECT_EQ(message.getUdpFieldLength(), 308);
    EXPECT_EQ(message.getUdpFieldCrc(), 0xBEEF);
    EXPECT_EQ(message.getDhcpHeader(), message.getUdpHeader() + 8);
    EXPECT_EQ(message.getDhcpHeaderSize(), 300u);
    EXPECT_EQ(message.getDhcpFieldOpcode(), 1);
    EXPECT_EQ(message.getDhcpFieldHops(), 3);
    EXPECT_EQ(message.getDhcpFieldTransactId(), 0x3903F326u);
    EXPECT_TRUE(message.isDhcpBroadcastFlag());
    EXPECT_EQ(message.getDhcpFieldCiaddr(), ip(10, 0, 0, 1));
    EXPECT_EQ(message.getDhcpFieldYiaddr(), ip(10, 0, 0, 2));
    EXPECT_EQ(message.getDhcpFieldSiaddr(), ip(10, 0, 0, 3));
    EXPECT_EQ(message.getDhcpFieldRelayAgentIP(), ip(10, 0, 0, 4));
    EXPECT_TRUE(message.isGiaddrPresent());
    EXPECT_EQ(message.getDhcpFieldChaddr(), message.getDhcpHeader() + 28);
    EXPECT_EQ(message.getMessageType(), 1u);
    EXPECT_TRUE(message.isFrameValid());
}

TEST(Header, NeutralValuesWithoutAFrame)
{
    CapturedLog log;
    dhcpraMessage message;
    message.frameInfo = nullptr;

    EXPECT_FALSE(message.isValid());
    EXPECT_TRUE(log.has(LogImpl::debug, "dhcpraMessage::isValid(): frame_info is null.\n"));
    EXPECT_EQ(message.getFrameVlan(), 4095);
    EXPECT_EQ(message.getFrameCVlan(), 4095);
    EXPECT_EQ(message.getFrameSrcInterfaceId(), 0u);
    EXPECT_EQ(message.getFrameFullSize(), 0u);
    EXPECT_EQ(message.getEthHeader(), nullptr);
    EXPECT_EQ(message.getDhcpFieldOpcode(), 1) << "the value of a request";
    EXPECT_EQ(message.getDhcpFieldChaddr(), nullptr);
    EXPECT_EQ(message.getDhcpFieldOption(53), nullptr);
    EXPECT_EQ(message.getUdpFieldDestPort(), dhcpraMessage::udpPort::other);
    EXPECT_FALSE(message.isFrameValid());
    EXPECT_TRUE(message.bytesToSend().empty());
    message.setFrameDstVlan(1);
    message.setFrameDstCVlan(1);
    message.setFrameDstInterfaceIdx(1);
    message.setFrameDstInterfaceName("x");
    message.doAddOption82("a", "b", {}, {});
    message.doRemoveOption82();
    message.updateCRC();
}

TEST(Header, NamesOfTheRecordEndWithItsField)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(discover().on(1, "0123456789ABCDEF").build()));
    EXPECT_EQ(message.getFrameSrcInterfaceName(), "0123456789ABCDEF");

    message.setFrameDstInterfaceName("a name longer than the field");
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).outputName, "a name longer t");
    message.setFrameDstInterfaceName("up1");
    EXPECT_EQ(std::string(message.frameInfo->output_dev, 16), std::string("up1") + std::string(13, '\0'));
    message.setFrameDstInterfaceIdx(0x00020007);
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).outputIndex, 7);
}

TEST(Header, BroadcastNeedsGroupAddressAndIp)
{
    const auto isBroadcast = [](DhcpFrame frame) {
        dhcpraMessage message;
        EXPECT_TRUE(message.load(frame.build()));
        return message.isDestinationBroadcast();
    };
    EXPECT_TRUE(isBroadcast(discover()));
    EXPECT_TRUE(isBroadcast(discover().to({0x01, 0, 0x5E, 0, 0, 1})));
    EXPECT_FALSE(isBroadcast(discover().to(macOf(2))));
    EXPECT_FALSE(isBroadcast(discover().destinationIp(ip(10, 0, 0, 1))));
}

TEST(Header, OriginFollowsTheInterfaceType)
{
    FakeFrameOwner owner;
    for (std::uint32_t type = 0; type < 8; ++type)
        owner.add(100 + type, "0/" + std::to_string(type), static_cast<Interfaces::interfaceType>(type));
    const int expected[] = {1, 0, 0, 1, 1, 0, 1, 1};
    dhcpraMessage message(&owner);
    for (std::uint16_t type = 0; type < 8; ++type) {
        ASSERT_TRUE(message.load(discover().on(static_cast<std::uint16_t>(100 + type)).build()));
        EXPECT_EQ(message.getOrigin(), expected[type]) << "type " << type;
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
    message.updateCRC();

    const ParsedDhcpFrame seen(message.bytesToSend());
    EXPECT_EQ(seen.destination, macOf(9));
    EXPECT_EQ(seen.destinationIp, ip(192, 168, 1, 2));
    EXPECT_EQ(seen.destinationPort, 67);
    EXPECT_EQ(seen.giaddr, ip(10, 1, 2, 3));
    EXPECT_EQ(seen.hops, 0) << "wraps at 8 bits";
    EXPECT_TRUE(seen.ipSumRight && seen.udpSumRight);
    EXPECT_TRUE(message.isIpFieldDestEq(ip(192, 168, 1, 2)));
    EXPECT_TRUE(message.isGiaddrEq(ip(3, 2, 1, 10))) << "the test holds for the reversed address";
    EXPECT_FALSE(message.isGiaddrEq(ip(10, 1, 2, 3)));
}

// VLAN setters

TEST(VlanSetter, OuterKeepsPriorityAndOverwritesTheWordBehindTheType)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(discover().vlan(100, 5).build()));
    message.setFrameDstVlan(0xF123);
    ParsedDhcpFrame seen(message.bytesToSend());
    EXPECT_EQ(seen.recordOuter, 0xA123);
    EXPECT_EQ(seen.tags.at(0), (std::pair<std::uint16_t, std::uint16_t>{0x8100, 0xA123}));

    message.setFrameDstVlan(7, 0x88A8);
    seen = ParsedDhcpFrame(message.bytesToSend());
    EXPECT_EQ(seen.tags.at(0), (std::pair<std::uint16_t, std::uint16_t>{0x88A8, 0xA007}));

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
    const auto frame = discover().vlan(100).option(12, "host").option82("c", "r");
    const std::size_t before = frame.size();
    for (const std::uint16_t protocol : {std::uint16_t{0x8100}, std::uint16_t{0x88A8}}) {
        dhcpraMessage message;
        ASSERT_TRUE(message.load(frame.build()));
        const auto frameSize = message.getFrameSize();
        // The one-argument form always writes 0x8100.
        if (protocol == 0x8100)
            message.setFrameDstCVlan(0x2123);
        else
            message.setFrameDstCVlan(0x2123, protocol);

        EXPECT_EQ(message.getFrameFullSize(), before + 4);
        EXPECT_EQ(message.bytesToSend().size(), before + 4);
        EXPECT_EQ(message.getFrameCVlan(), 0x123);
        EXPECT_EQ(wordAt(message, 16), protocol);
        EXPECT_EQ(wordAt(message, 18), 0x2123);
        EXPECT_EQ(wordAt(message, 20), 0x0800);
        if (protocol != 0x8100)
            continue; // behind 0x8100 only another 0x8100 is crossed
        EXPECT_EQ(message.getFrameSize(), frameSize + 4);
        const ParsedDhcpFrame seen(message.bytesToSend());
        EXPECT_TRUE(seen.ipSumRight && seen.udpSumRight);
        EXPECT_EQ(seen.options, ParsedDhcpFrame(frame.build()).options);
        EXPECT_EQ(seen.recordInner, 0x0123) << "the id alone, under the priority bits that the record had";
    }
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
    frame.ethernetPadding(2048 - frame.size() - 3, 0x5A);
    dhcpraMessage message;
    ASSERT_TRUE(message.load(frame.build()));
    const Bytes before(message.buffer);
    message.setFrameDstCVlan(5);
    message.setFrameDstCVlan(5, 0x8100);
    EXPECT_EQ(message.buffer, before);

    frame.ethernetPadding(2048 - discover().vlan(100).size() - 4, 0x5A);
    ASSERT_TRUE(message.load(frame.build()));
    message.setFrameDstCVlan(5);
    EXPECT_EQ(message.bytesToSend().size(), 2048u);
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).tags.size(), 2u);
}
