#include "RelayFixture.h"

#include "relay/v4/ServerTable.h"

// Settings of the DHCPv4 engine.

using dhcpraTypes::interfaceMode;

using Engine = RelayFixture;

TEST_F(Engine, FactorySettings)
{
    engine.setChassisId(1);
    engine.setFullMode(true);
    engine.setServerPerVlan(1, 100, true);
    engine.getVlanById(100, true)->setEnabled(dhcpraTypes::threeStateBool::no);
    engine.getInterfaceById(uplink1)->setMode(interfaceMode::DISABLE);
    ASSERT_TRUE(engine.applyDefaultSettings());
    EXPECT_FALSE(engine.isDraEnabled() || engine.isFullMode());
    EXPECT_EQ(engine.getChassisId(), 99);
    EXPECT_EQ(engine.getDefaultServer(), 0U);
    EXPECT_TRUE(engine.getServersPerVlan().empty() && engine.getSettingsPerVlan().empty());
    EXPECT_EQ(engine.getInterfaceById(uplink1)->getMode(), interfaceMode::ENABLE);
}

TEST_F(Engine, CountersAreSummedOverInterfaces)
{
    engine.getInterfaceById(line5)->incrementCounter(dhcpraTypes::counterDiscover, 100);
    engine.getInterfaceById(line6)->incrementCounter(dhcpraTypes::counterDiscover, 100);
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
    table.set(10, 100, false);
    EXPECT_EQ(table.all(), (ServerTable::pairs_t{{20, 100}, {20, 200}}));
    EXPECT_EQ(std::ranges::distance(table.serversOf(100)), 1);
    EXPECT_TRUE(table.serversOf(300).empty());
}
