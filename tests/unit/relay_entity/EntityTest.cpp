#include "EntityFixture.h"

#include "rte/BLL/core/BLLManager.h"

#include <boost/thread/barrier.hpp>
#include <boost/thread/thread.hpp>
#include <optional>

namespace {

using Entity = EntityFixture;

// ---- The lock ----

/// Another thread holds the global lock while this lives. Acquisitions fail at once; a failure report gives
/// the period its long value back, so each acquisition needs impatient() before.
class LockHeldElsewhere
{
public:
    LockHeldElsewhere()
        : holder([this] {
              const exclusiveLock_t lock;
              held.wait();
              done.wait();
          })
    {
        held.wait();
    }
    ~LockHeldElsewhere()
    {
        done.wait();
        holder.join();
        lock_t::lockingPeriod = boost::posix_time::seconds(300);
    }
    static void impatient() { lock_t::lockingPeriod = boost::posix_time::milliseconds(1); }

private:
    boost::barrier held{2};
    boost::barrier done{2};
    boost::thread holder;
};

TEST_F(Entity, WithoutTheLockSettersAnswerOneAndGettersMinusOne)
{
    const LockHeldElsewhere elsewhere;
    const auto impatiently = [](auto operation) {
        LockHeldElsewhere::impatient();
        return operation();
    };
    EXPECT_EQ(impatiently([&] { return entity.setDraEnabled(true); }), refused);
    EXPECT_EQ(impatiently([&] { return entity.setMode(line, dhcpraTypes::interfaceMode::SERVERS); }),
              refused);
    EXPECT_EQ(impatiently([&] { return entity.vlanSetEnabled(100, yes); }), refused);
    EXPECT_EQ(impatiently([&] { return entity.resetIntfCounters(line); }), refused);
    EXPECT_EQ(impatiently([&] { return entity.setDra6Enabled(true); }), refused);
    EXPECT_EQ(impatiently([&] { return entity.rpcSetLocalIp(1); }), refused);
    // This one has no lock in front of the facade's.
    EXPECT_EQ(impatiently([&] { return entity.setChassisId(5); }), refusedByConfig);

    bool enabled = true;
    EXPECT_EQ(impatiently([&] { return entity.isDraEnabled(enabled); }), refusedByConfig);
    EXPECT_TRUE(enabled) << "an output is left alone";
    std::string format = "as before";
    EXPECT_EQ(impatiently([&] { return entity.getDra6RemoteIdFormat(format); }), refusedByConfig);
    EXPECT_EQ(format, "as before");
}

TEST_F(Entity, TextSettersSayThatTheyDidNotGetTheLock)
{
    const LockHeldElsewhere elsewhere;
    const CapturedLog log;
    const std::uint8_t mac[6] = {};
    const std::pair<const char*, std::function<std::uint32_t()>> setters[] = {
        {"setSystemContact", [&] { return entity.setSystemContact("x"); }},
        {"setSystemLocation", [&] { return entity.setSystemLocation("x"); }},
        {"setSystemName", [&] { return entity.setSystemName("x"); }},
        {"setIntfDescr", [&] { return entity.setIntfDescr(line, "x"); }},
        {"setCpeSerialNumber", [&] { return entity.setCpeSerialNumber(line, "x"); }},
        {"setCpeMac", [&] { return entity.setCpeMac(line, mac); }},
    };
    for (const auto& [name, setter] : setters) {
        LockHeldElsewhere::impatient();
        EXPECT_EQ(setter(), refused);
        EXPECT_TRUE(log.has(LogImpl::critical,
                            "dhcpra::" + std::string(name) + ": obtaining exclusive lock failed.\n"))
            << name;
    }
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

TEST_F(Entity, DefaultsLeaveAnEngineThatRunsAlone)
{
    keepOldDevices();
    ASSERT_TRUE(entity.ready());
    EXPECT_EQ(node->attached(vnode::Filter::dhcp), "br0_dhcp");
    EXPECT_EQ(node->attached(vnode::Filter::dhcpv6), "br0_dhcpv6");
    node->failing(vnode::Operation::driverOpen, EIO);
    const CapturedLog log;
    EXPECT_TRUE(entity.applyDefaultSettings());
    EXPECT_EQ(log.text().find("start(): failed"), std::string::npos) << log.text();
}

TEST_F(Entity, DefaultsStandAlsoWhenTheEngineDoesNotStart)
{
    entity.stop();
    keepOldDevices();
    node->failing(vnode::Operation::driverOpen, EIO);
    {
        const CapturedLog log;
        EXPECT_TRUE(entity.applyDefaultSettings());
        EXPECT_TRUE(log.has(LogImpl::critical, "dhcpra_impl.start(): failed.\n"));
    }
    node->working();
    const CapturedLog log;
    EXPECT_TRUE(entity.ready());
    EXPECT_EQ(log.text().find("failed"), std::string::npos);
}

TEST_F(Entity, OnlyTheEngineThatDidNotStartIsStartedAgain)
{
    keepOldDevices();
    ASSERT_TRUE(entity.engine().start());
    node->failing(vnode::Operation::driverOpen, EIO);
    {
        const CapturedLog log;
        EXPECT_TRUE(entity.applyDefaultSettings());
        EXPECT_TRUE(log.has(LogImpl::critical, "dhcprav6_impl.start(): failed.\n"));
        EXPECT_EQ(log.text().find("dhcpra_impl.start()"), std::string::npos);
    }
    node->working();
    const std::size_t before = node->driverCalls().size();
    EXPECT_TRUE(entity.applyDefaultSettings());
    EXPECT_EQ(node->attached(vnode::Filter::icmpv6), "br0_dhcpv6");
    EXPECT_EQ(attachedSince(*node, before), (std::vector<std::string>{"dhcpv6", "icmpv6"}));
    EXPECT_TRUE(entity.applyDefaultSettings()); // both run now
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

// The record of an interface id alone switches DHCPv6 off on its VLAN; it goes when all three members are
// unset.
TEST_F(Entity, VlanRecordOfDhcpv6StartsSwitchedOff)
{
    const auto record = [&] {
        dhcpra_config::vlans_t vlans;
        EXPECT_EQ(entity.getDra6SettingsPerVlan(vlans), 0U);
        const auto found = vlans.find(100);
        return found == vlans.end() ? std::nullopt : std::optional(found->second);
    };
    EXPECT_EQ(entity.vlanDra6SetInterfaceID(100, unset), 0U);
    EXPECT_FALSE(record().has_value());
    EXPECT_EQ(entity.vlanDra6SetInterfaceID(100, no), 0U);
    ASSERT_TRUE(record().has_value());
    EXPECT_EQ(record()->isEnabledV6(), no);
    EXPECT_EQ(record()->getInterfaceIdV6(), no);
    EXPECT_EQ(record()->getRemoteIdV6(), no);
    EXPECT_EQ(entity.vlanDra6SetInterfaceID(100, unset), 0U);
    EXPECT_EQ(entity.vlanDra6SetEnabled(100, unset), 0U);
    EXPECT_TRUE(record().has_value());
    EXPECT_EQ(entity.vlanDra6SetRemoteID(100, unset), 0U);
    EXPECT_FALSE(record().has_value());
    EXPECT_EQ(entity.vlanDra6SetEnabled(0xFFF, yes), refusedByConfig);
}

// ---- Ports and names ----

TEST_F(Entity, NewPortEntersTheRegistryAndOnlyThere)
{
    Interfaces::Interface port;
    port.id = 30;
    port.name = "0/3/1";
    port.type = Interfaces::interfaceType::subscriber;
    port.position.port = 1;
    EXPECT_EQ(entity.rpcPortAddEvent(port), 0U);
    Interfaces::Interface known;
    ASSERT_EQ(Interfaces::interfaceGet(30, known), 0);
    EXPECT_EQ(known.name, "0/3/1");
    EXPECT_EQ(known.position.port, 1U);
    EXPECT_EQ(entity.engine().getInterfaceById(30), nullptr);
}

TEST_F(Entity, KnownPortTakesItsNewNameEverywhere)
{
    Interfaces::Interface port;
    port.id = line;
    port.name = "0/9/9";
    port.parentId = pon;
    EXPECT_EQ(entity.rpcPortAddEvent(port), 0U);
    Interfaces::Interface known;
    ASSERT_EQ(Interfaces::interfaceGet(line, known), 0);
    EXPECT_EQ(known.name, "0/9/9");
    EXPECT_EQ(known.parentId, pon);
    EXPECT_EQ(v4(line).getName(), "0/9/9");
    EXPECT_EQ(v6(line).getName(), "0/9/9");
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

TEST_F(Entity, AtmModeOfAVlanIsForPvcsOnly)
{
    using Intf = dhcpraInterface;
    EXPECT_EQ(entity.setCircuitIdMode(line, std::uint16_t{100}, Intf::DHCPRA_INTF_CIRMODE_ATM),
              refusedByConfig);
    EXPECT_EQ(entity.setCircuitIdMode(pvc, std::uint16_t{100}, Intf::DHCPRA_INTF_CIRMODE_ATM), 0U);
}

/// Which of two settings of a PVC's mode stands in the end; value 1 is an operator's.
TEST_F(Entity, OperatorsAtmModeYieldsToAtmOrAnOperatorOnly)
{
    using Intf = dhcpraInterface;
    struct Case
    {
        Intf::circuitIdMode_t firstMode;
        int firstValue;
        Intf::circuitIdMode_t secondMode;
        int secondValue;
        bool changed;
    };
    constexpr auto atm = Intf::DHCPRA_INTF_CIRMODE_ATM;
    constexpr auto standard = Intf::DHCPRA_INTF_CIRMODE_STANDARD;
    constexpr auto custom = Intf::DHCPRA_INTF_CIRMODE_CUSTOM;
    const Case cases[] = {{atm, 1, standard, 0, false},   {atm, 1, standard, 1, true},
                          {atm, 1, atm, 0, true},         {atm, 0, standard, 0, true},
                          {custom, 1, standard, 0, true}, {standard, 1, custom, 0, true},
                          {atm, 1, standard, 2, false}};
    for (const Case& each : cases) {
        ASSERT_EQ(entity.setCircuitIdMode(pvc, Intf::DHCPRA_INTF_CIRMODE_KORVANEL, 1), 0U);
        ASSERT_EQ(entity.setCircuitIdMode(pvc, each.firstMode, each.firstValue), 0U);
        EXPECT_EQ(entity.setCircuitIdMode(pvc, each.secondMode, each.secondValue), 0U);
        EXPECT_EQ(v4(pvc).getCircuitIdMode(), each.changed ? each.secondMode : each.firstMode);
        EXPECT_EQ(v4(pvc).getCircuitIdModeValue(), each.changed ? each.secondValue : each.firstValue);
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
    ASSERT_EQ(entity.setDraEnabled(true), 0U);
    ASSERT_EQ(entity.setDra6Enabled(true), 0U);
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
