#include "RelayFixture.h"

// Simplified mode, byte for byte: what leaves is built by hand from the protocol's side.

namespace {

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;
using test::discover;
using test::offer;
using test::request;

class SimplifiedMode : public RelayFixture
{};

} // namespace

TEST_F(SimplifiedMode, ADiscoverGoesToEveryUplinkWithOption82)
{
    handle(fromClient(discover()).pad(2));
    const auto onWire = fromClient(discover()).pad(2).option82(line5Vlan100);
    ASSERT_EQ(sent().size(), 2U);
    EXPECT_EQ(sent()[0], test::DhcpFrame(onWire).outputIndex(uplink1).build());
    EXPECT_EQ(sent()[1], test::DhcpFrame(onWire).outputIndex(uplink2).build());
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscover), 1U);
    EXPECT_EQ(engine.clientTable().all().size(), 1U);
    EXPECT_TRUE(toServers().empty());
}

TEST_F(SimplifiedMode, RemoteIdAndCustomFormatsGoIn)
{
    engine.setInsertRemoteID(true);
    ASSERT_TRUE(engine.getInterfaceById(line5)->setRemoteID("customer 42"));
    handle(fromClient(discover()));
    ASSERT_EQ(sent().size(), 2U);
    const test::ParsedDhcpFrame out(sent()[0]);
    EXPECT_EQ(out.subOption82(1), line5Vlan100);
    EXPECT_EQ(out.subOption82(2), "customer 42");
}

TEST_F(SimplifiedMode, TrustedUnicastIsFloodedToTheBroadcastMacAndKeepsItsIp)
{
    engine.setUnicastExtension(true);
    engine.setCircuitTrusted(true);
    const auto renewal =
        fromClient(request()).unicast(serverMac, test::ip(10, 1, 0, 50), serverIp).option82("lower relay");
    handle(renewal);
    ASSERT_EQ(sent().size(), 2U);
    EXPECT_EQ(sent()[1], test::DhcpFrame(renewal).to(test::broadcastMac).outputIndex(uplink2).build());
}

TEST_F(SimplifiedMode, RewritesOption82WhenUnicastComesWithBoth)
{
    engine.setUnicastExtension(true);
    const auto renewal = fromClient(request())
                             .unicast(serverMac, test::ip(10, 1, 0, 50), serverIp)
                             .giaddr(test::ip(10, 9, 9, 9));
    handle(test::DhcpFrame(renewal).option82("old"));
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(sent()[0], test::DhcpFrame(renewal).option82(line5Vlan100).build());
}

TEST_F(SimplifiedMode, RequestsToTheClientPortAreDiscardedAndCountedByVlan)
{
    handle(fromClient(discover()).ports(68, 68));
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscardInvalid), 1U);
    EXPECT_EQ(engine.getInterfaceById(line5)->getCountersPerVlan().at(100)[dhcpraTypes::counterDiscover], 1U);
}

// Only the byte-reversed address meets the test for the node's own giaddr, and only on a trusted line.
TEST_F(SimplifiedMode, OwnGiaddrIsTakenByteReversed)
{
    const std::uint32_t reversed = test::ip(1, 0, 0, 10);
    handle(fromClient(discover()).giaddr(reversed));
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscardGiaddr), 1U);
    engine.setCircuitTrusted(true);
    handle(fromClient(discover()).giaddr(reversed));
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscardOther), 1U);
    handle(fromClient(discover()).giaddr(boardIp));
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscardGiaddr), 2U);
}

TEST_F(SimplifiedMode, ServersModeIsFloodedToButTheSourceIsNot)
{
    engine.getInterfaceById(uplink1)->setMode(interfaceMode::CLIENTS);
    engine.getInterfaceById(uplink2)->setMode(interfaceMode::SERVERS);
    engine.getInterfaceById(line5)->setMode(interfaceMode::ENABLE);
    handle(fromClient(discover()));
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(test::ParsedDhcpFrame(sent()[0]).outputIndex, uplink2);

    engine.getInterfaceById(uplink2)->setMode(interfaceMode::DISABLE);
    handle(fromClient(discover()));
    EXPECT_EQ(sent().size(), 1U);
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscardOther), 1U);
}

