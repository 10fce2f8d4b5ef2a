#include "relay/entity/dhcpra.h"

#include "log/LogText.h"
#include "platform/Node.h"
#include "rte/BLL/core/BLLManager.h"

#include <vector>

namespace {

using u16 = std::uint16_t;
using u32 = std::uint32_t;

constexpr u32 failed = 1;

template <class Action>
u32 underExclusive(Action action)
{
    return underLock<exclusiveLock_t>(failed, action);
}

/// For operations that say so when they did not get the lock; @p operation is a name of the class.
template <class Action>
u32 underExclusiveOrSay(const char* operation, Action action)
{
    const exclusiveLock_t lock;
    if (lock.locked)
        return action();
    logText(LogImpl::critical, "dhcpra::", operation, ": obtaining exclusive lock failed.\n");
    return failed;
}

/**
 * The id that a management query gets for an interface: its name is looked up first, because the generators
 * go by name, as frames do.
 */
template <class Engine>
u32 generate(Engine& engine,
             void (Engine::*generator)(const std::string&, u16, u16, std::string&, std::vector<std::uint8_t>&,
                                       dhcpraTypes::idGenType) const,
             u32 id, u16 vid, u16 cvid, std::string& result)
{
    return underLock<sharedLock_t>(failed, [&] {
        const boost::lock_guard guard(engine.engineMutex());
        const dhcpraInterface* interface = engine.getInterfaceById(id);
        if (interface == nullptr)
            return failed;
        std::vector<std::uint8_t> bytes;
        (engine.*generator)(interface->getName(), vid, cvid, result, bytes,
                            dhcpraTypes::idGenType::managementQuery);
        return 0U;
    });
}

} // namespace

dhcpra::dhcpra() : BLEntity("dhcpra") {}

// ---- Lifecycle ----

bool dhcpra::start()
{
    if (mngProxy.start())
        return true;
    logText(LogImpl::critical, "mngProxy.start(): failed.\n");
    return false;
}

bool dhcpra::ready()
{
    if (!dhcpra_impl.start()) {
        logText(LogImpl::critical, "dhcpra_impl.start(): failed.\n");
        return false;
    }
    if (!dhcprav6_impl.start()) {
        logText(LogImpl::critical, "dhcprav6_impl.start(): failed.\n");
        return false;
    }
    readyDone = true;
    return true;
}

bool dhcpra::applyDefaultSettings()
{
    if (!config.applyDefaultSettings())
        return false;
    // The settings stand whatever becomes of the engines; the next call tries again to start them.
    if (!readyDone)
        ready();
    return true;
}

bool dhcpra::stop()
{
    mngProxy.stop(false);
    dhcpra_impl.stop();
    dhcprav6_impl.stop();
    readyDone = false; // a later start brings the engines up again
    return true;
}

// ---- Interfaces ----

u32 dhcpra::setCircuitIdMode(u32 id, circuitIdMode_t mode, int value)
{
    return underExclusive([&] {
        Interfaces::interfaceType type = Interfaces::interfaceType::eth;
        if (Interfaces::interfaceGetTypeById(id, type) != 0)
            return failed;
        const bool isAtm = mode == dhcpraInterface::DHCPRA_INTF_CIRMODE_ATM;
        const bool isPvc = type == Interfaces::interfaceType::pvc;
        if (isAtm && !isPvc)
            return failed;
        if (pvcCidModeNotify && (isAtm || isPvc) &&
            servprofile::servProfileOnDhcpraPvcCidModeChange(id, mode) != 0)
            return failed;
        return code(config.setCircuitIdMode(id, mode, value));
    });
}

u32 dhcpra::resetIntfCounters(u32 id)
{
    return underExclusive([&] {
        const boost::lock_guard guard(dhcpra_impl.engineMutex());
        dhcpraInterface* interface = dhcpra_impl.getInterfaceById(id);
        if (interface == nullptr)
            return failed;
        interface->resetCounters();
        return 0U;
    });
}

