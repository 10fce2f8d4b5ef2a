#include "RelayFixture.h"

#include "relay/model/VlanBitmap.h"

#include <cerrno>

// Full mode, byte for byte.

namespace {

using dhcpraTypes::threeStateBool;
using test::discover;
using test::offer;
using test::request;

class FullMode : public RelayFixture
{
protected:
    void SetUp() override
    {
        RelayFixture::SetUp();
        engine.setFullMode(true);
    }

    /// What leaves towards the client for an answer: port 68, the board's giaddr still in it.
    [[nodiscard]] static test::DhcpFrame towardsClient(test::DhcpFrame reply)
    {
        return reply.ports(67, 68).to(clientMac).destinationIp(test::ip(10, 1, 0, 50));
    }
    void expectDiscarded(std::uint32_t interfaceId, dhcpraTypes::counterId id, std::uint64_t times)
    {
        EXPECT_TRUE(sent().empty());
        EXPECT_TRUE(toServers().empty());
        EXPECT_EQ(counter(interfaceId, id), times);
    }
};

} // namespace

TEST_F(FullMode, ADiscoverGoesToTheDefaultServerAsTheRelaysOwn)
{
    handle(fromClient(discover()));
    EXPECT_TRUE(sent().empty());
    ASSERT_EQ(toServers().size(), 1U);
    EXPECT_EQ(toServers()[0].server, serverIp);
    EXPECT_EQ(toServers()[0].payload,
              payloadOf(fromClient(discover()).giaddr(boardIp).hops(1).option82(line5Vlan100)));
    EXPECT_EQ(udp->openSockets, 0);
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscover), 1U);
}

TEST_F(FullMode, EveryServerOfTheVlanGetsItAndNobodyElse)
{
    const std::uint32_t low = test::ip(192, 0, 2, 1);
    const std::uint32_t high = test::ip(192, 0, 2, 200);
    engine.setServerPerVlan(high, 100, true);
    engine.setServerPerVlan(low, 100, true);
    engine.setServerPerVlan(test::ip(192, 0, 2, 77), 200, true);
    handle(fromClient(discover()));
    handle(discover().on(line5).vlan(300).from(clientMac)); // no server of its own
    std::vector<std::uint32_t> servers;
    for (const auto& datagram : toServers())
        servers.push_back(datagram.server);
    EXPECT_EQ(servers, (std::vector<std::uint32_t>{low, high, serverIp}));
}

TEST_F(FullMode, TheDefaultServerHelpsOutWhenNoneOfTheVlanCanBeSentTo)
{
    engine.setServerPerVlan(test::ip(192, 0, 2, 1), 100, true);
    udp->opens = false;
    const CapturedLog log;
    handle(fromClient(discover()));
    EXPECT_EQ(log.text(), "DHCPRA: dhcpraImpl::sendToDHCPServer(): cannot create a socket.\n"
                          "DHCPRA: dhcpraImpl::sendToDHCPServer(): cannot create a socket.\n");
}

TEST_F(FullMode, WithoutInsertionGiaddrIsSetAllTheSame)
{
    engine.setInsertOpt82(false);
    handle(fromClient(discover()));
    ASSERT_EQ(toServers().size(), 1U);
    EXPECT_EQ(toServers()[0].payload, payloadOf(fromClient(discover()).giaddr(boardIp).hops(1)));
}

TEST_F(FullMode, FifteenHopsPassAndSixteenDoNot)
{
    handle(fromClient(discover()).hops(15));
    ASSERT_EQ(toServers().size(), 1U);
    EXPECT_EQ(toServers()[0].payload.at(3), 16);
    handle(fromClient(discover()).hops(16));
    EXPECT_EQ(toServers().size(), 1U);
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscardInvalid), 1U);
}

TEST_F(FullMode, TheReplyFindsItsClientByTheTransaction)
{
    handle(fromClient(discover()));
    handle(toBoard(offer()).option82(line5Vlan100));
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(sent()[0], towardsClient(toBoard(offer())).outputIndex(line5).build());
    EXPECT_TRUE(engine.clientTable().all().empty());
}

TEST_F(FullMode, TagsOfTheRequestComeBack)
{
    handle(discover().on(line5).vlan(100, 0, 0x88A8).cvlan(7).from(clientMac));
    // The server's side has one tag of another VLAN.
    handle(toBoard(offer(), 200, 5).broadcastFlag());
    ASSERT_EQ(sent().size(), 1U);
    const test::ParsedDhcpFrame out(sent()[0]);
    EXPECT_EQ(out.tags,
              (std::vector<std::pair<std::uint16_t, std::uint16_t>>{{0x88A8, 5 << 13 | 100}, {0x8100, 7}}));
    EXPECT_EQ(out.recordOuter & 0xFFF, 100);
    EXPECT_EQ(out.recordInner & 0xFFF, 7);
    EXPECT_EQ(out.outputIndex, line5);
    EXPECT_EQ(out.destination, test::broadcastMac);
    EXPECT_EQ(out.destinationIp, 0xFFFFFFFFU);
    EXPECT_TRUE(out.ipSumRight && out.udpSumRight);
}

TEST_F(FullMode, WithoutEntryOption82TellsLineAndVlan)
{
    // The generated id carries the VLAN of the reply's own tag, so only a reply in the client's VLAN matches.
    handle(toBoard(offer()).option82(line5Vlan100));
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(sent()[0], towardsClient(toBoard(offer())).outputIndex(line5).build());

    // A circuit id that is not the one this node writes still tells the VLAN, be it 4095, but no port.
    for (const std::uint16_t vlan : {std::uint16_t{300}, std::uint16_t{4095}}) {
        handle(toBoard(offer()).option82("KORVANEL:other eth 3/0/2/5:" + std::to_string(vlan)));
        const test::ParsedDhcpFrame out(sent().back());
        EXPECT_EQ(out.outputIndex, 0);
        EXPECT_EQ(out.recordOuter, vlan);
        EXPECT_EQ(out.tags.at(0).second, vlan);
    }
}

