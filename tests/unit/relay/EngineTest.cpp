#include "RelayFixture.h"

#include "platform/zobridge.h"
#include "relay/v4/ServerTable.h"

#include <boost/thread/thread.hpp>
#include <cerrno>

// Settings, lifecycle and what management calls ask of the engine.

namespace {

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;

class Engine : public RelayFixture
{
protected:
    /// The pseudo device is there from an earlier run.
    void keepOldDevice()
    {
        ASSERT_EQ(zobridge::mngCreate("br0_dhcp"), 0);
        node->failing(vnode::Operation::createPseudoDevice, EEXIST);
    }
};

} // namespace

TEST_F(Engine, FactorySettings)
{
    engine.setNodeId("n");
    engine.setCircuitIdFormat("x");
    engine.loggingLevelSet(9);
    engine.setServerPerVlan(1, 100, true);
    engine.getVlanById(100, true)->setEnabled(threeStateBool::no);
    engine.getInterfaceById(uplink1)->setMode(interfaceMode::DISABLE);
    ASSERT_TRUE(engine.applyDefaultSettings());

    EXPECT_FALSE(engine.isDraEnabled());
    EXPECT_FALSE(engine.isFullMode());
    EXPECT_TRUE(engine.isInsertOpt82());
    EXPECT_TRUE(engine.isInsertCircuitID());
    EXPECT_FALSE(engine.isInsertRemoteID());
    EXPECT_EQ(engine.getNodeId(), "");
    EXPECT_EQ(engine.getChassisId(), 99);
    EXPECT_EQ(engine.getCircuitIdFormat(), "");
    EXPECT_EQ(engine.getRemoteIdFormat(), "$PORT_REM_ID");
    EXPECT_EQ(engine.loggingLevelGet(), 3);
    EXPECT_EQ(engine.getDefaultServer(), 0U);
    EXPECT_TRUE(engine.getServersPerVlan().empty());
    EXPECT_TRUE(engine.getSettingsPerVlan().empty());
    EXPECT_EQ(engine.getInterfaceById(uplink1)->getMode(), interfaceMode::ENABLE);
    EXPECT_EQ(engine.getInterfaceById(line5)->getMode(), interfaceMode::CLIENTS);
}

TEST_F(Engine, CountersAreSummedOverInterfaces)
{
    engine.getInterfaceById(line5)->incrementCounter(dhcpraTypes::counterDiscover, 100);
    engine.getInterfaceById(line6)->incrementCounter(dhcpraTypes::counterDiscover, 100);
    engine.getInterfaceById(line6)->incrementCounter(dhcpraTypes::counterAck, 0);
    counters_t sum{5, 5};
    engine.getSummedCounters(sum);
    ASSERT_EQ(sum.size(), 19U);
    EXPECT_EQ(sum[dhcpraTypes::counterDiscover], 2U);
    EXPECT_EQ(sum[dhcpraTypes::counterAck], 1U);
    countersPerVlan_t perVlan;
    engine.getSummedCountersPerVlan(perVlan);
    ASSERT_EQ(perVlan.size(), 1U);
    EXPECT_EQ(perVlan.at(100)[dhcpraTypes::counterDiscover], 2U);
}

TEST_F(Engine, StartsStopsAndStartsAgain)
{
    keepOldDevice();
    engine.rpcSetLocalMac(clientMac.data());
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(engine.start());
        ASSERT_TRUE(engine.start()); // runs already
        EXPECT_EQ(engine.getIdentity().localMac, boardMac);
        EXPECT_EQ(node->attached(), "br0_dhcp");
        engine.stop();
        EXPECT_EQ(io->descriptor(), -1);
        EXPECT_TRUE(engine.getInterfaces().empty());
    }
    EXPECT_EQ(io->opened, 2);
    EXPECT_EQ(io->woken, 2);
}

TEST_F(Engine, StartFailsWithoutBridgeOrFilter)
{
    node->failing(vnode::Operation::createPseudoDevice, EEXIST);
    const CapturedLog log;
    node->failing(vnode::Operation::driverOpen, ENOENT, 1);
    EXPECT_FALSE(engine.start());
    node->failing(vnode::Operation::driverIoctl, EINVAL, 1);
    EXPECT_FALSE(engine.start());
    const std::string there = "DHCPRA: Unable to create pseudo device (rv=0).\n";
    EXPECT_EQ(log.text(),
              there + "DHCPRA: Cannot open bridge.\n" + there + "DHCPRA: Cannot attach filter.\n");
    EXPECT_EQ(io->opened, 0);
}

TEST_F(Engine, ANodeWithoutMacIsLoggedAndRuns)
{
    keepOldDevice();
    node->failing(vnode::Operation::networkInfo, EIO);
    const CapturedLog log;
    ASSERT_TRUE(engine.start());
    engine.stop();
    EXPECT_TRUE(log.has(LogImpl::critical, "DHCPRA: Error setting local MAC address!\n"));
    EXPECT_EQ(engine.getIdentity().localMac, test::Mac{});
}

TEST(ServerTable, KeepsPairsOnceAndInOrder)
{
    ServerTable table;
    table.set(20, 100, true);
    table.set(10, 100, true);
    table.set(20, 100, true);
    table.set(20, 200, true);
    table.set(30, 100, false);
    EXPECT_EQ(table.all(), (ServerTable::pairs_t{{10, 100}, {20, 100}, {20, 200}}));
    const auto servers = [&table](std::uint16_t vlan) {
        const auto of = table.serversOf(vlan);
        return std::vector<std::uint32_t>(of.begin(), of.end());
    };
    EXPECT_EQ(servers(100), (std::vector<std::uint32_t>{10, 20}));
    table.set(10, 100, false);
    EXPECT_EQ(servers(100), std::vector<std::uint32_t>{20});
    EXPECT_EQ(servers(200), std::vector<std::uint32_t>{20});
    EXPECT_TRUE(servers(300).empty());
    EXPECT_EQ(table.all().size(), 2U);
}
