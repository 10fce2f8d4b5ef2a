#include "relay/model/RelaySettings.h"
#include "relay/model/VlanTable.h"

#include <gtest/gtest.h>

namespace {

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;

TEST(VlanTable, MakesARecordOnDemandOnlyAndNoneForTwelveOnes)
{
    VlanTable table;
    for (const std::uint16_t vid : std::initializer_list<std::uint16_t>{0x0FFF, 0x7FFF, 0xFFFF})
        EXPECT_EQ(table.getVlanById(vid, true), nullptr);
    EXPECT_EQ(table.getVlanById(0, false), nullptr);
    dhcpraVlan* made = table.getVlanById(0, true);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(table.getVlanById(0, false), made);
    EXPECT_EQ(made->getInterfaceIdV6(), threeStateBool::yes);
    EXPECT_EQ(made->getRemoteIdV6(), threeStateBool::no);
    table.vlanDelete(0);
    EXPECT_EQ(std::as_const(table).getVlanById(0), nullptr);
}

TEST(VlanTable, EachV4MemberAloneMakesItConfigured)
{
    using Setter = void (dhcpraVlan::*)(threeStateBool);
    for (const Setter setter :
         {&dhcpraVlan::setEnabled, &dhcpraVlan::setFullMode, &dhcpraVlan::setInsertOpt82,
          &dhcpraVlan::setUnicastExtension, &dhcpraVlan::setKeepOpt82, &dhcpraVlan::setCircuitId}) {
        VlanTable table;
        EXPECT_FALSE(table.isVlanConfigured(9));
        dhcpraVlan* vlan = table.getVlanById(9, true);
        EXPECT_FALSE(table.isVlanConfigured(9)) << "the DHCPv6 members do not count here";
        (vlan->*setter)(threeStateBool::no);
        EXPECT_TRUE(table.isVlanConfigured(9));
    }
}

TEST(VlanTable, V6RecordIsConfiguredUntilAllThreeMembersAreUnset)
{
    using Setter = void (dhcpraVlan::*)(threeStateBool);
    VlanTable table;
    dhcpraVlan* vlan = table.getVlanById(9, true);
    for (const Setter setter :
         {&dhcpraVlan::setEnabledV6, &dhcpraVlan::setInterfaceIdV6, &dhcpraVlan::setRemoteIdV6}) {
        EXPECT_TRUE(table.isVlanConfiguredV6(9));
        (vlan->*setter)(threeStateBool::notSet);
    }
    EXPECT_FALSE(table.isVlanConfiguredV6(9));
}

TEST(FactorySettings, HaveARowForEachTypeThatStartsWithAMode)
{
    std::vector<Interfaces::Interface> registry(9);
    for (std::uint32_t type = 0; type <= 8; ++type) {
        registry[type].id = 10 + type;
        registry[type].type = static_cast<Interfaces::interfaceType>(type);
    }
    const auto modesOf = [](const auto& settings) {
        std::string modes;
        for (const auto& [id, row] : settings.interfaces)
            modes += std::to_string(id) + (row.mode == interfaceMode::CLIENTS  ? " clients "
                                           : row.mode == interfaceMode::ENABLE ? " enable "
                                                                               : " other ");
        return modes;
    };
    const RelaySettingsV6 settings(registry);
    EXPECT_EQ(modesOf(settings), "10 enable 11 clients 12 clients 15 clients 17 enable ");
    EXPECT_EQ(modesOf(RelaySettings(registry)), modesOf(settings));
    for (const auto& [id, row] : settings.interfaces)
        EXPECT_EQ(row.interfaceId, threeStateBool::yes);
}

} // namespace
