#include "RelayFixtureV6.h"

#include "platform/zobridge.h"

#include <boost/thread/thread.hpp>
#include <cerrno>

// Lifecycle, factory settings and debug switches.

namespace {

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;

class EngineV6 : public RelayFixtureV6
{
protected:
    /// The pseudo device is there from an earlier run.
    void keepOldDevice()
    {
        ASSERT_EQ(zobridge::mngCreate("br0_dhcpv6"), 0);
        node->failing(vnode::Operation::createPseudoDevice, EEXIST);
    }
};

} // namespace

TEST_F(EngineV6, FactorySettings)
{
    engine.setInterfaceIdFormat("x");
    engine.getVlanById(100, true)->setEnabledV6(threeStateBool::no);
    ASSERT_TRUE(engine.applyDefaultSettings());
    EXPECT_FALSE(engine.isDraEnabled());
    EXPECT_FALSE(engine.isInsertRemoteID());
    EXPECT_TRUE(engine.getInterfaceID());
    EXPECT_EQ(engine.getInterfaceIdFormat(), "");
    EXPECT_EQ(engine.getRemoteIdFormat(), "$PORT_REM_ID");
    EXPECT_TRUE(engine.getSettingsPerVlan().empty());
    EXPECT_EQ(interface(uplink).getModeV6(), interfaceMode::ENABLE);
    EXPECT_EQ(interface(uplink).isCircuitTrustedV6(), threeStateBool::yes);
    EXPECT_EQ(interface(line5).getModeV6(), interfaceMode::CLIENTS);
    EXPECT_EQ(interface(line5).isCircuitTrustedV6(), threeStateBool::no);
    EXPECT_EQ(interface(line5).getInterfaceIDV6(), threeStateBool::yes);
}

TEST_F(EngineV6, StartsStopsAndStartsAgain)
{
    keepOldDevice();
    engine.rpcSetLocalMac(clientMac.data());
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(engine.start());
        ASSERT_TRUE(engine.start()); // runs already
        EXPECT_EQ(engine.getIdentity().localMac, boardMac);
        EXPECT_EQ(node->attached(vnode::Filter::dhcpv6), "br0_dhcpv6");
        EXPECT_EQ(node->attached(vnode::Filter::icmpv6), "br0_dhcpv6");
        EXPECT_EQ(node->attached(vnode::Filter::dhcp), "");
        engine.stop();
        EXPECT_EQ(io->descriptor(), -1);
        EXPECT_EQ(engine.getInterfaceById(line5), nullptr);
    }
    EXPECT_EQ(io->opened, 2);
    EXPECT_EQ(io->woken, 2);
}

TEST_F(EngineV6, StartFailsWithoutBridgeOrFilter)
{
    node->failing(vnode::Operation::createPseudoDevice, EEXIST);
    const CapturedLog log;
    node->failing(vnode::Operation::driverOpen, ENOENT, 1);
    EXPECT_FALSE(engine.start());
    node->failing(vnode::Operation::driverIoctl, EINVAL, 1);
    EXPECT_FALSE(engine.start());
    const std::string there = "DHCPRA: Unable to create pseudo device (rv=0).\n";
    EXPECT_EQ(log.text(),
              there + "DHCPRA: Cannot open bridge.\n" + there + "DHCPRA: Cannot attach filter dhcpv6.\n");
    EXPECT_EQ(io->opened, 0);
}

TEST_F(EngineV6, NdpCountersAreSummed)
{
    engine.getInterfaceById(line5)->incrementCounterV6Ndp(dhcpraTypes::counterV6NdpReceived, 100);
    engine.getInterfaceById(uplink)->incrementCounterV6Ndp(dhcpraTypes::counterV6NdpReceived, 200);
    engine.getInterfaceById(uplink)->incrementCounterV6(dhcpraTypes::counterV6TooLong, 200);
    counters_t sum;
    engine.getNdpSummedCounters(sum);
    EXPECT_EQ(sum, (counters_t{2, 0}));
    engine.getSummedCounters(sum);
    EXPECT_EQ(sum.size(), 17U);
    EXPECT_EQ(sum[15], 1U);
    countersPerVlan_t perVlan;
    engine.getNdpSummedCountersPerVlan(perVlan);
    EXPECT_EQ(perVlan, (countersPerVlan_t{{100, {1, 0}}, {200, {1, 0}}}));
}

TEST_F(EngineV6, DebugTextsFollowTheirFlags)
{
    engine.loggingLevelSet(7);
    const CapturedLog log;
    handle(fromClient(1));
    const std::string all = log.text();
    for (const char* text :
         {"[DHCPRA] \t VLAN 100 found in frame", "[DHCPRA] getFrameReaction()",
          "[DHCPRA] \t Opcode: Solicit; Intf: 0/2/5; Mode: CLIENTS;",
          "[DHCPRA] processFrameClientToServerSimplified()",
          "[DHCPRA] \t generated interface id : [sh1 eth 99/3/2/5:100] (20)",
          "[DHCPRA] \t remote id : [] (0), enterprise num : (7731)", "[DHCPRA] Using CID ascii",
          "[DHCPRA] \t Relay-Fwd msg created, udp len=98",
          "[DHCPRA] \t updateCRC, sum=", "[DHCPRA] \t DO: send frame", "[DHCPRA] sendFrame()",
          "[DHCPRA] DUMP BEFORE SEND:", "[DHCPRA] === BEGIN raw socket data ="})
        EXPECT_NE(all.find(text), std::string::npos) << text;
    engine.setDebugFlag(dhcpraTypes::debugFlag::all, false);
    const std::size_t before = log.text().size();
    handle(fromClient(1));
    EXPECT_EQ(log.text().size(), before);
    engine.setDebugFlag(dhcpraTypes::debugFlag::message, true);
    handle(fromClient(1));
    EXPECT_NE(log.text().find("Using CID ascii", before), std::string::npos);
    EXPECT_EQ(log.text().find("getFrameReaction()", before), std::string::npos);
}
