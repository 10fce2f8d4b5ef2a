#include "relay/entity/dhcpra_config.h"

#include "relay/entity/CounterWalk.h"

namespace {

using Intf = dhcpraInterface;

/// A PVC is the only type with the parameters that the ATM form shows.
bool mayHaveMode(const Intf& interface, Intf::circuitIdMode_t mode)
{
    return mode != Intf::DHCPRA_INTF_CIRMODE_ATM || interface.getType() == Interfaces::interfaceType::pvc;
}

/// Mode and guard value that an operator gave a PVC stay until an operator's call (value 1) or another ATM
/// setting replaces them; the profile's automatic settings come with value 0.
bool isHeldOff(const Intf& interface, Intf::circuitIdMode_t mode, int value)
{
    return mode != Intf::DHCPRA_INTF_CIRMODE_ATM && value != 1 && interface.getCircuitIdModeValue() == 1 &&
           interface.getCircuitIdMode() == Intf::DHCPRA_INTF_CIRMODE_ATM;
}

} // namespace

int dhcpra_config::loggingLevelSet(loggingLevel_t level)
{
    return underExclusive([&] {
        v4->loggingLevelSet(level);
        v6->loggingLevelSet(level);
        return success;
    });
}

int dhcpra_config::setCircuitIdMode(u32 id, circuitIdMode_t mode, int value)
{
    return underExclusive([&] {
        return onInterface(v4, id, [&](Intf& interface) {
            if (!isHeldOff(interface, mode, value)) {
                interface.setCircuitIdMode(mode);
                interface.setCircuitIdModeValue(value);
            }
            return success;
        });
    });
}

int dhcpra_config::setCircuitIdMode(u32 id, u16 vlan, circuitIdMode_t mode)
{
    return underExclusive([&] {
        return onInterface(v4, id, [&](Intf& interface) {
            return mayHaveMode(interface, mode) && interface.setCircuitIdMode(vlan, mode) ? success : failure;
        });
    });
}

// ---- Counters ----

int dhcpra_config::getSummedCounters(counters_t& sum) const
{
    return underShared([&] { return v4->getSummedCounters(sum), success; });
}
int dhcpra_config::getSummedCountersPerVlan(countersPerVlan_t& sum) const
{
    return underShared([&] { return v4->getSummedCountersPerVlan(sum), success; });
}
int dhcpra_config::getDra6SummedCounters(counters_t& sum) const
{
    return underShared([&] { return v6->getSummedCounters(sum), success; });
}
int dhcpra_config::getDra6SummedCountersPerVlan(countersPerVlan_t& sum) const
{
    return underShared([&] { return v6->getSummedCountersPerVlan(sum), success; });
}
int dhcpra_config::getDra6NdpSummedCounters(counters_t& sum) const
{
    return underShared([&] { return v6->getNdpSummedCounters(sum), success; });
}
int dhcpra_config::getDra6NdpSummedCountersPerVlan(countersPerVlan_t& sum) const
{
    return underShared([&] { return v6->getNdpSummedCountersPerVlan(sum), success; });
}

int dhcpra_config::getAllCounters(u32 id, counters_t& sum) const
{
    return underShared([&] { return sumCounters(*v4, id, &Intf::getAllCounters, sum); });
}
int dhcpra_config::getCountersPerVlan(u32 id, countersPerVlan_t& sum) const
{
    return underShared([&] { return sumCounters(*v4, id, &Intf::getCountersPerVlan, sum); });
}
int dhcpra_config::getDra6AllCounters(u32 id, counters_t& sum) const
{
    return underShared([&] { return sumCounters(*v6, id, &Intf::getAllCountersV6, sum); });
}
int dhcpra_config::getDra6CountersPerVlan(u32 id, countersPerVlan_t& sum) const
{
    return underShared([&] { return sumCounters(*v6, id, &Intf::getCountersPerVlanV6, sum); });
}
int dhcpra_config::getDra6NdpAllCounters(u32 id, counters_t& sum) const
{
    return underShared([&] { return sumCounters(*v6, id, &Intf::getAllCountersV6Ndp, sum); });
}
int dhcpra_config::getDra6NdpCountersPerVlan(u32 id, countersPerVlan_t& sum) const
{
    return underShared([&] { return sumCounters(*v6, id, &Intf::getCountersPerVlanV6Ndp, sum); });
}

// ---- Both engines ----

int dhcpra_config::vlanAdd(u32 id, u16 vlan)
{
    return underExclusive([&] {
        const int added = changeOn(v4, id, &Intf::vlanAdd, vlan);
        return added == success ? changeOn(v6, id, &Intf::vlanAddV6, vlan) : added;
    });
}

int dhcpra_config::vlanDel(u32 id, u16 vlan)
{
    return underExclusive([&] {
        const int deleted = changeOn(v4, id, &Intf::vlanDel, vlan);
        return deleted == success ? changeOn(v6, id, &Intf::vlanDelV6, vlan) : deleted;
    });
}

int dhcpra_config::clearPortVlanAll()
{
    return underExclusive(
        [&] { return v4->clearPortVlanAll() && v6->clearPortVlanAll() ? success : failure; });
}

int dhcpra_config::setCircuitIdModeATMParams(u32 id, u32 parentId, u32 vpi, u32 vci)
{
    return underExclusive([&] {
        const bool inV4 = v4->setCircuitIdModeATMParams(id, parentId, vpi, vci);
        const bool inV6 = v6->setCircuitIdModeATMParams(id, parentId, vpi, vci);
        return inV4 && inV6 ? success : failure;
    });
}

int dhcpra_config::setSystemContact(text value)
{
    return underExclusive([&] { return v4->setSystemContact(value), v6->setSystemContact(value), success; });
}
int dhcpra_config::setSystemLocation(text value)
{
    return underExclusive(
        [&] { return v4->setSystemLocation(value), v6->setSystemLocation(value), success; });
}
int dhcpra_config::setSystemName(text value)
{
    return underExclusive([&] { return v4->setSystemName(value), v6->setSystemName(value), success; });
}
int dhcpra_config::on_updateShelfId(text shelfId)
{
    return underExclusive([&] { return v4->setShelfId(shelfId), v6->setShelfId(shelfId), success; });
}

int dhcpra_config::setCpeSerialNumber(u32 id, text serial)
{
    return underExclusive([&] {
        const int stored = changeOn(v4, id, &Intf::setCpeSerialNumber, serial);
        changeOn(v6, id, &Intf::setCpeSerialNumber, serial);
        return stored;
    });
}

int dhcpra_config::setCpeMac(u32 id, const std::uint8_t* mac)
{
    return underExclusive([&] {
        const int stored = changeOn(v4, id, &Intf::setCpeMac, mac);
        changeOn(v6, id, &Intf::setCpeMac, mac);
        return stored;
    });
}

int dhcpra_config::on_portAddEvent(u32 id, text name)
{
    return underExclusive([&] {
        v4->setInterfaceName(id, name);
        v6->setInterfaceName(id, name);
        return success;
    });
}

bool dhcpra_config::applyDefaultSettings()
{
    return v4->applyDefaultSettings() && v6->applyDefaultSettings();
}
