// Reading: headers, options, what they log, and how the ICMPv6 view differs.
#include "relay/frame/dhcpraV6Message.h"
#include "relay/frame/icmpV6Message.h"
#include "support/CapturedLog.h"
#include "support/Dhcpv6Frame.h"
#include "support/FakeFrameOwner.h"

#include <gtest/gtest.h>

using namespace test;

TEST(View6, AValidMessageHasMoreThanThreeBytes)
{
    dhcpraV6Message message;
    const auto valid = [&](const Dhcpv6Frame& frame) {
        EXPECT_TRUE(message.load(frame.build()));
        return message.isFrameValid();
    };
    EXPECT_TRUE(valid(Dhcpv6Frame({1, 2, 3, 4})));
    EXPECT_EQ(message.getDhcpFieldOption(1), nullptr);
    // What the UDP length claims beyond what has come does not count, nor does a length below the header's.
    EXPECT_FALSE(valid(Dhcpv6Frame({1, 2, 3}).udpLength(500)));
    EXPECT_FALSE(valid(solicit().udpLength(7)));
    EXPECT_EQ(message.getDhcpHeaderSize(), 0u);
}

TEST(View6, Options)
{
    dhcpraV6Message message;
    const auto load = [&](const Bytes& bytes) { ASSERT_TRUE(message.load(Dhcpv6Frame(bytes).build())); };
    const auto at = [&](std::uint8_t code) -> long {
        const auto* const option = message.getDhcpFieldOption(code);
        return option ? option - message.getDhcpHeader() : -1;
    };
    load(message6(1, {option6(8, Bytes{0, 0}), option6(0x0112, "no"), option6(18, ""), option6(1, "x")}));
    EXPECT_EQ(at(8), 4);
    EXPECT_EQ(at(18), 16); // not the code 0x0112 ahead of it
    EXPECT_EQ(at(1), 20);
    EXPECT_EQ(at(0), -1);
    EXPECT_EQ(message.dhcpOptionValue(18)->size(), 0u);

    load(relayMessage6(13, 0, {}, linkLocal(1), {option6(9, message6(2, {option6(18, "inner")}))}));
    EXPECT_EQ(at(9), 34);
    EXPECT_EQ(at(18), -1) << "the search must not enter the relay message";
    load(relayMessage6(13, 0, {}, linkLocal(1), {}));
    EXPECT_EQ(at(0), -1) << "a relay message of exactly 34 bytes";

    // Three bytes behind the last option are no option.
    Bytes rest = message6(1, {option6(8, Bytes{0, 0})});
    rest.insert(rest.end(), {0, 7, 0});
    load(rest);
    EXPECT_EQ(at(7), -1);
    // A value that is cut.
    load(message6(1, {Bytes{0, 18, 0, 99, 'a', 'b'}}));
    EXPECT_EQ(message.dhcpOptionValue(18)->size(), 2u);
    // Zeroes that a lying length takes in are not options of code 0.
    ASSERT_TRUE(message.load(Dhcpv6Frame(message6(1, {option6(8, Bytes{0, 0})})).udpLength(900).build()));
    EXPECT_EQ(message.getDhcpFieldOption(0), nullptr);
}

TEST(View6, ASearchStopsAfterAHundredOptions)
{
    const CapturedLog log;
    std::vector<Bytes> options(99, option6(8, ""));
    options.push_back(option6(18, "hundredth"));
    options.push_back(option6(37, "next"));
    dhcpraV6Message message;
    ASSERT_TRUE(message.load(Dhcpv6Frame(message6(1, options)).build()));
    EXPECT_NE(message.getDhcpFieldOption(18), nullptr);
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(message.getDhcpFieldOption(37), nullptr);
    EXPECT_TRUE(log.text().starts_with(
        "[DHCPRA] getDhcpFieldOption1: Frame causing an endless loop!\n"
        "[DHCPRA] optId: 18, optSize: 9, currOffset: 413, frameSize: 421\n[DHCPRA] ethFrameStart"))
        << log.text().substr(0, 200);
}

