// Wrapping into a relay-forward and unwrapping a relay-reply (RFC 8415, section 19), byte by byte.
#include "relay/frame/dhcpraV6Message.h"
#include "support/Dhcpv6Frame.h"
#include "support/FakeFrameOwner.h"

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

/// The option as RFC 4649 has it, with the default enterprise number 7731 = 0x1E33.
Bytes remoteIdOption(const Bytes& id)
{
    Bytes value{0, 0, 0x1E, 0x33};
    value.insert(value.end(), id.begin(), id.end());
    return option6(37, value);
}

class Relay6 : public testing::Test
{
protected:
    void load(const Dhcpv6Frame& frame) { ASSERT_TRUE(message.load(frame.build())); }

    FakeFrameOwner owner;
    dhcpraV6Message message{&owner};
};

} // namespace

TEST_F(Relay6, WrapsBehindNinePutsEighteen)
{
    const auto client = solicit().on(7, "if7").vlan(100).source(linkLocal(0x11));
    const Bytes inner = message6(1, {clientIdLlt(macOf(0x11)), option6(8, Bytes{0, 0})});
    load(client);
    ASSERT_TRUE(message.createRelayFwdMessage("sh1 eth 99/3/2/5:100", {}));
    message.updateCRC();
    EXPECT_EQ(received(message),
              Dhcpv6Frame(client)
                  .message(relayMessage6(12, 0, {}, linkLocal(0x11),
                                         {option6(9, inner), option6(18, "sh1 eth 99/3/2/5:100")}))
                  .summedByTheNode()
                  .build());
    EXPECT_EQ(message.bytesToSend().size(), message.getFrameFullSize());
    EXPECT_EQ(owner.text.find("Using CID bin"), std::string::npos);
    EXPECT_NE(owner.text.find("Using CID ascii\nOriginal circuitSize=20 \n"), std::string::npos);
}

TEST_F(Relay6, ABinaryIdWinsAndAnEmptyOneIsLeftOut)
{
    const auto client = solicit().vlan(100);
    const Bytes inner = message6(1, {clientIdLlt(macOf(0x11)), option6(8, Bytes{0, 0})});
    load(client);
    ASSERT_TRUE(message.createRelayFwdMessage("ignored", {0x00, 0xFF, 0x12}));
    message.updateCRC();
    EXPECT_EQ(received(message),
              Dhcpv6Frame(client)
                  .message(relayMessage6(12, 0, {}, linkLocal(1),
                                         {option6(9, inner), option6(18, Bytes{0x00, 0xFF, 0x12})}))
                  .summedByTheNode()
                  .build());
    load(client);
    ASSERT_TRUE(message.createRelayFwdMessage("", {}));
    message.updateCRC();
    EXPECT_EQ(
        received(message),
        Dhcpv6Frame(client).message(relayMessage6(12, 0, {}, linkLocal(1), {option6(9, inner)})).build());
}

TEST_F(Relay6, LongIdsAreCutAt253)
{
    load(solicit());
    ASSERT_TRUE(message.createRelayFwdMessage(std::string(300, 'i'), {}));
    EXPECT_EQ(message.dhcpOptionValue(18)->size(), 253u);
    EXPECT_NE(owner.text.find("circuitSize too big (300), truncate to 253\n"), std::string::npos);
    ASSERT_TRUE(message.addOpt37_RemoteId(std::string(254, 'r'), {}, 1));
    EXPECT_EQ(message.dhcpOptionValue(37)->size(), 257u);
    EXPECT_NE(owner.text.find("remoteSize too big (254), truncate to 253\n"), std::string::npos);
}

TEST_F(Relay6, TheLimitIsByte1500OfThePacket)
{
    for (const bool tagged : {false, true}) { // whatever stands ahead of IPv6
        const auto frameOf = [&](std::size_t size) {
            Dhcpv6Frame frame(sized(size));
            return tagged ? frame.vlan(100).cvlan(5) : frame;
        };
        load(frameOf(1413));
        EXPECT_TRUE(message.createRelayFwdMessage("", {}));
        EXPECT_EQ(message.getIpFieldLength(), 1499 - 40);
        load(frameOf(1414));
        const std::uint32_t full = message.getFrameFullSize();
        EXPECT_FALSE(message.createRelayFwdMessage("", {}));
        EXPECT_EQ(message.getFrameFullSize(), full - 1414);

        load(frameOf(1399)); // 48 + 38 + 1399 + 4 + 10 = 1499
        EXPECT_TRUE(message.createRelayFwdMessage("0123456789", {}));
        load(frameOf(1400));
        EXPECT_FALSE(message.createRelayFwdMessage("0123456789", {}));

        load(frameOf(1399)); // the enterprise number is not counted
        EXPECT_TRUE(message.createRelayFwdMessage("", {}));
        EXPECT_TRUE(message.addOpt37_RemoteId("0123456789", {}, 7731));
        EXPECT_EQ(message.getIpFieldLength(), 1503 - 40);
        load(frameOf(1400));
        EXPECT_TRUE(message.createRelayFwdMessage("", {}));
        EXPECT_FALSE(message.addOpt37_RemoteId("0123456789", {}, 7731));
    }
}

