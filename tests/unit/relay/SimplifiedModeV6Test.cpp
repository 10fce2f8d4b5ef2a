#include "RelayFixtureV6.h"

// What the two paths make of a frame, to the byte.

namespace {

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;
using test::Bytes;
using test::linkLocal;
using test::message6;
using test::option6;
using test::relayMessage6;

class SimplifiedModeV6 : public RelayFixtureV6
{
protected:
    /// The relay-forward of fromClient() with these options behind option 9.
    [[nodiscard]] static Bytes forwardOf(std::uint8_t type, std::vector<Bytes> options)
    {
        options.insert(options.begin(), option6(9, messageFromClient(type)));
        return relayMessage6(12, 0, {}, linkLocal(0x11), options);
    }
    void expectSent(const test::Dhcpv6Frame& frame)
    {
        ASSERT_EQ(sent().size(), 1U);
        EXPECT_EQ(sent()[0], frame.build());
        io->written.clear();
    }
    /// What reaches the client of fromServer()'s message.
    [[nodiscard]] static test::Dhcpv6Frame delivered(const Bytes& message)
    {
        return fromServer({}).message(message).ports(547, 546).summedByTheNode();
    }
};

} // namespace

TEST_F(SimplifiedModeV6, WrapsAndLeavesAddressesAndPorts)
{
    handle(fromClient(1));
    expectSent(fromClient(1).message(forwardOf(1, {option6(18, "sh1 eth 99/3/2/5:100")})).summedByTheNode());
    // An odd length has another sum than RFC 768 says.
    engine.setShelfId("sh22");
    handle(fromClient(1));
    expectSent(fromClient(1).message(forwardOf(1, {option6(18, "sh22 eth 99/3/2/5:100")})).summedByTheNode());
    // The vendor form where the global switch or the interface says no.
    engine.setInterfaceID(false);
    handle(fromClient(3));
    expectSent(fromClient(3)
                   .message(forwardOf(3, {option6(18, "KORVANEL:sh22 eth 3/0/2/5:100")}))
                   .summedByTheNode());
}

TEST_F(SimplifiedModeV6, ARemoteIdAddsOption37AndItsTail)
{
    dhcpraInterface& line = *engine.getInterfaceById(line5);
    ASSERT_TRUE(line.setRemoteIdValV6("rid7"));
    ASSERT_TRUE(line.setRemoteIdValPerVlanV6("never in frames", 100));
    const auto expected = [&](std::uint32_t enterprise) {
        Bytes value{static_cast<std::uint8_t>(enterprise >> 24), static_cast<std::uint8_t>(enterprise >> 16),
                    static_cast<std::uint8_t>(enterprise >> 8), static_cast<std::uint8_t>(enterprise)};
        value.insert(value.end(), {'r', 'i', 'd', '7'});
        const Bytes relayed = forwardOf(1, {option6(18, "sh1 eth 99/3/2/5:100"), option6(37, value)});
        const std::size_t tail = relayed.size() - 12;
        return fromClient(1).message(relayed).summedByTheNode().ethernetPadding(tail).fullSize(
            static_cast<std::uint32_t>(107 + 18 + 48 + relayed.size() + tail));
    };
    handle(fromClient(1));
    expectSent(expected(7731));
    ASSERT_TRUE(line.setEnterpriseNumPerVlanV6(0x01020304, 100));
    handle(fromClient(1));
    expectSent(expected(0x01020304));
    ASSERT_TRUE(line.setEnterpriseNumPerVlanV6(0, 100)); // back to the interface's
    line.setEnterpriseNumV6(9);
    engine.setInsertRemoteID(false); // nobody asks
    handle(fromClient(1));
    expectSent(expected(9));
}

TEST_F(SimplifiedModeV6, CustomIdsAsTextBinaryAndNone)
{
    dhcpraInterface& line = *engine.getInterfaceById(line5);
    ASSERT_TRUE(line.setInterfaceIdModeV6(100, dhcpraInterface::DHCPRA_INTF_IIDMODE_CUSTOM));
    const std::pair<const char*, std::vector<Bytes>> cases[] = {
        {"", {}}, // no format anywhere: no option 18
        {"v$VLAN m$CLNT_MAC", {option6(18, "v100 m02:00:00:00:00:11")}},
        {"$00FFa5HEX", {option6(18, Bytes{0, 0xFF, 0xA5})}}};
    for (const auto& [format, options] : cases) {
        ASSERT_TRUE(line.setInterfaceIdFormatV6(100, format));
        handle(fromClient(1));
        expectSent(fromClient(1).message(forwardOf(1, options)).summedByTheNode());
    }
}

