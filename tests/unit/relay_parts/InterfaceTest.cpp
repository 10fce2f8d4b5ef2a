#include "relay/model/dhcpraInterface.h"
#include "support/CapturedLog.h"

#include <gtest/gtest.h>

namespace {

using dhcpraTypes::interfaceMode;

class InterfaceTest : public testing::Test
{
protected:
    dhcpraInterface interface {
        1, "0/1", "eth1", Interfaces::interfaceType::subscriber
    };
};

TEST_F(InterfaceTest, RemoteIdHasAtMost63Characters)
{
    const std::string longest(63, 'r');
    EXPECT_TRUE(interface.setRemoteID(longest) && interface.setRemoteID(longest, 100) &&
                interface.setRemoteIdValV6(longest));
    EXPECT_FALSE(interface.setRemoteID(longest + "r") || interface.setRemoteID(longest + "r", 100) ||
                 interface.setRemoteIdValV6(longest + "r") ||
                 interface.setRemoteIdValPerVlanV6(longest + "r", 100));
    EXPECT_EQ(interface.getRemoteID(), longest);
    EXPECT_TRUE(interface.getRemoteIdValMapV6().empty());
}

TEST_F(InterfaceTest, WhatIsSetForAVlanComesBeforeWhatIsSetForTheInterface)
{
    ASSERT_TRUE(interface.setRemoteID("port") && interface.setRemoteID("vlan", 100));
    EXPECT_EQ(interface.getRemoteID(100) + interface.getRemoteID(101), "vlanport");
    EXPECT_TRUE(interface.setRemoteID("", 100));
    EXPECT_EQ(interface.getRemoteID(100), "port");
    EXPECT_TRUE(interface.getRemoteIDMap().empty());
    EXPECT_FALSE(interface.setRemoteID("vlan", 0x2FFF) || interface.setRemoteID("", 4095) ||
                 interface.setEnterpriseNumPerVlanV6(1, 4095));
}

TEST_F(InterfaceTest, AnswersTheMembersOfAVlansRecordAndNothingWithoutOne)
{
    auto mode = dhcpraInterface::DHCPRA_INTF_CIRMODE_ATM;
    auto modeV6 = dhcpraInterface::DHCPRA_INTF_IIDMODE_NONE;
    std::string id = "as before", remote = id, idV6 = id, remoteV6 = id;
    const auto answers = [&] {
        return interface.getCircuitIdMode(5, mode) + interface.getCircuitIdFormat(5, id) +
               interface.getRemoteIdFormat(5, remote) + interface.getInterfaceIdModeV6(5, modeV6) +
               interface.getInterfaceIdFormatV6(5, idV6) + interface.getRemoteIdFormatV6(5, remoteV6);
    };
    EXPECT_EQ(answers(), 0);
    EXPECT_EQ(id + remote + idV6 + remoteV6, "as beforeas beforeas beforeas before");
    ASSERT_TRUE(interface.setCircuitIdFormat(5, "a") && interface.setRemoteIdFormat(5, "b") &&
                interface.setInterfaceIdModeV6(5, dhcpraInterface::DHCPRA_INTF_IIDMODE_CUSTOM) &&
                interface.setInterfaceIdFormatV6(5, "c") && interface.setRemoteIdFormatV6(5, "d"));
    EXPECT_EQ(answers(), 6);
    EXPECT_EQ(mode, dhcpraInterface::DHCPRA_INTF_CIRMODE_NONE);
    EXPECT_EQ(modeV6, dhcpraInterface::DHCPRA_INTF_IIDMODE_CUSTOM);
    EXPECT_EQ(id + remote + idV6 + remoteV6, "abcd");
}

TEST_F(InterfaceTest, ModeOutOfRangeIsLoggedAndRefused)
{
    const CapturedLog log;
    interface.setMode(interfaceMode::ENABLE);
    interface.setModeV6(interfaceMode::SERVERS);
    EXPECT_TRUE(log.lines().empty());
    for (const int number : {4, 100, -1}) {
        interface.setMode(static_cast<interfaceMode>(number));
        interface.setModeV6(static_cast<interfaceMode>(number));
    }
    EXPECT_EQ(interface.getMode(), interfaceMode::ENABLE);
    EXPECT_EQ(interface.getModeV6(), interfaceMode::SERVERS);
    EXPECT_EQ(log.lines().size(), 6U);
    EXPECT_TRUE(
        log.has(LogImpl::critical, "New <interface mode> value is out of range. Old value remains.\n"));
}

TEST_F(InterfaceTest, CountsInAllAndForEachRealVlan)
{
    for (const std::uint16_t vid : std::initializer_list<std::uint16_t>{0, 1, 4094, 4095, 4096, 0xFFFF, 1})
        interface.incrementCounter(dhcpraTypes::counterRequest, vid);
    interface.incrementCounterV6(dhcpraTypes::counterV6UnknownInterface, 7);
    interface.incrementCounterV6Ndp(dhcpraTypes::counterV6NdpDropped, 7);
    const auto only = [](std::size_t size, std::size_t id, std::uint64_t value) {
        counters_t counters(size);
        counters[id] = value;
        return counters;
    };
    EXPECT_EQ(interface.getAllCounters(), only(19, 1, 7));
    EXPECT_EQ(interface.getCountersPerVlan(),
              (countersPerVlan_t{{1, only(19, 1, 2)}, {4094, only(19, 1, 1)}}));
    EXPECT_EQ(interface.getCountersPerVlanV6(), (countersPerVlan_t{{7, only(17, 16, 1)}}));
    EXPECT_EQ(interface.getCountersPerVlanV6Ndp(), (countersPerVlan_t{{7, {0, 1}}}));

    interface.resetCounters();
    EXPECT_EQ(interface.getAllCounters(), counters_t(19));
    EXPECT_EQ(interface.getAllCountersV6Ndp(), counters_t(2));
    EXPECT_TRUE(interface.getCountersPerVlan().empty() && interface.getCountersPerVlanV6().empty() &&
                interface.getCountersPerVlanV6Ndp().empty());
}

TEST_F(InterfaceTest, CounterThatDoesNotExistIsLoggedAndCountsNothing)
{
    const CapturedLog log;
    interface.incrementCounter(static_cast<dhcpraTypes::counterId>(18), 5);
    EXPECT_TRUE(log.lines().empty());
    interface.incrementCounter(static_cast<dhcpraTypes::counterId>(19), 6);
    interface.incrementCounterV6(static_cast<dhcpraTypes::counterV6Id>(17), 6);
    interface.incrementCounterV6Ndp(static_cast<dhcpraTypes::counterV6Ndp>(2), 6);
    EXPECT_EQ(log.text(), "Requested counter does not exist.\nRequested counter V6 does not exist.\n"
                          "Requested counter V6 NDP does not exist.\n");
    EXPECT_FALSE(interface.getCountersPerVlan().contains(6));
    EXPECT_TRUE(interface.getCountersPerVlanV6().empty());
}

TEST(CounterSums, AddElementByElementAndVlanByVlan)
{
    countersPerVlan_t perVlan{{5, {1, 2}}};
    addCountersPerVlan(perVlan, {{5, {2, 20, 30}}, {6, {3}}});
    EXPECT_EQ(perVlan, (countersPerVlan_t{{5, {3, 22, 30}}, {6, {3}}}));
    addCountersPerVlan(perVlan, {{5, {1}}});
    EXPECT_EQ(perVlan.at(5), (counters_t{4, 22, 30}));
}

} // namespace