TEST_F(Relay6, TheRemoteIdTakesATailOfZeroesWithIt)
{
    const auto client = solicit().vlan(100);
    const Bytes inner = message6(1, {clientIdLlt(macOf(0x11)), option6(8, Bytes{0, 0})});
    // A longer frame first, to leave something behind.
    ASSERT_TRUE(message.load(Bytes(2048, 0xC3)));
    load(client);
    ASSERT_TRUE(message.createRelayFwdMessage("id", {}));
    ASSERT_TRUE(message.addOpt37_RemoteId("remote", {}, 7731));
    message.updateCRC();
    const Bytes relayed = relayMessage6(
        12, 0, {}, linkLocal(1), {option6(9, inner), option6(18, "id"), remoteIdOption(bytesOf("remote"))});
    const std::size_t withoutOption37 = 107 + 18 + 48 + relayed.size() - 14;
    EXPECT_EQ(received(message), Dhcpv6Frame(client)
                                     .message(relayed)
                                     .summedByTheNode()
                                     .ethernetPadding(relayed.size() - 14)
                                     .fullSize(static_cast<std::uint32_t>(withoutOption37 + relayed.size()))
                                     .build());
    EXPECT_EQ(message.getUdpFieldLength(), relayed.size() + 8);
    EXPECT_EQ(message.getIpFieldLength(), relayed.size() + 8);
}

TEST_F(Relay6, WhatPaddedTheRequestDoesNotPadTheRelayForward)
{
    load(solicit().vlan(100).ethernetPadding(50, 0xAA));
    ASSERT_TRUE(message.createRelayFwdMessage("id", {}));
    const std::size_t end = 107 + 18 + 48 + message.dhcpMessageBytes().size();
    ASSERT_EQ(message.receivedSize(), end + 50);
    EXPECT_EQ(Bytes(message.received().begin() + static_cast<std::ptrdiff_t>(end), message.received().end()),
              Bytes(50));
}

TEST_F(Relay6, ALengthOfTheRemoteIdCountsModulo256)
{
    load(solicit());
    ASSERT_TRUE(message.createRelayFwdMessage("id", {}));
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
    EXPECT_EQ(Bytes(message.dhcpOptionValue(37)->begin(), message.dhcpOptionValue(37)->end()),
              (Bytes{1, 2, 3, 4, 1, 2}));
}

TEST_F(Relay6, ASizePastTheBufferIsCutThere)
{
    load(Dhcpv6Frame(sized(1000)).vlan(100));
    ASSERT_TRUE(message.createRelayFwdMessage("id", {}));
    ASSERT_TRUE(message.addOpt37_RemoteId("r", {}, 7731));
    EXPECT_GT(message.getFrameFullSize(), 2048u);
    EXPECT_EQ(message.bytesToSend().size(), 2048u);
}

TEST_F(Relay6, AFrameWithoutTheHeadersIsRefused)
{
    load(solicit().etherType(0x0800));
    EXPECT_FALSE(message.createRelayFwdMessage("id", {}));
    EXPECT_FALSE(message.addOpt37_RemoteId("id", {}, 1));
    EXPECT_FALSE(message.createOriginalFromRelayRplyMessage());
    EXPECT_NE(owner.text.find("dhcpraV6Message::createRelayFwdMessage:"), std::string::npos);
    EXPECT_NE(owner.text.find("dhcpraV6Message::createOriginalFromRelayRplyMessage:"), std::string::npos);
}

TEST_F(Relay6, BackupAndRestore)
{
    const auto client = solicit().vlan(100).ethernetPadding(3, 0xAA);
    load(client);
    message.backupOriginalFrame();
    ASSERT_TRUE(message.createRelayFwdMessage("sh1 eth 99/3/2/5:100", {}));
    ASSERT_TRUE(message.addOpt37_RemoteId("r", {}, 7731));
    message.restoreOriginalFrame();
    EXPECT_EQ(received(message), client.build());
}

TEST_F(Relay6, UnwrapsOneLevel)
{
    const Bytes advertise = message6(2, {clientIdLlt(macOf(0x11)), option6(2, Bytes(14, 2))});
    const Bytes lower = relayMessage6(13, 1, {}, linkLocal(3), {option6(9, advertise)});
    for (const Bytes& inner : {advertise, lower}) {
        const auto server = Dhcpv6Frame(relayMessage6(13, 0, {}, linkLocal(0x11),
                                                      {option6(18, "x/y/z:100"), option6(9, inner)}))
                                .on(1, "up")
                                .vlan(100)
                                .ports(547, 547);
        load(server);
        ASSERT_TRUE(message.createOriginalFromRelayRplyMessage());
        message.updateCRC();
        EXPECT_EQ(received(message), Dhcpv6Frame(server).message(inner).summedByTheNode().build());
        // Nothing of the wrapper behind a padded frame either.
        load(Dhcpv6Frame(server).ethernetPadding(20, 0xAA));
        ASSERT_TRUE(message.createOriginalFromRelayRplyMessage());
        message.updateCRC();
        EXPECT_EQ(received(message),
                  Dhcpv6Frame(server).message(inner).summedByTheNode().ethernetPadding(20).build());
    }
}