TEST_F(SimplifiedModeV6, ALowerRelaysMessageIsNotWrappedAgain)
{
    engine.getInterfaceById(line5)->setCircuitTrustedV6(threeStateBool::yes);
    const auto lower = [](std::uint8_t hops) {
        return fromClient(1)
            .message(relayMessage6(12, hops, linkLocal(7), linkLocal(8), {option6(9, messageFromClient(1))}))
            .ports(547, 547);
    };
    handle(lower(3));
    expectSent(lower(4).summedByTheNode());
    handle(lower(255));
    expectSent(lower(0).summedByTheNode());
}

TEST_F(SimplifiedModeV6, TooLongMessagesAreCounted)
{
    const auto sized = [](std::size_t size) {
        Bytes message = message6(1);
        message.resize(size);
        return fromClient(1).message(message);
    };
    constexpr std::size_t tooLong = 15;
    // 48 + 38 + n + 4 + 20 < 1500
    expectDiscarded(sized(1390), line5, tooLong);
    handle(sized(1389));
    EXPECT_EQ(sent().size(), 1U);
    ASSERT_TRUE(engine.getInterfaceById(line5)->setRemoteIdValV6("r"));
    expectDiscarded(sized(1389), line5, tooLong);
    // What the UDP length claims counts; what has lost its end is no message any more.
    expectDiscarded(fromClient(1).udpLength(1480), line5, tooLong);
    expectDiscarded(fromClient(1).udpLength(1000), line5, dhcpraTypes::counterV6DiscardReaction);
}

TEST_F(SimplifiedModeV6, ServersAnswersGoToThePortOfTheInterfaceId)
{
    const Bytes advertise = messageFromServer(2);
    handle(fromServer({option6(9, advertise), option6(18, "sh1 eth 99/3/6:100")}));
    expectSent(delivered(advertise).outputIndex(named)); // the Ethernet destination stays

    // The name "0/2/5" does not come back from its own id; neither does an id that is not exactly ours.
    for (const char* id : {"sh1 eth 99/3/2/5:100", "sh1 eth 99/3/6:101", "else eth 99/3/6:100",
                           "sh1 eth 99/3/6:100 ", "3/6", ""}) {
        handle(fromServer({option6(18, id), option6(9, advertise)}).to(test::macOf(0x77)));
        expectSent(delivered(advertise).outputIndex(0));
    }
}

TEST_F(SimplifiedModeV6, TheClientsOwnMacServesWhereThereIsNoPort)
{
    const Bytes reply = message6(7, {test::clientIdLl(test::macOf(0x42)), option6(2, Bytes(14, 2))});
    handle(fromServer({option6(9, reply)}).destination(linkLocal(0x55)));
    expectSent(delivered(reply).to(test::macOf(0x42)).outputIndex(0));
    // One level: the reply of a lower relay has no client identifier on top.
    const Bytes lower = relayMessage6(13, 0, {}, linkLocal(9), {option6(9, reply)});
    constexpr std::size_t wrong = 13;
    expectDiscarded(fromServer({option6(9, lower)}), uplink, wrong);
    expectDiscarded(fromServer({option6(9, message6(7, {option6(1, Bytes{0, 2, 0, 0, 1, 2})}))}), uplink,
                    wrong);
    io->written.clear();
    handle(fromServer({option6(18, "sh1 eth 99/3/6:100"), option6(9, lower)}));
    expectSent(delivered(lower).outputIndex(named));
}

TEST_F(SimplifiedModeV6, WrongReliesAreCounted)
{
    constexpr std::size_t wrong = 13;
    expectDiscarded(fromServer({option6(18, "sh1 eth 99/3/6:100")}), uplink, wrong);
    expectDiscarded(fromServer({Bytes{0, 9, 0, 99, 1, 2}}), uplink, wrong);
    expectDiscarded(fromServer({Bytes{0, 9, 0xFF, 0xFF, 1, 2}}), uplink, wrong);
    // Mode ENABLE decides by the side: a client's message from the network is no relay-reply.
    expectDiscarded(fromClient(1).on(uplink), uplink, wrong);
    // The same mode on a line wraps, whatever the port.
    engine.getInterfaceById(line5)->setModeV6(interfaceMode::ENABLE);
    handle(fromClient(2).ports(546, 546));
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(sent()[0].at(107 + 18 + 48), 12);
}

TEST_F(SimplifiedModeV6, DiscardsCountOnTheVlanFoundInTheInterfaceId)
{
    handle(fromServer({option6(18, "x/y/z:200"), option6(9, message6(7))}).recordTags(1, 0x0FFF));
    const auto& perVlan = interface(uplink).getCountersPerVlanV6();
    EXPECT_EQ(perVlan.at(1)[12], 1U);
    EXPECT_EQ(perVlan.at(200)[13], 1U);
    EXPECT_FALSE(perVlan.contains(100));
}
