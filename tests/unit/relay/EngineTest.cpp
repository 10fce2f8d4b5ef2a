#include "RelayFixture.h"

#include "relay/v4/ServerTable.h"

// Settings and counters of the DHCPv4 engine.

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;

using Engine = RelayFixture;

TEST_F(Engine, FactorySettings)
{
    engine.setNodeId("n");
    engine.setChassisId(1);
    engine.setCircuitIdFormat("x");
    engine.setFullMode(true);
    engine.loggingLevelSet(9);
    engine.setServerPerVlan(1, 100, true);
    engine.getVlanById(100, true)->setEnabled(threeStateBool::no);
    engine.getInterfaceById(uplink1)->setMode(interfaceMode::DISABLE);
    ASSERT_TRUE(engine.applyDefaultSettings());
    EXPECT_FALSE(engine.isDraEnabled());
    EXPECT_FALSE(engine.isFullMode());
    EXPECT_EQ(engine.getNodeId(), "");
    EXPECT_EQ(engine.getChassisId(), 99);
    EXPECT_EQ(engine.getCircuitIdFormat(), "");
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

TEST(ServerTable, KeepsPairsOnceAndInOrder)
{
    ServerTable table;
    for (const std::uint32_t server : {20, 10, 20})
        table.set(server, 100, true);
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
}
