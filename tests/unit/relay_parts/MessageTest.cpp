// Checksums, validity and options of a DHCP message.
#include "relay/frame/dhcpraMessage.h"
#include "support/CapturedLog.h"
#include "support/DhcpFrame.h"
#include "support/FakeFrameOwner.h"
#include "support/ParsedDhcpFrame.h"

#include <gtest/gtest.h>

using namespace test;

TEST(Checksums, OddLengthsAndCarries)
{
    dhcpraMessage message;
    for (std::size_t length = 0; length < 64; ++length) {
        const Bytes bytes = request().option(12, Bytes(length, 0xFF)).build();
        ASSERT_TRUE(message.load(bytes));
        EXPECT_TRUE(message.isIpCrcValid() && message.isUdpCrcValid()) << length;
        message.updateCRC();
        EXPECT_EQ(Bytes(message.bytesToSend().begin(), message.bytesToSend().end()), bytes);
    }
}

TEST(Checksums, DamageIsSeenAndTold)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    const auto valid = [&](const DhcpFrame& frame) {
        EXPECT_TRUE(message.load(frame.build()));
        owner.text.clear();
        return std::pair(message.isIpCrcValid(), message.isUdpCrcValid());
    };
    EXPECT_EQ(valid(discover().ipOptions({1, 1, 1, 0})), std::pair(true, true));
    EXPECT_EQ(valid(discover().wrongIpChecksum()), std::pair(false, true));
    EXPECT_EQ(valid(discover().wrongUdpChecksum()), std::pair(true, false));
    EXPECT_TRUE(owner.text.starts_with("\t dhcpraMessage::isUdpCrcValid(). getUdpFieldCrc()=0x"))
        << owner.text;
    EXPECT_EQ(valid(discover().spoil(Part::udp, 4, 0x7F)), std::pair(true, false))
        << "bytes that are not there match nothing";
    EXPECT_EQ(valid(discover().set(Part::ip, 0, 0x40)).first, false);
    EXPECT_EQ(message.getRecalcIpCrc(), 65535);
    EXPECT_TRUE(valid(discover().noUdpChecksum().spoil(Part::dhcp, 50, 1)).second) << "none was sent";
    message.updateCRC();
    EXPECT_NE(message.getUdpFieldCrc(), 0);
    EXPECT_TRUE(message.isUdpCrcValid());
}

// Validity

TEST(Validity, IsDecidedAndExplained)
{
    const std::string withoutOptions = "dhcpraMessage::isFrameValid(): from 0/3, frame without options\n";
    const std::string withoutEnd = "dhcpraMessage::isFrameValid(): from 0/3, frame without last option\n";
    // Its line end is a write of its own, which ends a line without being part of it.
    const std::string badCookie = "dhcpraMessage::isMagicCookieValid(): from 0/3, not valid=99.130.83.100";
    struct Case
    {
        const char* name;
        DhcpFrame frame;
        std::string log;
    };
    const Case valid[] = {{"plain", discover(), ""},
                          {"pads", discover().pad(7).option(12, "x").pad(2), ""},
                          {"onlyEnd", discover().noOptions(), ""}};
    const Case invalid[] = {
        {"noIp", discover().etherType(0x86DD), ""},
        {"nothingBehindUdp", discover().dhcpSize(0), ""},
        {"size239", discover().dhcpSize(239), withoutOptions},
        {"size240", discover().dhcpSize(240), withoutEnd},
        {"udpLengthZero", discover().udpLength(0), withoutOptions},
        {"udpLengthBelowHeader", discover().udpLength(7), withoutEnd},
        {"cookie", discover().cookie({99, 130, 83, 100}), badCookie},
        {"noEnd", discover().noEnd(), withoutEnd},
        {"onlyPads", discover().noOptions().noEnd().pad(9), withoutEnd},
        {"optionSwallowsEnd", discover().rawOptions({12, 1}), withoutEnd},
        {"optionRunsPast", discover().rawOptions({12, 200}), withoutEnd},
        {"codeInLastByte", discover().noEnd().rawOptions({12}), withoutEnd},
        {"claimsOneByteTooMany", discover().udpLength(253), withoutEnd},
        {"claimIgnoresPadding", discover().noEnd().ethernetPadding(8, 255), withoutEnd},
    };
    const auto check = [&](const Case& each, bool expected) {
        const CapturedLog log;
        dhcpraMessage message;
        auto frame = each.frame;
        ASSERT_TRUE(message.load(frame.on(3, "0/3").build()));
        EXPECT_EQ(message.isFrameValid(), expected) << each.name;
        EXPECT_EQ(log.text(), each.log) << each.name;
        const auto level = each.log == withoutOptions ? LogImpl::debug : LogImpl::critical;
        EXPECT_TRUE(each.log.empty() || log.lines()[0].level == level) << each.name;
    };
    for (const Case& each : valid)
        check(each, true);
    for (const Case& each : invalid)
        check(each, false);
}

// Options

TEST(Options, AreFoundAndBounded)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(
        ack().pad(2).option(51, {0, 1, 2, 3}).option(12, "").pad(1).option(12, "second").build()));
    const auto at = [&](std::uint8_t code) -> std::ptrdiff_t {
        const auto* const option = message.getDhcpFieldOption(code);
        return option == nullptr ? -1 : option - message.getDhcpHeader() - 240;
    };
    EXPECT_EQ(message.getMessageType(), 5u);
    for (const auto& [code, place] : {std::pair(53, 0), {0, 3}, {51, 5}, {12, 11}, {255, 22}, {50, -1}})
        EXPECT_EQ(at(static_cast<std::uint8_t>(code)), place) << code;
    EXPECT_TRUE(std::ranges::equal(*message.dhcpOptionValue(51), Bytes{0, 1, 2, 3}));
    EXPECT_TRUE(message.dhcpOptionValue(12)->empty());
    EXPECT_FALSE(message.dhcpOptionValue(50) || message.isOpt82Present());

    for (const auto& frame : {discover().rawOptions({255, 82, 1, 1}),             // behind End
                              discover().dhcpSize(240).ethernetPadding(4, 82)}) { // behind the message
        ASSERT_TRUE(message.load(frame.build()));
        EXPECT_FALSE(message.isOpt82Present());
    }
    ASSERT_TRUE(message.load(discover().noOptions().option(53, "").option(12, "x").build()));
    EXPECT_EQ(message.getMessageType(), 0u);
}

TEST(Options, AValuePastTheEndIsCutAndOneWithoutLengthIsAbsent)
{
    dhcpraMessage message;
    std::string circuitId;
    ASSERT_TRUE(message.load(
        discover().noEnd().rawOptions({82, 9, 1, 7, 'a', 'b'}).ethernetPadding(20, 'X').build()));
    EXPECT_EQ(message.dhcpOptionValue(82)->size(), 4u);
    EXPECT_TRUE(message.parseOpt82ForCircuitId(circuitId));
    EXPECT_EQ(circuitId, "ab");

    ASSERT_TRUE(message.load(discover().noEnd().rawOptions({82}).ethernetPadding(20, 1).build()));
    EXPECT_TRUE(message.isOpt82Present());
    EXPECT_FALSE(message.dhcpOptionValue(82));
    EXPECT_FALSE(message.parseOpt82ForCircuitId(circuitId));
}
