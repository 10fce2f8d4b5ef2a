#include "relay/dhcpra_config.h"

#include "platform/Interfaces.h"
#include "relay/CounterWalk.h"
#include "relay/UnderLock.h"

#include <functional>
#include <type_traits>

namespace {

using u16 = std::uint16_t;
using u32 = std::uint32_t;
using text = const std::string&;
using tristate = dhcpraTypes::threeStateBool;
using dhcpraTypes::interfaceMode;
using Intf = dhcpraInterface;
using Vlan = dhcpraVlan;

constexpr int success = 0;
constexpr int failure = -1;

/// What an operation of an engine says, as a code: no answer is success.
template <class Operation, class Object, class... Values>
int codeOf(Operation operation, Object& object, const Values&... values)
{
    if constexpr (std::is_same_v<std::invoke_result_t<Operation, Object&, const Values&...>, bool>)
        return std::invoke(operation, object, values...) ? success : failure;
    else
        std::invoke(operation, object, values...);
    return success;
}

template <class Action>
int underExclusive(Action action)
{
    return underLock<exclusiveLock_t>(failure, action);
}

template <class Action>
int underShared(Action action)
{
    return underLock<sharedLock_t>(failure, action);
}

/// Only the DHCPv6 engine has a thread that comes to its interfaces without the global lock.
int lockEngine(const dhcpraImpl&) { return 0; }
auto lockEngine(const dhcpraV6Impl& engine) { return engine.lockEngine(); }

// The four forms of nearly every operation below. An operation is a member function or a lambda on the
// object.

template <class Engine, class Operation, class... Values>
int change(Engine* engine, Operation operation, const Values&... values)
{
    return underExclusive([&] { return codeOf(operation, *engine, values...); });
}

template <class Engine, class Operation, class Value>
int read(const Engine* engine, Operation operation, Value& value)
{
    return underShared([&] {
        value = std::invoke(operation, *engine);
        return success;
    });
}

template <class Engine, class Operation, class... Values>
int changeOn(Engine* engine, u32 id, Operation operation, const Values&... values)
{
    return underExclusive([&] {
        [[maybe_unused]] const auto guard = lockEngine(*engine);
        Intf* interface = engine->getInterfaceById(id);
        return interface == nullptr ? failure : codeOf(operation, *interface, values...);
    });
}

template <class Engine, class Operation, class Value>
int readOn(const Engine* engine, u32 id, Operation operation, Value& value)
{
    return underShared([&] {
        [[maybe_unused]] const auto guard = lockEngine(*engine);
        const Intf* interface = engine->getInterfaceById(id);
        if (interface == nullptr)
            return failure;
        value = std::invoke(operation, *interface);
        return success;
    });
}

/// A value that an interface may have for a VLAN: absent is a failure.
template <class Engine, class Operation, class Value>
int findOn(const Engine* engine, u32 id, Operation operation, u16 vlan, Value& value)
{
    return underShared([&] {
        [[maybe_unused]] const auto guard = lockEngine(*engine);
        const Intf* interface = engine->getInterfaceById(id);
        return interface != nullptr && std::invoke(operation, *interface, vlan, value) ? success : failure;
    });
}

int readOfVlan(const dhcpraImpl* engine, u16 vlan, tristate (Vlan::*getter)() const, tristate& value)
{
    return underShared([&] {
        const Vlan* record = engine->getVlanById(vlan);
        if (record == nullptr)
            return failure;
        value = (record->*getter)();
        return success;
    });
}

/// A VLAN's record exists as long as one of its members says something.
template <class Engine>
int changeOfVlan(Engine* engine, u16 vlan, void (Vlan::*setter)(tristate), tristate value)
{
    return underExclusive([&] {
        [[maybe_unused]] const auto guard = lockEngine(*engine);
        const bool set = value != tristate::notSet;
        Vlan* record = engine->getVlanById(vlan, set);
        if (record == nullptr)
            return set ? failure : success;
        (record->*setter)(value);
        if (!set && !engine->isVlanConfigured(vlan))
            engine->vlanDelete(vlan);
        return success;
    });
}

bool fits(text format) { return format.size() <= IntfVlanRecords<Intf::intfVlan>::formatLengthMax; }

/// A PVC is the only type with the parameters that the ATM form shows.
bool mayHaveMode(const Intf& interface, Intf::circuitIdMode_t mode)
{
    return mode != Intf::DHCPRA_INTF_CIRMODE_ATM || interface.getType() == Interfaces::interfaceType::pvc;
}

} // namespace

// ---- DHCPv4, global ----
// clang-format off: one line each, so that the list reads as one