u32 dhcpra::setIntfDescr(u32 id, text value)
{
    return underExclusiveOrSay(
        "setIntfDescr", [&] { return Interfaces::interfaceUpdateDescription(id, value) == 0 ? 0U : failed; });
}

u32 dhcpra::setCpeSerialNumber(u32 id, text value)
{
    return underExclusiveOrSay("setCpeSerialNumber",
                               [&] { return code(config.setCpeSerialNumber(id, value)); });
}

u32 dhcpra::setCpeMac(u32 id, const std::uint8_t* mac)
{
    if (mac == nullptr) {
        logText(LogImpl::critical, "dhcpra::setCpeMac: invalid value.\n");
        return failed;
    }
    return underExclusiveOrSay("setCpeMac", [&] { return code(config.setCpeMac(id, mac)); });
}

u32 dhcpra::rpcPortAddEvent(Interfaces::Interface port)
{
    return underExclusive([&] {
        Interfaces::Interface known;
        if (Interfaces::interfaceGet(port.id, known) != 0) {
            Interfaces::interfaceMapAdd(port);
            return 0U;
        }
        Interfaces::interfaceSetName(port.id, port.name);
        Interfaces::interfaceParentIdSet(port.id, port.parentId);
        Interfaces::interfaceSlotPortIntfSet(port.id, port.position);
        config.on_portAddEvent(port.id, port.name);
        return 0U;
    });
}

// ---- The node ----

u32 dhcpra::setSystemContact(text value)
{
    return underExclusiveOrSay("setSystemContact", [&] { return code(config.setSystemContact(value)); });
}

u32 dhcpra::setSystemLocation(text value)
{
    return underExclusiveOrSay("setSystemLocation", [&] { return code(config.setSystemLocation(value)); });
}

u32 dhcpra::setSystemName(text value)
{
    return underExclusiveOrSay("setSystemName", [&] { return code(config.setSystemName(value)); });
}

u32 dhcpra::onChangeShelfId(text shelfId)
{
    const exclusiveLock_t lock;
    if (!lock.locked)
        logText(LogImpl::critical, "dhcpra::onChangeShelfId: obtaining exclusive lock failed.\n");
    return updateShelfId(shelfId); // also without the lock: the facade tries once more
}

u32 dhcpra::rpcSetLocalMac(const std::uint8_t* mac)
{
    return underExclusive([&] {
        dhcpra_impl.rpcSetLocalMac(mac);
        dhcprav6_impl.rpcSetLocalMac(mac);
        return 0U;
    });
}

u32 dhcpra::rpcSetLocalIp(u32 ip)
{
    return underExclusive([&] {
        dhcpra_impl.rpcSetLocalIp(ip);
        dhcprav6_impl.rpcSetLocalIp(ip);
        return 0U;
    });
}

// ---- Identifiers ----

u32 dhcpra::genCircuitIdByInterfaceName(u32 id, u16 vid, u16 cvid, std::string& result)
{
    return generate(dhcpra_impl, &dhcpraImpl::genCircuitIdByInterfaceName, id, vid, cvid, result);
}

u32 dhcpra::genRemoteIdByIntfVlan(u32 id, u16 vid, u16 cvid, std::string& result)
{
    return generate(dhcpra_impl, &dhcpraImpl::genRemoteIdByInterfaceName, id, vid, cvid, result);
}

u32 dhcpra::genDra6InterfaceIdByIntfVlan(u32 id, u16 vid, u16 cvid, std::string& result)
{
    return generate(dhcprav6_impl, &dhcpraV6Impl::genInterfaceIdByInterfaceName, id, vid, cvid, result);
}

u32 dhcpra::genDra6RemoteIdByIntfVlan(u32 id, u16 vid, u16 cvid, std::string& result)
{
    return generate(dhcprav6_impl, &dhcpraV6Impl::genRemoteIdByInterfaceName, id, vid, cvid, result);
}