TEST(View6, MalformedOptionsAreReportedFiveTimes)
{
    dhcpraV6Message::malformedReportsLeft = 5;
    const CapturedLog log;
    dhcpraV6Message message;
    // 4 + 4 + 0xFFFF and 4 + 4 + 0xFFF8: what wraps is malformed, whether it lands below or above.
    for (const std::uint16_t length : {std::uint16_t{0xFFFF}, std::uint16_t{0xFFF8}}) {
        Bytes option{0, 5};
        option.push_back(static_cast<std::uint8_t>(length >> 8));
        option.push_back(static_cast<std::uint8_t>(length));
        ASSERT_TRUE(message.load(Dhcpv6Frame(message6(1, {option, option6(18, "x")})).build()));
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(message.getDhcpFieldOption(18), nullptr);
    }
    const std::string title = "[DHCPRA] getDhcpFieldOption: Frame causing an endless loop!\n";
    std::size_t reports = 0;
    for (std::size_t at = log.text().find(title); at != std::string::npos;
         at = log.text().find(title, at + 1))
        ++reports;
    EXPECT_EQ(reports, 5u);
    // One less is only too long.
    ASSERT_TRUE(message.load(Dhcpv6Frame(message6(1, {Bytes{0, 5, 0xFF, 0xF7}, option6(18, "x")})).build()));
    EXPECT_EQ(message.getDhcpFieldOption(18), nullptr);
    EXPECT_EQ(dhcpraV6Message::malformedReportsLeft, 0);
    dhcpraV6Message::malformedReportsLeft = 5;
}

TEST(View6, LinkLayerAddressOfTheClient)
{
    dhcpraV6Message message;
    const auto macOfClient = [&](const Bytes& option) -> Bytes {
        EXPECT_TRUE(message.load(Dhcpv6Frame(message6(1, {option})).build()));
        const auto* const mac = message.getDhcpFieldLinkLayerAddr();
        return mac == nullptr ? Bytes{} : Bytes(mac, mac + 6);
    };
    const Bytes expected{2, 0, 0, 0, 0, 0x42};
    for (const Bytes& option : {clientIdLlt(macOf(0x42)), clientIdLl(macOf(0x42)),
                                option6(1, Bytes{0, 3, 0, 32, 2, 0, 0, 0, 0, 0x42})}) // any hardware type
        EXPECT_EQ(macOfClient(option), expected);
    EXPECT_TRUE(message.isOpt01_ClientIdentifier() && !message.getNdpCode());
    for (const Bytes& option :
         {option6(1, Bytes{0, 2, 0, 0, 9, 9, 9, 9, 9, 9, 9, 9}), option6(8, Bytes{0, 1}),
          option6(1, Bytes{0, 1, 0, 1, 0, 0, 0, 0, 2, 0, 0})}) // not all of it came
        EXPECT_EQ(macOfClient(option), Bytes{});
}

TEST(View6, ChecksumsSumTheOddByteLow)
{
    // By hand: fe80::1 + ff02::1:2 + length 0x0009 + 17, and 0222 0223 0009 0000 and the last byte, 0x01:
    // FE80+0001+FF02+0001+0002+0009+0011+0222+0223+0009+0001 = 2 01EF -> 01F1, complement FE0E.
    dhcpraV6Message message;
    ASSERT_TRUE(message.load(Dhcpv6Frame({1}).build()));
    message.updateCRC();
    EXPECT_EQ(message.getUdpFieldCrc(), 0xFE0E);
    EXPECT_TRUE(message.isUdpCrcValid());
    // The same byte is not the last one of eleven: 0x0100 + 0x000B in place of 0x0001 + 0x0009.
    ASSERT_TRUE(message.load(Dhcpv6Frame({1}).udpLength(11).build()));
    EXPECT_EQ(message.getRecalcUdpCrc(), 0xFD0D);
    // An even segment is summed as RFC 768 has it; none may be sent.
    const auto valid = [&](const Dhcpv6Frame& frame) {
        EXPECT_TRUE(message.load(frame.build()));
        return message.isUdpCrcValid();
    };
    EXPECT_TRUE(valid(solicit()));
    EXPECT_FALSE(valid(solicit().spoil(Part::udp, 6, 0xEE)));
    EXPECT_TRUE(valid(solicit().spoil(Part::udp, 6, 0).spoil(Part::udp, 7, 0)));
}

