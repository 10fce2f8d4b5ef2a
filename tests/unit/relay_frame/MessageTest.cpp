// Checksums, validity and options of a DHCP message.
#include "relay/frame/dhcpraMessage.h"
#include "support/CapturedLog.h"
#include "support/DhcpFrame.h"
#include "support/FakeFrameOwner.h"
#include "support/ParsedDhcpFrame.h"

#include <gtest/gtest.h>

using namespace test;

// Checksums

TEST(Checksums, OddLengthsAndCarries)
{
    dhcpraMessage message;
    for (std::size_t length = 0; length < 64; ++length) {
        ASSERT_TRUE(message.load(request().option(12, Bytes(length, 0xFF)).build()));
        EXPECT_TRUE(message.isIpCrcValid() && message.isUdpCrcValid()) << length;
        message.updateCRC();
        EXPECT_EQ(Bytes(message.bytesToSend().begin(), message.bytesToSend().end()),
                  request().option(12, Bytes(length, 0xFF)).build());
    }
}

TEST(Checksums, DamageIsSeen)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    const auto load = [&](DhcpFrame frame) {
        ASSERT_TRUE(message.load(frame.build()));
        owner.text.clear();
    };
    load(discover().wrongIpChecksum());
    EXPECT_FALSE(message.isIpCrcValid());
    EXPECT_TRUE(message.isUdpCrcValid());
    EXPECT_EQ(owner.text.rfind("\t dhcpraMessage::isIpCrcValid(). getIpFieldCrc()=0x", 0), 0u) << owner.text;

    load(discover().wrongUdpChecksum());
    EXPECT_TRUE(message.isIpCrcValid());
    EXPECT_FALSE(message.isUdpCrcValid());
    EXPECT_EQ(owner.text.rfind("\t dhcpraMessage::isUdpCrcValid(). getUdpFieldCrc()=0x", 0), 0u)
        << owner.text;

    load(discover().noUdpChecksum().spoil(Part::dhcp, 50, 1));
    EXPECT_TRUE(message.isUdpCrcValid()) << "none was sent";
    message.updateCRC();
    EXPECT_NE(message.getUdpFieldCrc(), 0);
    EXPECT_TRUE(message.isUdpCrcValid());

    load(discover().spoil(Part::udp, 4, 0x7F));
    EXPECT_FALSE(message.isUdpCrcValid()) << "bytes that are not there match nothing";
    load(discover().ipOptions({1, 1, 1, 0}));
    EXPECT_TRUE(message.isIpCrcValid() && message.isUdpCrcValid());
    EXPECT_EQ(message.getIpHeaderSize(), 24u);

    load(discover().set(Part::ip, 0, 0x40));
    EXPECT_EQ(message.getIpHeaderSize(), 0u);
    EXPECT_EQ(message.getRecalcIpCrc(), 65535);
}

// Validity

struct ValidityCase
{
    const char* name;
    DhcpFrame frame;
    bool valid;
    LogImpl::logLevel_t level = LogImpl::critical;
    const char* log = "";
};

class Validity : public testing::TestWithParam<ValidityCase>
{};

TEST_P(Validity, IsDecidedAndExplained)
{
    CapturedLog log;
    dhcpraMessage message;
    auto frame = GetParam().frame;
    ASSERT_TRUE(message.load(frame.on(3, "0/3").build()));
    EXPECT_EQ(message.isFrameValid(), GetParam().valid);
    if (*GetParam().log == '\0')
        EXPECT_TRUE(log.lines().empty()) << log.text();
    else
        EXPECT_TRUE(log.has(GetParam().level, GetParam().log)) << log.text();
}

namespace {
constexpr const char* withoutOptions = "dhcpraMessage::isFrameValid(): from 0/3, frame without options\n";
constexpr const char* withoutEnd = "dhcpraMessage::isFrameValid(): from 0/3, frame without last option\n";
// Its line end is a write of its own, which ends a line without being part of it.
constexpr const char* badCookie = "dhcpraMessage::isMagicCookieValid(): from 0/3, not valid=99.130.83.100";
} // namespace