TEST_F(Relay6, ARelayReplyWithoutItsMessageIsWrong)
{
    const auto wrong = [&](const Bytes& option) {
        load(Dhcpv6Frame(relayMessage6(13, 0, {}, linkLocal(1), {option})));
        const std::uint32_t full = message.getFrameFullSize();
        EXPECT_FALSE(message.createOriginalFromRelayRplyMessage());
        EXPECT_EQ(message.getFrameFullSize(), full - 34 - option.size()); // stays reduced
        EXPECT_EQ(message.getDhcpFieldOpcode(), 13);
    };
    wrong(option6(18, "no message"));
    EXPECT_NE(owner.text.find("\t createOriginalFromRelayRplyMessage(): option 09 not found\n"),
              std::string::npos);
    wrong({0, 9, 0, 5, 1, 2, 3, 4});    // one byte more than there is
    wrong({0, 9, 0xFF, 0xFF, 1, 2, 3}); // more than a buffer holds
    load(Dhcpv6Frame(relayMessage6(13, 0, {}, linkLocal(1), {option6(9, "")})));
    EXPECT_TRUE(message.createOriginalFromRelayRplyMessage());
    EXPECT_EQ(message.getUdpFieldLength(), 8);
    EXPECT_EQ(message.getDhcpFieldLinkLayerAddr(), nullptr);
}

namespace {

struct IdCase
{
    const char* id;
    const char* port; ///< null: none
    int vlan;         ///< -1: none
};

class InterfaceId : public testing::TestWithParam<IdCase>
{};

} // namespace

TEST_P(InterfaceId, GivesPortAndVlan)
{
    const IdCase& row = GetParam();
    FakeFrameOwner owner;
    dhcpraV6Message message(&owner);
    ASSERT_TRUE(message.load(
        Dhcpv6Frame(relayMessage6(13, 0, {}, linkLocal(1), {option6(18, row.id), option6(9, "m")})).build()));
    std::string id;
    EXPECT_TRUE(message.parseOpt18ForInterfaceId(id));
    EXPECT_EQ(id, row.id);
    std::string port = "untouched";
    EXPECT_EQ(message.parseOpt18ForPort(port), row.port != nullptr) << row.id;
    EXPECT_EQ(port, row.port != nullptr ? row.port : "untouched");
    std::uint16_t vlan = 7777;
    EXPECT_EQ(message.parseOpt18ForVlan(vlan), row.vlan >= 0) << row.id;
    EXPECT_EQ(vlan, row.vlan >= 0 ? row.vlan : 7777);
}

INSTANTIATE_TEST_SUITE_P(
    All, InterfaceId,
    testing::Values(IdCase{"shelf eth 99/3/1/2:100", "1/2", 100},
                    IdCase{"KORVANEL:sh1 eth 3/0/2/5:100", "2/5", 100},
                    IdCase{"sh1 eth 99/3/2/5:100:200", "2/5:100", 200}, // the customer VLAN stands last
                    IdCase{"x:12", nullptr, 12}, IdCase{"x/y:12", nullptr, 12}, IdCase{"/y:12", nullptr, 12},
                    IdCase{"x/y/:", "y/", -1}, IdCase{"x/y/z", nullptr, -1}, IdCase{"a:b/c/d", nullptr, 0},
                    IdCase{"a/:b/c", nullptr, 0}, IdCase{"a/b:9/c", "b", 9}, IdCase{"a/b/c:", "b/c", -1},
                    IdCase{"a/b/c:none", "b/c", 0}, IdCase{"a/b/c:<vid>", "b/c", 0},
                    IdCase{"a/b/c:70000", "b/c", 70000 - 65536}, IdCase{"a/b/c: 12x", "b/c", 12},
                    IdCase{"a/b/c:-1", "b/c", 65535}));

TEST_F(Relay6, AnAbsentInterfaceIdHasNothing)
{
    load(Dhcpv6Frame(relayMessage6(13, 0, {}, linkLocal(1), {option6(9, "m")})));
    std::string text;
    std::uint16_t vlan = 0;
    EXPECT_FALSE(message.parseOpt18ForInterfaceId(text));
    EXPECT_FALSE(message.parseOpt18ForPort(text));
    EXPECT_FALSE(message.parseOpt18ForVlan(vlan));
    EXPECT_NE(owner.text.find("\t parseOpt18ForInterfaceId(): option 18 not found\n"), std::string::npos);
    EXPECT_NE(owner.text.find("\t ':' option18, interfaceId not found\n"), std::string::npos);
}
