#pragma once

#include "platform/zobridge.h"
#include "relay/entity/dhcpra.h"
#include "support/CapturedLog.h"
#include "support/NodeBuilder.h"

#include <gtest/gtest.h>

/// An entity of the test's own with factory settings, on a node with lines, a PON port and an uplink.
class EntityFixture : public testing::Test
{
protected:
    static constexpr std::uint32_t uplink = 1, line = 7, pvc = 9, pon = 20, onu = 21, gem = 22,
                                   secondGem = 23;
    static constexpr std::uint32_t unknown = 99;
    static constexpr std::uint32_t refused = 1, refusedByConfig = 0xFFFFFFFF;
    static constexpr auto unset = dhcpraTypes::threeStateBool::notSet;
    static constexpr auto no = dhcpraTypes::threeStateBool::no;
    static constexpr auto yes = dhcpraTypes::threeStateBool::yes;

    explicit EntityFixture(test::NodeBuilder builder = {}) : node(withInterfaces(std::move(builder)).use()) {}

    /// The engines do not start here: the model makes a pseudo device, but Linux has none.
    void SetUp() override { ASSERT_TRUE(entity.applyDefaultSettings()); }
    void TearDown() override { entity.stop(); }

    /// From here on the engines start: their devices are there from an earlier run, and are not set up.
    void keepOldDevices()
    {
        for (const char* device : {"br0_dhcp", "br0_dhcpv6"})
            static_cast<void>(zobridge::mngCreate(device)); // fails for one that is there already
    }

    static test::NodeBuilder& withInterfaces(test::NodeBuilder&& builder)
    {
        using Interfaces::interfaceType;
        return builder.slot(3)
            .eth(uplink, "0/1")
            .subscriber(line, "0/2/5")
            .interface(pvc, interfaceType::pvc, "0/2/5/1", line)
            .interface(pon, interfaceType::pon, "0/4")
            .interface(onu, interfaceType::onu, "0/4/1", pon)
            .interface(gem, interfaceType::gem, "0/4/1/1", onu)
            .interface(secondGem, interfaceType::gem, "0/4/1/2", onu);
    }

    dhcpraInterface& v4(std::uint32_t id) { return *entity.engine().getInterfaceById(id); }
    dhcpraInterface& v6(std::uint32_t id) { return *entity.engineV6().getInterfaceById(id); }

    std::unique_ptr<test::TestNode> node;
    dhcpra entity;
};