int dhcpra_config::isDraEnabled(bool& v) const { return read(v4, &dhcpraImpl::isDraEnabled, v); }
int dhcpra_config::isFullMode(bool& v) const { return read(v4, &dhcpraImpl::isFullMode, v); }
int dhcpra_config::isInsertOpt82(bool& v) const { return read(v4, &dhcpraImpl::isInsertOpt82, v); }
int dhcpra_config::isUnicastExtension(bool& v) const { return read(v4, &dhcpraImpl::isUnicastExtension, v); }
int dhcpra_config::isKeepOpt82(bool& v) const { return read(v4, &dhcpraImpl::isKeepOpt82, v); }
int dhcpra_config::isCircuitTrusted(bool& v) const { return read(v4, &dhcpraImpl::isCircuitTrusted, v); }
int dhcpra_config::isInsertCircuitID(bool& v) const { return read(v4, &dhcpraImpl::isInsertCircuitID, v); }
int dhcpra_config::isInsertRemoteID(bool& v) const { return read(v4, &dhcpraImpl::isInsertRemoteID, v); }
int dhcpra_config::isDraCircuitIdCVlanEnabled(bool& v) const
{
    return read(v4, &dhcpraImpl::isDraCircuitIdCVlanEnabled, v);
}
int dhcpra_config::getNodeId(std::string& v) const { return read(v4, &dhcpraImpl::getNodeId, v); }
int dhcpra_config::getChassisId(int& v) const { return read(v4, &dhcpraImpl::getChassisId, v); }
int dhcpra_config::getCircuitIdFormat(std::string& v) const
{
    return read(v4, &dhcpraImpl::getCircuitIdFormat, v);
}
int dhcpra_config::getRemoteIdFormat(std::string& v) const
{
    return read(v4, &dhcpraImpl::getRemoteIdFormat, v);
}
int dhcpra_config::getSettingsPerVlan(vlans_t& v) const
{
    return read(v4, &dhcpraImpl::getSettingsPerVlan, v);
}
int dhcpra_config::getDefaultServer(u32& v) const { return read(v4, &dhcpraImpl::getDefaultServer, v); }
int dhcpra_config::getServersPerVlan(servers_t& v) const
{
    return read(v4, &dhcpraImpl::getServersPerVlan, v);
}
int dhcpra_config::loggingLevelGet(dhcpraTypes::dhcpraLoggingLevel& v) const
{
    return read(v4, &dhcpraImpl::loggingLevelGet, v);
}
int dhcpra_config::debugAdminStateGet(bool& v) const { return read(v4, &dhcpraImpl::debugAdminStateGet, v); }

int dhcpra_config::setDraEnabled(bool v) { return change(v4, &dhcpraImpl::setDraEnabled, v); }
int dhcpra_config::setFullMode(bool v) { return change(v4, &dhcpraImpl::setFullMode, v); }
int dhcpra_config::setInsertOpt82(bool v) { return change(v4, &dhcpraImpl::setInsertOpt82, v); }
int dhcpra_config::setUnicastExtension(bool v) { return change(v4, &dhcpraImpl::setUnicastExtension, v); }
int dhcpra_config::setKeepOpt82(bool v) { return change(v4, &dhcpraImpl::setKeepOpt82, v); }
int dhcpra_config::setCircuitTrusted(bool v) { return change(v4, &dhcpraImpl::setCircuitTrusted, v); }
int dhcpra_config::setInsertCircuitID(bool v) { return change(v4, &dhcpraImpl::setInsertCircuitID, v); }
int dhcpra_config::setInsertRemoteID(bool v) { return change(v4, &dhcpraImpl::setInsertRemoteID, v); }
int dhcpra_config::setNodeId(text v) { return change(v4, &dhcpraImpl::setNodeId, v); }
int dhcpra_config::setChassisId(int v) { return change(v4, &dhcpraImpl::setChassisId, v); }
int dhcpra_config::setDraCircuitIdCVlan(bool v) { return change(v4, &dhcpraImpl::setDraCircuitIdCVlan, v); }
int dhcpra_config::setCircuitIdFormat(text v)
{
    return fits(v) ? change(v4, &dhcpraImpl::setCircuitIdFormat, v) : failure;
}
int dhcpra_config::setRemoteIdFormat(text v)
{
    return fits(v) ? change(v4, &dhcpraImpl::setRemoteIdFormat, v) : failure;
}
int dhcpra_config::setDefaultServer(u32 v) { return change(v4, &dhcpraImpl::setDefaultServer, v); }
int dhcpra_config::setServerPerVlan(u32 server, u16 vlan, bool add)
{
    return change(v4, &dhcpraImpl::setServerPerVlan, server, vlan, add);
}
int dhcpra_config::debugAdminStateSet(bool v) { return change(v4, &dhcpraImpl::debugAdminStateSet, v); }

