// Wrapping into a relay-forward and unwrapping a relay-reply (RFC 8415, section 19), byte by byte.
#include "relay/frame/dhcpraV6Message.h"
#include "support/Dhcpv6Frame.h"
#include "support/FakeFrameOwner.h"

#include <algorithm>

#include <gtest/gtest.h>

using namespace test;

namespace {

Bytes received(const dhcpraV6Message& message)
{
    return {message.received().begin(), message.received().end()};
}

Bytes sized(std::size_t size)
{
    Bytes bytes = message6(1);
    bytes.resize(size);
    return bytes;
}

class Relay6 : public testing::Test
{
protected:
    void load(const Dhcpv6Frame& frame)
    {
        ASSERT_TRUE(message.load(frame.build()));
        owner.text.clear();
    }
    [[nodiscard]] bool told(const std::string& text) const
    {
        return owner.text.find(text) != std::string::npos;
    }

    FakeFrameOwner owner;
    dhcpraV6Message message{&owner};
};

} // namespace

TEST_F(Relay6, AnIdOfBytesGoesInAndPaddingGoesAway)
{
    auto padded = solicit();
    load(padded.ethernetPadding(50, 0xAA));
    ASSERT_TRUE(message.createRelayFwdMessage("ignored", {0x00, 0xFF, 0x12}));
    EXPECT_TRUE(told("Using CID bin\n"));
    EXPECT_TRUE(std::ranges::equal(*message.dhcpOptionValue(18), Bytes{0x00, 0xFF, 0x12}));
    const Bytes all = received(message);
    const auto end = static_cast<std::ptrdiff_t>(107 + 14 + 48 + message.dhcpMessageBytes().size());
    EXPECT_EQ(Bytes(all.begin() + end, all.end()), Bytes(50)) << "what padded the request is gone";
}

TEST_F(Relay6, LongIdsAreCutAt253)
{
    load(solicit());
    ASSERT_TRUE(message.createRelayFwdMessage(std::string(300, 'i'), {}));
    EXPECT_EQ(message.dhcpOptionValue(18)->size(), 253u);
    EXPECT_TRUE(told("circuitSize too big (300), truncate to 253\n"));
    ASSERT_TRUE(message.addOpt37_RemoteId(std::string(254, 'r'), {}, 1));
    EXPECT_EQ(message.dhcpOptionValue(37)->size(), 257u);
    EXPECT_TRUE(told("remoteSize too big (254), truncate to 253\n"));
}

TEST_F(Relay6, TheLimitIsByte1500OfThePacket)
{
    for (const bool tagged : {false, true}) { // whatever stands ahead of IPv6
        const auto wraps = [&](std::size_t size, const char* id) {
            Dhcpv6Frame frame(sized(size));
            load(tagged ? frame.vlan(100).cvlan(5) : frame);
            return message.createRelayFwdMessage(id, {});
        };
        EXPECT_TRUE(wraps(1413, ""));
        EXPECT_FALSE(wraps(1414, ""));
        EXPECT_EQ(message.getFrameFullSize(), message.receivedSize() - 1414);
        EXPECT_TRUE(wraps(1399, "0123456789")); // 48 + 38 + 1399 + 4 + 10 = 1499
        EXPECT_FALSE(wraps(1400, "0123456789"));

        EXPECT_TRUE(wraps(1399, "")); // the enterprise number is not counted
        EXPECT_TRUE(message.addOpt37_RemoteId("0123456789", {}, 7731));
        EXPECT_EQ(message.getIpFieldLength(), 1503 - 40);
        EXPECT_TRUE(wraps(1400, ""));
        EXPECT_FALSE(message.addOpt37_RemoteId("0123456789", {}, 7731));
    }
}

TEST_F(Relay6, ATailThatDoesNotFitIsCut)
{
    load(Dhcpv6Frame(sized(1000)).vlan(100));
    ASSERT_TRUE(message.createRelayFwdMessage("id", {}));
    ASSERT_TRUE(message.addOpt37_RemoteId("r", {}, 7731));
    EXPECT_GT(message.getFrameFullSize(), 2048u);
    EXPECT_EQ(message.bytesToSend().size(), 2048u);
}

TEST_F(Relay6, ALengthOfTheRemoteIdCountsModulo256)
{
    load(solicit());
    const auto size = static_cast<std::uint32_t>(message.dhcpMessageBytes().size());
    const std::uint32_t full = message.getFrameFullSize();
    EXPECT_TRUE(message.addOpt37_RemoteId(std::string(256, 'r'), {}, 7731));
    EXPECT_EQ(message.getDhcpFieldOption(37), nullptr);
    EXPECT_EQ(message.getFrameFullSize(), full + size);
    EXPECT_EQ(message.dhcpMessageBytes().size(), size);

    load(solicit());
    EXPECT_TRUE(message.addOpt37_RemoteId(std::string(300, 'r'), {}, 7731));
    EXPECT_EQ(message.dhcpOptionValue(37)->size(), 44u + 4u);
    load(solicit());
    EXPECT_TRUE(message.addOpt37_RemoteId("text", {1, 2}, 0x01020304));
    EXPECT_TRUE(std::ranges::equal(*message.dhcpOptionValue(37), Bytes{1, 2, 3, 4, 1, 2}));
}