TEST(View6, Texts)
{
    FakeFrameOwner owner;
    dhcpraV6Message message(&owner);
    ASSERT_TRUE(message.load(solicit().vlan(9).build()));
    std::string text;
    message.printFrame(text);
    EXPECT_TRUE(text.starts_with("[ETH] (18)\n   MAC dest     : 33:33:00:01:00:02\n"
                                 "   MAC src      : 02:00:00:00:00:11\n   Type         : 0x8100\n"
                                 "[IP] (40)\n   Payload len  : 36\n   Protocol     : 17\n"
                                 "   SrcIP        : fe80::1\n   DestIP       : ff02::1:2\n"
                                 "[UDP] (8)\n   SrcPort      : 546\n   DestPort     : 547\n"
                                 "   Length       : 36\n   Checksum     : 0x"))
        << text;
    EXPECT_TRUE(text.ends_with("[DHCP] (28)\n   msg          : 1\n   xid          : 0xabcdef\n")) << text;

    ASSERT_TRUE(message.load(solicit().etherType(0x0800).build()));
    text.clear();
    message.printFrame(text);
    EXPECT_TRUE(text.ends_with("[IP] NULL\n[UDP] NULL\n[DHCP] NULL\n")) << text;
    owner.text.clear();
    EXPECT_EQ(message.getIpFieldNextHeader(), 0);
    EXPECT_TRUE(owner.text.starts_with("\t getIpHeader(): not an IP V6 packet (0x0800).\n"
                                       "dhcpraMessage::getIpFieldNextHeader:"));
    EXPECT_TRUE(owner.text.ends_with(": ipHeader NULL pointer\n")) << owner.text;
    EXPECT_FALSE(message.isFrameValid());
    message.setUdpFieldDestPort(dhcpraV6Message::udpPort::client);
    for (const char* function : {"dhcpraMessage::isFrameValid:", "dhcpraV6Message::setUdpFieldDestPort:"})
        EXPECT_NE(owner.text.find(function), std::string::npos) << owner.text;
}

TEST(Icmp6, AnInvalidViewAnswersNothingAndSaysSo)
{
    const CapturedLog log;
    icmpV6Message icmp;
    ASSERT_TRUE(icmp.load(solicit().on(7, "if7").bare(58, {135, 0, 0, 0}).build()));
    EXPECT_EQ(icmp.getIpFieldLength(), 4);
    EXPECT_EQ(icmp.getIcmpHeader().be32(0), 0x87000000u);
    EXPECT_EQ(icmp.getIcmpHeader().u8(4), std::nullopt);
    EXPECT_EQ(icmp.getFrameSize(), 18);
    std::string dump;
    icmp.dump16(dump);
    EXPECT_TRUE(dump.starts_with("\n [  0x6b]  33 33 00 01 00 02 02 00")) << dump;

    icmp.frameInfo = nullptr;
    EXPECT_FALSE(icmp.isValid());
    EXPECT_EQ(icmp.getFrameFullSize() + icmp.getFrameSrcInterfaceId(), 0u);
    const std::string line = "icmpV6Message::isValid(): frame_info is null.\n";
    EXPECT_EQ(log.text(), line + line + line);
    EXPECT_TRUE(log.has(LogImpl::critical, line));
    EXPECT_EQ(icmp.getEthHeader().size() + icmp.getEthHeaderSize() + icmp.getIpHeaderSize(), 0u);
}