// ---- DHCPv4, per interface ----

int dhcpra_config::getMode(u32 id, interfaceMode& v) const { return readOn(v4, id, &Intf::getMode, v); }
int dhcpra_config::isCircuitTrusted(u32 id, tristate& v) const
{
    return readOn(v4, id, &Intf::isCircuitTrusted, v);
}
int dhcpra_config::isInsertOpt82(u32 id, tristate& v) const
{
    return readOn(v4, id, &Intf::isInsertOpt82, v);
}
int dhcpra_config::isUnicastExtension(u32 id, tristate& v) const
{
    return readOn(v4, id, &Intf::isUnicastExtension, v);
}
int dhcpra_config::isKeepOpt82(u32 id, tristate& v) const { return readOn(v4, id, &Intf::isKeepOpt82, v); }
int dhcpra_config::isMeteringEnabled(u32 id, bool& v) const
{
    return readOn(v4, id, &Intf::isMeteringEnabled, v);
}
int dhcpra_config::getRate(u32 id, int& v) const { return readOn(v4, id, &Intf::getRate, v); }
int dhcpra_config::getRemoteID(u32 id, std::string& v) const
{
    return readOn(
        v4, id, [](const Intf& i) { return i.getRemoteID(); }, v);
}
int dhcpra_config::getRemoteIDMap(u32 id, Intf::remoteIds_t& v) const
{
    return readOn(v4, id, &Intf::getRemoteIDMap, v);
}
int dhcpra_config::getCircuitIdMode(u32 id, circuitIdMode_t& v) const
{
    return readOn(
        v4, id, [](const Intf& i) { return i.getCircuitIdMode(); }, v);
}
int dhcpra_config::getCircuitIdMode(u32 id, u16 vlan, circuitIdMode_t& v) const
{
    return findOn(
        v4, id, [](const Intf& i, u16 vid, auto& mode) { return i.getCircuitIdMode(vid, mode); }, vlan, v);
}
int dhcpra_config::getCircuitIdFormat(u32 id, u16 vlan, std::string& v) const
{
    return findOn(v4, id, &Intf::getCircuitIdFormat, vlan, v);
}
int dhcpra_config::getRemoteIdFormat(u32 id, u16 vlan, std::string& v) const
{
    return findOn(v4, id, &Intf::getRemoteIdFormat, vlan, v);
}
int dhcpra_config::getIntfVlanMap(u32 id, Intf::intfVlans_t& v) const
{
    return readOn(v4, id, &Intf::getIntfVlanMap, v);
}
int dhcpra_config::getIntfVlan(u32 id, u16 vlan, Intf::intfVlan& v) const
{
    return findOn(v4, id, &Intf::getIntfVlan, vlan, v);
}

int dhcpra_config::setMode(u32 id, interfaceMode v) { return changeOn(v4, id, &Intf::setMode, v); }
int dhcpra_config::setCircuitTrusted(u32 id, tristate v)
{
    return changeOn(v4, id, &Intf::setCircuitTrusted, v);
}
int dhcpra_config::setInsertOpt82(u32 id, tristate v) { return changeOn(v4, id, &Intf::setInsertOpt82, v); }
int dhcpra_config::setUnicastExtension(u32 id, tristate v)
{
    return changeOn(v4, id, &Intf::setUnicastExtension, v);
}
int dhcpra_config::setKeepOpt82(u32 id, tristate v) { return changeOn(v4, id, &Intf::setKeepOpt82, v); }
int dhcpra_config::setMetering(u32 id, bool v) { return changeOn(v4, id, &Intf::setMetering, v); }
int dhcpra_config::setRate(u32 id, int v) { return changeOn(v4, id, &Intf::setRate, v); }
int dhcpra_config::setRemoteID(u32 id, text v)
{
    return changeOn(v4, id, [&](Intf& i) { return i.setRemoteID(v); });
}
int dhcpra_config::setRemoteID(u32 id, text v, u16 vlan)
{
    return changeOn(v4, id, [&](Intf& i) { return i.setRemoteID(v, vlan); });
}
int dhcpra_config::setCircuitIdFormat(u32 id, u16 vlan, text v)
{
    return fits(v) ? changeOn(v4, id, &Intf::setCircuitIdFormat, vlan, v) : failure;
}
int dhcpra_config::setRemoteIdFormat(u32 id, u16 vlan, text v)
{
    return fits(v) ? changeOn(v4, id, &Intf::setRemoteIdFormat, vlan, v) : failure;
}

