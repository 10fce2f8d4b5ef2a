#include "EntityFixture.h"

#include "rte/BLL/core/GlobalLock.h"
#include "support/Actor.h"

#include <functional>
#include <optional>

namespace {

using Entity = EntityFixture;

// ---- The lock ----

TEST_F(Entity, WithoutTheLockSettersAnswerOneAndGettersMinusOne)
{
    using Call = std::function<std::uint32_t()>;
    actor::Actor holder(globalLockState::lock());
    ASSERT_TRUE(holder.exclusive().granted);
    const auto answers = [](const Call& operation) {
        // A failure report gives the period its long value back.
        lock_t::lockingPeriod = boost::posix_time::milliseconds(1);
        return operation();
    };
    const std::uint8_t mac[6] = {};
    const std::pair<const char*, Call> tellingSetters[] = {
        {"setSystemContact", [&] { return entity.setSystemContact("x"); }},
        {"setSystemLocation", [&] { return entity.setSystemLocation("x"); }},
        {"setSystemName", [&] { return entity.setSystemName("x"); }},
        {"setIntfDescr", [&] { return entity.setIntfDescr(line, "x"); }},
        {"setCpeSerialNumber", [&] { return entity.setCpeSerialNumber(line, "x"); }},
        {"setCpeMac", [&] { return entity.setCpeMac(line, mac); }}};
    const CapturedLog log;
    for (const auto& [name, setter] : tellingSetters) {
        EXPECT_EQ(answers(setter), refused);
        EXPECT_TRUE(log.has(LogImpl::critical,
                            "dhcpra::" + std::string(name) + ": obtaining exclusive lock failed.\n"))
            << name;
    }
    for (const Call& setter :
         {Call([&] { return entity.setDraEnabled(true); }),
          Call([&] { return entity.vlanSetEnabled(100, yes); }),
          Call([&] { return entity.resetIntfCounters(line); }),
          Call([&] { return entity.setDra6Enabled(true); }), Call([&] { return entity.rpcSetLocalIp(1); })})
        EXPECT_EQ(answers(setter), refused);
    // This one has no lock in front of the facade's.
    EXPECT_EQ(answers([&] { return entity.setChassisId(5); }), refusedByConfig);
    bool enabled = true;
    EXPECT_EQ(answers([&] { return entity.isDraEnabled(enabled); }), refusedByConfig);
    EXPECT_TRUE(enabled) << "an output is left alone";
    std::string format = "as before";
    EXPECT_EQ(answers([&] { return entity.getDra6RemoteIdFormat(format); }), refusedByConfig);
    EXPECT_EQ(format, "as before");
    holder.unlock();
    lock_t::lockingPeriod = boost::posix_time::seconds(300);
}

// ---- Lifecycle ----

/// Application filters in the order in which the bridge was asked for them, from its call number @p first on.
std::vector<std::string> attachedSince(const test::TestNode& node, std::size_t first)
{
    std::vector<std::string> filters;
    const std::vector<vnode::DriverCall> calls = node.driverCalls();
    for (std::size_t i = first; i < calls.size(); ++i)
        if (calls[i].operation == vnode::Operation::driverIoctl)
            filters.emplace_back(reinterpret_cast<const char*>(calls[i].data.data()));
    return filters;
}

TEST_F(Entity, DefaultsStandWithoutTheEnginesAndStartAgainThatWhichDidNotStart)
{
    entity.stop();
    keepOldDevices();
    const CapturedLog log;
    node->failing(vnode::Operation::driverOpen, EIO);
    EXPECT_TRUE(entity.applyDefaultSettings());
    EXPECT_TRUE(log.has(LogImpl::critical, "dhcpra_impl.start(): failed.\n"));
    node->working();
    ASSERT_TRUE(entity.engine().start());
    EXPECT_EQ(node->attached(vnode::Filter::dhcp), "br0_dhcp");
    node->failing(vnode::Operation::driverOpen, EIO);
    const std::size_t told = log.text().size();
    EXPECT_TRUE(entity.applyDefaultSettings());
    EXPECT_TRUE(log.has(LogImpl::critical, "dhcprav6_impl.start(): failed.\n"));
    EXPECT_EQ(log.text().find("dhcpra_impl.start()", told), std::string::npos);
    node->working();
    const std::size_t before = node->driverCalls().size();
    EXPECT_TRUE(entity.applyDefaultSettings());
    EXPECT_EQ(node->attached(vnode::Filter::icmpv6), "br0_dhcpv6");
    EXPECT_EQ(attachedSince(*node, before), (std::vector<std::string>{"dhcpv6", "icmpv6"}));
    EXPECT_TRUE(entity.applyDefaultSettings() && entity.ready()); // both run now
    EXPECT_EQ(attachedSince(*node, before).size(), 2U);
}

// ---- VLAN records ----

TEST_F(Entity, VlanRecordLivesAsLongAsOneMemberIsSet)
{
    EXPECT_EQ(entity.vlanSetEnabled(100, yes), 0U);
    EXPECT_EQ(entity.vlanSetKeepOpt82(100, no), 0U);
    EXPECT_EQ(entity.vlanSetEnabled(100, unset), 0U);
    auto value = yes;
    EXPECT_EQ(entity.vlanIsKeepOpt82(100, value), 0U);
    EXPECT_EQ(value, no);
    EXPECT_EQ(entity.vlanSetKeepOpt82(100, unset), 0U);
    EXPECT_EQ(entity.vlanIsKeepOpt82(100, value), refusedByConfig);
    EXPECT_EQ(entity.vlanSetKeepOpt82(100, unset), 0U);
}

TEST_F(Entity, VlanRecordOfDhcpv6StartsSwitchedOff)
{
    const auto record = [&] {
        dhcpra_config::vlans_t vlans;
        EXPECT_EQ(entity.getDra6SettingsPerVlan(vlans), 0U);
        return vlans.contains(100) ? std::optional(vlans.at(100).isEnabledV6()) : std::nullopt;
    };
    EXPECT_EQ(entity.vlanDra6SetInterfaceID(100, unset), 0U);
    EXPECT_EQ(record(), std::nullopt);
    EXPECT_EQ(entity.vlanDra6SetInterfaceID(100, no), 0U);
    EXPECT_EQ(record(), no);
    EXPECT_EQ(entity.vlanDra6SetInterfaceID(100, unset) + entity.vlanDra6SetEnabled(100, unset), 0U);
    EXPECT_NE(record(), std::nullopt);
    EXPECT_EQ(entity.vlanDra6SetRemoteID(100, unset), 0U);
    EXPECT_EQ(record(), std::nullopt);
    EXPECT_EQ(entity.vlanDra6SetEnabled(0xFFF, yes), refusedByConfig);
}

// ---- Ports and names ----

TEST_F(Entity, APortEntersTheRegistryAndOneThatIsKnownTakesItsNewNameEverywhere)
{
    Interfaces::Interface port;
    port.name = "0/3/1";
    port.type = Interfaces::interfaceType::subscriber;
    port.position.port = 1;
    port.parentId = pon;
    for (const std::uint32_t id : {30U, line}) {
        port.id = id;
        EXPECT_EQ(entity.rpcPortAddEvent(port), 0U);
        Interfaces::Interface known;
        ASSERT_EQ(Interfaces::interfaceGet(id, known), 0);
        EXPECT_EQ(known.name, "0/3/1");
        EXPECT_EQ(known.position.port, 1U);
        EXPECT_EQ(known.parentId, pon);
    }
    EXPECT_EQ(entity.engine().getInterfaceById(30), nullptr);
    EXPECT_EQ(v4(line).getName(), "0/3/1");
    EXPECT_EQ(v6(line).getName(), "0/3/1");
}

TEST_F(Entity, ShelfIdReachesTheIdsOfBothFamilies)
{
    EXPECT_EQ(entity.onChangeShelfId("sh9"), 0U);
    std::string id;
    EXPECT_EQ(entity.genCircuitIdByIntfVlan(line, 100, 0xFFFF, id), 0U);
    EXPECT_EQ(id, "KORVANEL:sh9 eth 3/0/2/5:100");
    EXPECT_EQ(entity.genDra6InterfaceIdByIntfVlan(line, 100, 0xFFFF, id), 0U);
    EXPECT_EQ(id, "sh9 eth 99/3/2/5:100");
}

/// Which of two settings of a PVC's mode stands in the end; value 1 is an operator's.
TEST_F(Entity, OperatorsAtmModeYieldsToAtmOrAnOperatorOnly)
{
    using Setting = std::pair<dhcpraInterface::circuitIdMode_t, int>;
    constexpr auto atm = dhcpraInterface::DHCPRA_INTF_CIRMODE_ATM;
    constexpr auto standard = dhcpraInterface::DHCPRA_INTF_CIRMODE_STANDARD;
    constexpr auto custom = dhcpraInterface::DHCPRA_INTF_CIRMODE_CUSTOM;
    EXPECT_EQ(entity.setCircuitIdMode(line, std::uint16_t{100}, atm), refusedByConfig) << "for PVCs only";
    EXPECT_EQ(entity.setCircuitIdMode(pvc, std::uint16_t{100}, atm), 0U);
    const std::tuple<Setting, Setting, bool> cases[] = {
        {{atm, 1}, {standard, 0}, false},   {{atm, 1}, {standard, 1}, true},
        {{atm, 1}, {atm, 0}, true},         {{atm, 0}, {standard, 0}, true},
        {{custom, 1}, {standard, 0}, true}, {{atm, 1}, {standard, 2}, false}};
    for (const auto& [first, second, changed] : cases) {
        ASSERT_EQ(entity.setCircuitIdMode(pvc, dhcpraInterface::DHCPRA_INTF_CIRMODE_KORVANEL, 1), 0U);
        ASSERT_EQ(entity.setCircuitIdMode(pvc, first.first, first.second), 0U);
        EXPECT_EQ(entity.setCircuitIdMode(pvc, second.first, second.second), 0U);
        EXPECT_EQ(Setting(v4(pvc).getCircuitIdMode(), v4(pvc).getCircuitIdModeValue()),
                  changed ? second : first);
    }
}

TEST_F(Entity, NullCpeMacIsSaidToBeInvalid)
{
    const CapturedLog log;
    EXPECT_EQ(entity.setCpeMac(line, nullptr), refused);
    EXPECT_TRUE(log.has(LogImpl::critical, "dhcpra::setCpeMac: invalid value.\n"));
}

TEST_F(Entity, SwitchingOffResetsTheCountersOfThatFamily)
{
    ASSERT_EQ(entity.setDraEnabled(true) + entity.setDra6Enabled(true), 0U);
    v4(line).incrementCounter(dhcpraTypes::counterAck, 100);
    v6(line).incrementCounterV6(dhcpraTypes::counterV6TooLong, 100);
    counters_t counters;
    EXPECT_EQ(entity.setDra6Enabled(false), 0U);
    EXPECT_EQ(entity.getDra6SummedCounters(counters), 0U);
    EXPECT_EQ(counters, counters_t(17));
    EXPECT_EQ(entity.getSummedCounters(counters), 0U);
    EXPECT_EQ(counters[dhcpraTypes::counterAck], 1U);
}

} // namespace