INSTANTIATE_TEST_SUITE_P(
    Message, Validity,
    testing::Values(
        ValidityCase{"plain", discover(), true},
        ValidityCase{"pads", discover().pad(7).option(12, "x").pad(2), true},
        ValidityCase{"onlyEnd", discover().noOptions(), true},
        ValidityCase{"noIp", discover().etherType(0x86DD), false},
        ValidityCase{"nothingBehindUdp", discover().dhcpSize(0), false},
        ValidityCase{"size239", discover().dhcpSize(239), false, LogImpl::debug, withoutOptions},
        ValidityCase{"size240", discover().dhcpSize(240), false, LogImpl::critical, withoutEnd},
        ValidityCase{"udpLengthZero", discover().udpLength(0), false, LogImpl::debug, withoutOptions},
        ValidityCase{"udpLengthBelowHeader", discover().udpLength(7), false, LogImpl::critical, withoutEnd},
        ValidityCase{"cookie", discover().cookie({99, 130, 83, 100}), false, LogImpl::critical, badCookie},
        ValidityCase{"noEnd", discover().noEnd(), false, LogImpl::critical, withoutEnd},
        ValidityCase{"onlyPads", discover().noOptions().noEnd().pad(9), false, LogImpl::critical, withoutEnd},
        ValidityCase{"optionSwallowsEnd", discover().rawOptions({12, 1}), false, LogImpl::critical,
                     withoutEnd},
        ValidityCase{"optionRunsPast", discover().rawOptions({12, 200}), false, LogImpl::critical,
                     withoutEnd},
        ValidityCase{"codeInLastByte", discover().noEnd().rawOptions({12}), false, LogImpl::critical,
                     withoutEnd},
        ValidityCase{"claimsOneByteTooMany", discover().udpLength(253), false, LogImpl::critical, withoutEnd},
        ValidityCase{"claimIgnoresPadding", discover().noEnd().ethernetPadding(8, 255), false,
                     LogImpl::critical, withoutEnd}),
    [](const auto& row) { return row.param.name; });

// Options

TEST(Options, AreFoundAndBounded)
{
    const Bytes bytes =
        ack().pad(2).option(51, {0, 1, 2, 3}).option(12, "").pad(1).option(12, "second").build();
    dhcpraMessage message;
    ASSERT_TRUE(message.load(bytes));
    const auto* const options = message.getDhcpHeader() + 240;

    EXPECT_EQ(message.getMessageType(), 5u);
    EXPECT_EQ(message.getDhcpFieldOption(53), options);
    EXPECT_EQ(message.getDhcpFieldOption(0), options + 3) << "the first pad";
    EXPECT_EQ(message.getDhcpFieldOption(51), options + 5);
    EXPECT_EQ(message.getDhcpFieldOption(12), options + 11);
    EXPECT_EQ(message.getDhcpFieldOption(255), options + 22);
    EXPECT_EQ(message.getDhcpFieldOption(50), nullptr);
    EXPECT_FALSE(message.isOpt82Present());

    const auto lease = message.dhcpOptionValue(51);
    ASSERT_TRUE(lease);
    EXPECT_EQ(Bytes(lease->begin(), lease->end()), (Bytes{0, 1, 2, 3}));
    EXPECT_TRUE(message.dhcpOptionValue(12) && message.dhcpOptionValue(12)->empty());
    EXPECT_FALSE(message.dhcpOptionValue(50));
}

TEST(Options, AreNotFoundBehindEndOrInSmallMessages)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(discover().rawOptions({255, 82, 1, 1}).build()));
    EXPECT_FALSE(message.isOpt82Present());
    ASSERT_TRUE(message.load(discover().dhcpSize(240).ethernetPadding(4, 82).build()));
    EXPECT_FALSE(message.isOpt82Present());
}

TEST(Options, AValuePastTheEndIsCutAndOneWithoutLengthIsAbsent)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(
        discover().noEnd().rawOptions({82, 9, 1, 7, 'a', 'b'}).ethernetPadding(20, 'X').build()));
    EXPECT_TRUE(message.isOpt82Present());
    EXPECT_EQ(message.dhcpOptionValue(82)->size(), 4u);
    std::string circuitId;
    EXPECT_TRUE(message.parseOpt82ForCircuitId(circuitId));
    EXPECT_EQ(circuitId, "ab");

    ASSERT_TRUE(message.load(discover().noEnd().rawOptions({82}).ethernetPadding(20, 1).build()));
    EXPECT_TRUE(message.isOpt82Present());
    EXPECT_FALSE(message.dhcpOptionValue(82));
    EXPECT_FALSE(message.parseOpt82ForCircuitId(circuitId));
}

TEST(Options, AnEmptyMessageTypeIsNone)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(discover().noOptions().option(53, "").option(12, "x").build()));
    EXPECT_EQ(message.getMessageType(), 0u);
}