// ---- DHCPv4, per VLAN ----

int dhcpra_config::vlanIsEnabled(u16 vlan, tristate& v) const
{
    return readOfVlan(v4, vlan, &Vlan::isEnabled, v);
}
int dhcpra_config::vlanIsFullMode(u16 vlan, tristate& v) const
{
    return readOfVlan(v4, vlan, &Vlan::isFullMode, v);
}
int dhcpra_config::vlanIsInsertOpt82(u16 vlan, tristate& v) const
{
    return readOfVlan(v4, vlan, &Vlan::isInsertOpt82, v);
}
int dhcpra_config::vlanIsUnicastExtension(u16 vlan, tristate& v) const
{
    return readOfVlan(v4, vlan, &Vlan::isUnicastExtension, v);
}
int dhcpra_config::vlanIsKeepOpt82(u16 vlan, tristate& v) const
{
    return readOfVlan(v4, vlan, &Vlan::isKeepOpt82, v);
}
int dhcpra_config::vlanIsCircuitId(u16 vlan, tristate& v) const
{
    return readOfVlan(v4, vlan, &Vlan::isCircuitId, v);
}

int dhcpra_config::vlanSetEnabled(u16 vlan, tristate v)
{
    return changeOfVlan(v4, vlan, &Vlan::setEnabled, v);
}
int dhcpra_config::vlanSetFullMode(u16 vlan, tristate v)
{
    return changeOfVlan(v4, vlan, &Vlan::setFullMode, v);
}
int dhcpra_config::vlanSetInsertOpt82(u16 vlan, tristate v)
{
    return changeOfVlan(v4, vlan, &Vlan::setInsertOpt82, v);
}
int dhcpra_config::vlanSetUnicastExtension(u16 vlan, tristate v)
{
    return changeOfVlan(v4, vlan, &Vlan::setUnicastExtension, v);
}
int dhcpra_config::vlanSetKeepOpt82(u16 vlan, tristate v)
{
    return changeOfVlan(v4, vlan, &Vlan::setKeepOpt82, v);
}
int dhcpra_config::vlanSetCircuitId(u16 vlan, tristate v)
{
    return changeOfVlan(v4, vlan, &Vlan::setCircuitId, v);
}

// ---- DHCPv6, global ----

int dhcpra_config::isDra6Enabled(bool& v) const { return read(v6, &dhcpraV6Impl::isDraEnabled, v); }
int dhcpra_config::isDra6InsertRemoteID(bool& v) const
{
    return read(v6, &dhcpraV6Impl::isInsertRemoteID, v);
}
int dhcpra_config::getDra6InterfaceID(bool& v) const { return read(v6, &dhcpraV6Impl::getInterfaceID, v); }
int dhcpra_config::isDra6CircuitIdCVlanEnabled(bool& v) const
{
    return read(v6, &dhcpraV6Impl::isDraCircuitIdCVlanEnabled, v);
}
int dhcpra_config::getDra6InterfaceIdFormat(std::string& v) const
{
    return read(v6, &dhcpraV6Impl::getInterfaceIdFormat, v);
}
int dhcpra_config::getDra6RemoteIdFormat(std::string& v) const
{
    return read(v6, &dhcpraV6Impl::getRemoteIdFormat, v);
}
int dhcpra_config::getDra6SettingsPerVlan(vlans_t& v) const
{
    return read(v6, &dhcpraV6Impl::getSettingsPerVlan, v);
}
int dhcpra_config::loggingLevelV6Get(dhcpraTypes::dhcpraLoggingLevel& v) const
{
    return read(v6, &dhcpraV6Impl::loggingLevelGet, v);
}

int dhcpra_config::setDra6Enabled(bool v) { return change(v6, &dhcpraV6Impl::setDraEnabled, v); }
int dhcpra_config::setDra6InsertRemoteID(bool v) { return change(v6, &dhcpraV6Impl::setInsertRemoteID, v); }
int dhcpra_config::setDra6InterfaceID(bool v) { return change(v6, &dhcpraV6Impl::setInterfaceID, v); }
int dhcpra_config::setDra6CircuitIdCVlan(bool v)
{
    return change(v6, &dhcpraV6Impl::setDraCircuitIdCVlan, v);
}
int dhcpra_config::setDra6InterfaceIdFormat(text v)
{
    return fits(v) ? change(v6, &dhcpraV6Impl::setInterfaceIdFormat, v) : failure;
}
int dhcpra_config::setDra6RemoteIdFormat(text v)
{
    return fits(v) ? change(v6, &dhcpraV6Impl::setRemoteIdFormat, v) : failure;
}
int dhcpra_config::loggingLevelV6Set(dhcpraTypes::dhcpraLoggingLevel v)
{
    return change(v6, &dhcpraV6Impl::loggingLevelSet, v);
}