TEST_F(Relay6, AFrameWithoutTheHeadersIsRefused)
{
    load(solicit().etherType(0x0800));
    EXPECT_FALSE(message.createRelayFwdMessage("id", {}) || message.addOpt37_RemoteId("id", {}, 1) ||
                 message.createOriginalFromRelayRplyMessage());
    EXPECT_TRUE(told("dhcpraV6Message::createRelayFwdMessage:"));
    EXPECT_TRUE(told("dhcpraV6Message::createOriginalFromRelayRplyMessage:"));
}

TEST_F(Relay6, UnwrappingLeavesNothingBehindAPaddedFrame)
{
    const Bytes inner = message6(2, {clientIdLlt(macOf(0x11)), option6(2, Bytes(14, 2))});
    const auto server = Dhcpv6Frame(relayMessage6(13, 0, {}, linkLocal(0x11), {option6(9, inner)})).vlan(100);
    load(Dhcpv6Frame(server).ethernetPadding(20, 0xAA));
    ASSERT_TRUE(message.createOriginalFromRelayRplyMessage());
    message.updateCRC();
    EXPECT_EQ(received(message),
              Dhcpv6Frame(server).message(inner).summedByTheNode().ethernetPadding(20).build());
}

TEST_F(Relay6, ARelayReplyWithoutItsMessageIsWrong)
{
    for (const Bytes& option : {option6(18, "no message"), Bytes{0, 9, 0, 5, 1, 2, 3, 4}, // one byte too many
                                Bytes{0, 9, 0xFF, 0xFF, 1, 2, 3}}) { // more than a buffer holds
        load(Dhcpv6Frame(relayMessage6(13, 0, {}, linkLocal(1), {option})));
        const std::uint32_t full = message.getFrameFullSize();
        EXPECT_FALSE(message.createOriginalFromRelayRplyMessage());
        EXPECT_EQ(message.getFrameFullSize(), full - 34 - option.size()); // stays reduced
        EXPECT_EQ(told("\t createOriginalFromRelayRplyMessage(): option 09 not found\n"), option[1] == 18);
    }
    load(Dhcpv6Frame(relayMessage6(13, 0, {}, linkLocal(1), {option6(9, "")})));
    EXPECT_TRUE(message.createOriginalFromRelayRplyMessage());
    EXPECT_EQ(message.getUdpFieldLength(), 8);
    EXPECT_EQ(message.getDhcpFieldLinkLayerAddr(), nullptr);
}

TEST_F(Relay6, AnInterfaceIdGivesPortAndVlan)
{
    // The customer VLAN stands last and counts as the port's; numbers are read as strtol() does, to 16 bits.
    using Case = std::tuple<const char*, const char*, int>;
    constexpr Case cases[] = {{"shelf eth 99/3/1/2:100", "1/2", 100},
                              {"sh1 eth 99/3/2/5:100:200", "2/5:100", 200},
                              {"x:12", nullptr, 12},
                              {"x/y:12", nullptr, 12},
                              {"/y:12", nullptr, 12},
                              {"x/y/:", "y/", -1},
                              {"x/y/z", nullptr, -1},
                              {"a:b/c/d", nullptr, 0},
                              {"a/:b/c", nullptr, 0},
                              {"a/b:9/c", "b", 9},
                              {"a/b/c:<vid>", "b/c", 0},
                              {"a/b/c:70000", "b/c", 70000 - 65536},
                              {"a/b/c: 12x", "b/c", 12},
                              {"a/b/c:-1", "b/c", 65535}};
    for (const auto& [text, expectedPort, expectedVlan] : cases) {
        load(Dhcpv6Frame(relayMessage6(13, 0, {}, linkLocal(1), {option6(18, text), option6(9, "m")})));
        std::string port = "untouched";
        std::uint16_t vlan = 7777;
        EXPECT_EQ(message.parseOpt18ForPort(port), expectedPort != nullptr) << text;
        EXPECT_EQ(port, expectedPort != nullptr ? expectedPort : "untouched");
        EXPECT_EQ(message.parseOpt18ForVlan(vlan), expectedVlan >= 0) << text;
        EXPECT_EQ(vlan, expectedVlan >= 0 ? expectedVlan : 7777);
    }
    load(solicit());
    std::string text;
    std::uint16_t vlan = 0;
    EXPECT_FALSE(message.parseOpt18ForInterfaceId(text) || message.parseOpt18ForPort(text) ||
                 message.parseOpt18ForVlan(vlan));
    EXPECT_TRUE(told("\t parseOpt18ForInterfaceId(): option 18 not found\n"));
    EXPECT_TRUE(told("\t ':' option18, interfaceId not found\n"));
}