TEST_F(FullMode, WithoutEntryTheReplyNeedsAnIdWithVlanOrPort)
{
    handle(toBoard(offer()));
    handle(toBoard(offer()).option82("no colon in it"));
    expectDiscarded(uplink1, dhcpraTypes::counterDiscardInvalid, 2);
}

TEST_F(FullMode, OnlyRepliesForTheBoardAreRelayed)
{
    const auto foreign = toBoard(offer()).to(clientMac).destinationIp(test::ip(10, 1, 0, 50));
    handle(foreign); // neither address: somebody else's, goes on untouched
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(sent()[0], foreign.build());

    handle(toBoard(offer()).to(clientMac));
    handle(toBoard(offer()).destinationIp(test::ip(10, 1, 0, 50)));
    handle(toBoard(offer()).giaddr(test::ip(10, 0, 0, 2)));
    handle(toBoard(offer()).ports(67, 68));
    EXPECT_EQ(sent().size(), 1U);
    EXPECT_EQ(counter(uplink1, dhcpraTypes::counterDiscardInvalid), 4U);
}

TEST_F(FullMode, KeepingFollowsTheVlanOfTheClient)
{
    handle(fromClient(discover()));
    engine.getVlanById(100, true)->setKeepOpt82(threeStateBool::yes);
    const auto reply = toBoard(offer()).option82("anything");
    handle(reply);
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(sent()[0], towardsClient(reply).outputIndex(line5).build());
}

TEST_F(FullMode, AServersBroadcastPassesUntouched)
{
    const auto broadcast =
        fromServer(offer()).to(test::broadcastMac).destinationIp(test::ip(255, 255, 255, 255));
    handle(broadcast);
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(sent()[0], broadcast.build());
}

TEST_F(FullMode, AStoredInterfaceThatIsGoneLeavesTheChoiceToTheBridge)
{
    handle(fromClient(discover()));
    std::map<std::uint32_t, dhcpraImpl::settings_t::interfaceSettings_t> settings;
    settings[uplink1].mode = dhcpraTypes::interfaceMode::ENABLE;
    // The registry still lists the line, but this engine is told anew without it by way of a node without it.
    node.reset();
    node = test::NodeBuilder().eth(uplink1, "0/1").use();
    engine.addInterfaces(settings);
    handle(toBoard(offer()));
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(test::ParsedDhcpFrame(sent()[0]).outputIndex, 0);
}

// A PVC's circuit id carries no VLAN: the bridge knows where it has learnt the client.
class FullModePvc : public FullMode
{
protected:
    static constexpr std::uint32_t pvc = 20;

    void SetUp() override
    {
        node.reset();
        node = test::NodeBuilder()
                   .slot(3)
                   .mac(boardMac)
                   .vlan(100)
                   .vlan(200)
                   .eth(uplink1, "0/1")
                   .subscriber(19, "0/4")
                   .interface(pvc, Interfaces::interfaceType::pvc, "0/4.1", 19)
                   .access("sub20", pvc, 200)
                   .use();
        FullMode::SetUp();
        engine.getInterfaceById(pvc)->setCircuitIdMode(dhcpraInterface::DHCPRA_INTF_CIRMODE_ATM);
        ASSERT_TRUE(engine.setCircuitIdModeATMParams(pvc, 19, 8, 35));
    }
    [[nodiscard]] static test::DhcpFrame reply()
    {
        return toBoard(offer()).option82("KORVANEL:sh1 atm 3/4:8.35");
    }
    void learnClient()
    {
        static_cast<void>(node->receive("sub20", discover().from(clientMac).ethernetFrame()));
    }
};

// Whose setting has no say in whether option 82 is kept.
TEST_F(FullModePvc, TakesTheVlanFromTheMacTable)
{
    learnClient();
    engine.getVlanById(200, true)->setKeepOpt82(threeStateBool::yes);
    handle(reply());
    ASSERT_EQ(sent().size(), 1U);
    const test::ParsedDhcpFrame out(sent()[0]);
    EXPECT_EQ(out.outputIndex, pvc);
    EXPECT_EQ(out.recordOuter, 200);
    EXPECT_EQ(out.tags.at(0).second, 200);
    EXPECT_EQ(out.option(82), std::nullopt);
}

TEST_F(FullModePvc, IsDiscardedWhenTheMacTableDoesNotTell)
{
    handle(reply());
    learnClient();
    node->failing(vnode::Operation::macTableRead, EIO);
    handle(reply());
    expectDiscarded(uplink1, dhcpraTypes::counterDiscardInvalid, 2);
}

TEST(VlanBitmap, FindsTheLowestVlan)
{
    zomacTableVlanBitmap bitmap{};
    const auto next = [&bitmap](std::uint16_t from) {
        std::uint16_t vlan = 9; // stays where there is none
        return std::pair(getNextVlan(bitmap, from, &vlan), vlan);
    };
    EXPECT_EQ(next(0), std::pair(false, std::uint16_t{9}));
    bitmap[127] = 1;        // VLAN 4095
    bitmap[3] = 0x08000000; // VLAN 100
    EXPECT_EQ(next(100), std::pair(true, std::uint16_t{100}));
    EXPECT_EQ(next(101), std::pair(true, std::uint16_t{4095}));
    bitmap[0] = 0x80000000; // VLAN 0
    EXPECT_EQ(next(0), std::pair(true, std::uint16_t{0}));
}