TEST_F(SimplifiedMode, WithoutRoomTheFrameGoesOnWithoutOption82)
{
    // 1,470 bytes of frame leave no room for 4 + 28 + 2 below 1,500.
    const auto tight = fromClient(discover()).dhcpSize(1470 - 18 - 28);
    handle(tight);
    ASSERT_EQ(sent().size(), 2U);
    EXPECT_EQ(sent()[0], test::DhcpFrame(tight).outputIndex(uplink1).build());
    EXPECT_EQ(counter(line5, dhcpraTypes::counterOpt82NoRoom), 1U);
}

TEST_F(SimplifiedMode, InsertionSwitchedOffAtTheVlanBeatsTheInterface)
{
    engine.getInterfaceById(line5)->setInsertOpt82(threeStateBool::yes);
    engine.getVlanById(100, true)->setInsertOpt82(threeStateBool::no);
    handle(fromClient(discover()));
    ASSERT_EQ(sent().size(), 2U);
    EXPECT_EQ(sent()[0], fromClient(discover()).outputIndex(uplink1).build());
}

TEST_F(SimplifiedMode, TheIdOfOneFrameDoesNotLeakIntoTheNext)
{
    handle(fromClient(discover()));
    engine.setInsertCircuitID(false);
    handle(fromClient(discover()));
    EXPECT_EQ(test::ParsedDhcpFrame(sent().at(2)).option(82), std::nullopt);
}

TEST_F(SimplifiedMode, TheBroadcastFlagIsHeard)
{
    handle(fromServer(offer()).broadcastFlag().option82(line5Vlan100));
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(sent()[0], leavingOn(fromServer(offer())
                                       .broadcastFlag()
                                       .to(test::broadcastMac)
                                       .destinationIp(test::ip(255, 255, 255, 255)),
                                   "if7"));
}

// Another VLAN, slot or shelf than this node writes: the choice is left to the bridge.
TEST_F(SimplifiedMode, AForeignCircuitIdSteersNothing)
{
    for (const char* id : {"KORVANEL:sh1 eth 3/0/2/5:101", "KORVANEL:sh2 eth 3/0/2/5:100", "nonsense"})
        handle(fromServer(offer()).option82(id));
    handle(fromServer(offer()));
    ASSERT_EQ(sent().size(), 4U);
    for (const test::Bytes& out : sent())
        EXPECT_EQ(out, fromServer(offer()).build());
}

TEST_F(SimplifiedMode, KeepsOption82WhenToldByVlanInterfaceOrGlobally)
{
    const auto reply = fromServer(offer()).option82(line5Vlan100);
    engine.setKeepOpt82(true);
    handle(reply);
    engine.getInterfaceById(line5)->setKeepOpt82(threeStateBool::no);
    handle(reply);
    engine.getVlanById(100, true)->setKeepOpt82(threeStateBool::yes);
    handle(reply);
    ASSERT_EQ(sent().size(), 3U);
    EXPECT_EQ(sent()[0], leavingOn(reply, "if7"));
    EXPECT_EQ(sent()[1], leavingOn(fromServer(offer()), "if7"));
    EXPECT_EQ(sent()[2], leavingOn(reply, "if7"));
}

TEST_F(SimplifiedMode, RepliesToTheServerPortOrFromTheOwnGiaddrAreDiscarded)
{
    handle(fromServer(offer()).ports(67, 67));
    handle(fromServer(offer()).giaddr(test::ip(1, 0, 0, 10)));
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(counter(uplink1, dhcpraTypes::counterDiscardInvalid), 1U);
    EXPECT_EQ(counter(uplink1, dhcpraTypes::counterDiscardOther), 1U);
}

TEST_F(SimplifiedMode, AnExchangeLeavesItsHistory)
{
    handle(fromClient(discover()));
    handle(fromServer(offer()).option82(line5Vlan100));
    EXPECT_TRUE(engine.clientTable().all().empty());
    handle(fromClient(request()));
    handle(fromServer(test::ack())); // steered by nothing, yet of this client's history
    std::string history;
    engine.clientHistory().copy().forEach(
        [&](const dhcprLocalClientInfo_t& entry) { history += entry.messageSeq; });
    EXPECT_EQ(history, "DISCOVER->OFFER->REQUEST->ACK");
}
