#include "EntityFixture.h"

namespace {

/// On a board that shows counters at ONU and PON port (deployment option 5).
class CountersAtPon : public EntityFixture
{
protected:
    CountersAtPon() : EntityFixture(std::move(test::NodeBuilder().option(5))) {}

    void SetUp() override
    {
        EntityFixture::SetUp();
        v4(gem).incrementCounter(dhcpraTypes::counterDiscover, 100);
        v4(secondGem).incrementCounter(dhcpraTypes::counterDiscover, 100);
        v4(secondGem).incrementCounter(dhcpraTypes::counterAck, 200);
        v6(gem).incrementCounterV6(dhcpraTypes::counterV6FirstType, 100);
        v6(secondGem).incrementCounterV6Ndp(dhcpraTypes::counterV6NdpReceived, 300);
    }

    std::uint64_t discovers(std::uint32_t id)
    {
        counters_t counters;
        EXPECT_EQ(entity.getAllCounters(id, counters), 0U);
        return counters.at(dhcpraTypes::counterDiscover);
    }
};

TEST_F(CountersAtPon, OnuAndPonPortShowTheSumOfTheirGemPorts)
{
    EXPECT_EQ(discovers(onu), 2U);
    EXPECT_EQ(discovers(pon), 2U);
    EXPECT_EQ(discovers(gem), 1U);
    EXPECT_EQ(discovers(line), 0U);

    counters_t counters;
    EXPECT_EQ(entity.getDra6AllCounters(pon, counters), 0U);
    EXPECT_EQ(counters.at(dhcpraTypes::counterV6FirstType), 1U);
    EXPECT_EQ(entity.getDra6NdpAllCounters(onu, counters), 0U);
    EXPECT_EQ(counters, (counters_t{1, 0}));

    countersPerVlan_t perVlan;
    EXPECT_EQ(entity.getCountersPerVlan(pon, perVlan), 0U);
    ASSERT_EQ(perVlan.size(), 2U);
    EXPECT_EQ(perVlan.at(100).at(dhcpraTypes::counterDiscover), 2U);
    EXPECT_EQ(perVlan.at(200).at(dhcpraTypes::counterAck), 1U);
    EXPECT_EQ(entity.getDra6NdpCountersPerVlan(pon, perVlan), 0U);
    EXPECT_EQ(perVlan.at(300), (counters_t{1, 0}));
}

TEST_F(CountersAtPon, MissingInterfacesAndAFailingRegistryAnswerOne)
{
    counters_t counters;
    EXPECT_EQ(entity.getAllCounters(unknown, counters), refused);
    // A GEM port that the registry knows and the engine does not: the sum ends there.
    Interfaces::Interface late;
    late.id = 24;
    late.name = "0/4/1/3";
    late.type = Interfaces::interfaceType::gem;
    late.parentId = onu;
    ASSERT_EQ(Interfaces::interfaceMapAdd(late), 0);
    EXPECT_EQ(entity.getAllCounters(onu, counters), refused);
    EXPECT_EQ(counters.at(dhcpraTypes::counterDiscover), 2U);

    node->failing(vnode::Operation::registryRead, EIO);
    EXPECT_EQ(entity.getAllCounters(onu, counters), refused);
    EXPECT_EQ(counters, counters_t(19));
}

using CountersAtGem = EntityFixture;

TEST_F(CountersAtGem, WithoutTheOptionEveryInterfaceShowsItsOwn)
{
    v4(gem).incrementCounter(dhcpraTypes::counterDiscover, 100);
    counters_t counters;
    EXPECT_EQ(entity.getAllCounters(onu, counters), 0U);
    EXPECT_EQ(counters, counters_t(19));
    EXPECT_EQ(entity.getAllCounters(gem, counters), 0U);
    EXPECT_EQ(counters.at(dhcpraTypes::counterDiscover), 1U);
    EXPECT_EQ(entity.getAllCounters(unknown, counters), refused);
}

} // namespace