// ---- DHCPv6, per interface ----

int dhcpra_config::getDra6Mode(u32 id, interfaceMode& v) const { return readOn(v6, id, &Intf::getModeV6, v); }
int dhcpra_config::isDra6CircuitTrusted(u32 id, tristate& v) const
{
    return readOn(v6, id, &Intf::isCircuitTrustedV6, v);
}
int dhcpra_config::getDra6InterfaceID(u32 id, tristate& v) const
{
    return readOn(v6, id, &Intf::getInterfaceIDV6, v);
}
int dhcpra_config::getDra6RemoteID(u32 id, std::string& v) const
{
    return readOn(v6, id, &Intf::getRemoteIdValV6, v);
}
int dhcpra_config::getDra6RemoteIDMap(u32 id, Intf::remoteIds_t& v) const
{
    return readOn(v6, id, &Intf::getRemoteIdValMapV6, v);
}
int dhcpra_config::getDra6EnterpriseNum(u32 id, u32& v) const
{
    return readOn(v6, id, &Intf::getEnterpriseNumV6, v);
}
int dhcpra_config::getDra6EnterpriseNumMap(u32 id, Intf::enterpriseNumbers_t& v) const
{
    return readOn(v6, id, &Intf::getEnterpriseNumMapV6, v);
}
int dhcpra_config::getDra6IntfVlanMap(u32 id, Intf::intfVlansV6_t& v) const
{
    return readOn(v6, id, &Intf::getIntfVlanMapV6, v);
}
int dhcpra_config::getDra6IntfVlan(u32 id, u16 vlan, Intf::intfVlanV6& v) const
{
    return findOn(v6, id, &Intf::getIntfVlanV6, vlan, v);
}

int dhcpra_config::setDra6Mode(u32 id, interfaceMode v) { return changeOn(v6, id, &Intf::setModeV6, v); }
int dhcpra_config::setDra6CircuitTrusted(u32 id, tristate v)
{
    return changeOn(v6, id, &Intf::setCircuitTrustedV6, v);
}
int dhcpra_config::setDra6InterfaceID(u32 id, tristate v)
{
    return changeOn(v6, id, &Intf::setInterfaceIDV6, v);
}
int dhcpra_config::setDra6RemoteIdVal(u32 id, text v) { return changeOn(v6, id, &Intf::setRemoteIdValV6, v); }
int dhcpra_config::setDra6RemoteIdValPerVlan(u32 id, text v, u16 vlan)
{
    return changeOn(v6, id, &Intf::setRemoteIdValPerVlanV6, v, vlan);
}
int dhcpra_config::setDra6EnterpriseNum(u32 id, u32 v)
{
    return changeOn(v6, id, &Intf::setEnterpriseNumV6, v);
}
int dhcpra_config::setDra6EnterpriseNumPerVlan(u32 id, u32 v, u16 vlan)
{
    return changeOn(v6, id, &Intf::setEnterpriseNumPerVlanV6, v, vlan);
}
int dhcpra_config::setDra6InterfaceIdMode(u32 id, u16 vlan, interfaceIdModeV6_t v)
{
    return changeOn(v6, id, &Intf::setInterfaceIdModeV6, vlan, v);
}
int dhcpra_config::setDra6InterfaceIdFormat(u32 id, u16 vlan, text v)
{
    return fits(v) ? changeOn(v6, id, &Intf::setInterfaceIdFormatV6, vlan, v) : failure;
}
int dhcpra_config::setDra6RemoteIdFormat(u32 id, u16 vlan, text v)
{
    return fits(v) ? changeOn(v6, id, &Intf::setRemoteIdFormatV6, vlan, v) : failure;
}

// ---- DHCPv6, per VLAN ----

int dhcpra_config::vlanDra6SetEnabled(u16 vlan, tristate v)
{
    return changeOfVlan(v6, vlan, &Vlan::setEnabledV6, v);
}
int dhcpra_config::vlanDra6SetInterfaceID(u16 vlan, tristate v)
{
    return changeOfVlan(v6, vlan, &Vlan::setInterfaceIdV6, v);
}
int dhcpra_config::vlanDra6SetRemoteID(u16 vlan, tristate v)
{
    return changeOfVlan(v6, vlan, &Vlan::setRemoteIdV6, v);
}

// clang-format on
