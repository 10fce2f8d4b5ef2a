#include "relay/v6/dhcpraV6Impl.h"

#include "log/LogText.h"
#include "platform/Interfaces.h"
#include "platform/zobridge.h"
#include "relay/engine/LiveFrame.h"
#include "relay/ids/InterfaceIds.h"
#include "relay/io/FrameSocket.h"
#include "relay/io/PseudoDevice.h"
#include "rte/BLL/core/GlobalLock.h"

#include <algorithm>
#include <array>

using dhcpraTypes::threeStateBool;
using FrameMutexGuard = boost::lock_guard<boost::recursive_mutex>;

namespace {

std::vector<Interfaces::Interface> registryList()
{
    std::vector<Interfaces::Interface> list;
    if (Interfaces::interfaceListGet(list) != 0)
        list.clear();
    return list;
}

/// Relay-forwards of a lower relay are taken from the network side only.
threeStateBool getDefaultCircuitTrustedV6(Interfaces::interfaceType type)
{
    return dhcpraTypes::toThreeState(type == Interfaces::interfaceType::eth ||
                                     type == Interfaces::interfaceType::lag);
}

/// Ten seconds of what the rate limit lets through. What waits longer, its client has asked for again; frames
/// of a larger burst are lost in the socket.
constexpr int backlogFrames = 10 * dhcpraV6Impl::framesPerSecond;
constexpr int backlogBytes = backlogFrames * accountedFrameBytes / 2; // the kernel doubles it

template <class Sum>
void sumOver(const InterfaceTable& interfaces, Sum (dhcpraInterface::*counters)() const,
             void (*add)(Sum&, const Sum&), Sum& sum)
{
    for (const auto& [id, interface] : interfaces)
        add(sum, (interface.*counters)());
}

} // namespace

// ---- Lifecycle ----

dhcpraV6Impl::dhcpraV6Impl() : io(std::make_unique<FrameSocket>(interface_name, ioSink, backlogBytes)) {}

dhcpraV6Impl::dhcpraV6Impl(std::unique_ptr<FrameIo> frames) : io(std::move(frames)) {}

dhcpraV6Impl::~dhcpraV6Impl()
{
    // A process that just ends must still join its thread.
    stop();
}

bool dhcpraV6Impl::start()
{
    if (frameThread.isRunning())
        return true;
    if (!makePseudoDevice(interface_name) ||
        !attachFilters(procfs_bridge_file, interface_name,
                       {{appfilter_name, "DHCPRA: Cannot attach filter dhcpv6.\n"},
                        {icmpv6_appfilter_name, "DHCPRA: Cannot attach filter icmpv6.\n"}}))
        return false;
    // A socket that does not open is the frame thread's to open again.
    static_cast<void>(io->open());
    if (std::array<std::uint8_t, 6> mac{}; zobridge::mngSystemMacGet(interface_name, mac.data()) == 0)
        store(identity.localMac, mac);
    frameThread.start([this] { processFrame(); });
    return true;
}

void dhcpraV6Impl::stop()
{
    frameThread.stop(*io);
    const FrameMutexGuard guard(frameMutex);
    interfaces.clear();
}

bool dhcpraV6Impl::applyDefaultSettings()
{
    const exclusiveLock_t lock;
    if (!lock.locked)
        return false;
    const settings_t settings(registryList());

    const FrameMutexGuard guard(frameMutex);
    draEnabled = settings.draEnabled;
    insertRemoteID = settings.insertRemoteID;
    interfaceID = settings.interfaceID;
    draCircuitIdCVlan = settings.draCircuitIdCVlan;
    interfaceIdFormat = settings.interfaceIdFormat;
    remoteIdFormat = settings.remoteIdFormat;
    debugState.setLoggingLevel(settings.loggingLevel);
    addInterfaces(settings);
    vlans = VlanTable(settings.vlans);
    return true;
}

void dhcpraV6Impl::addInterfaces(const settings_t& settings)
{
    const exclusiveLock_t lock;
    if (!lock.locked) {
        logText(LogImpl::critical, "dhcpraV6Impl::addInterfaces(): obtaining exclusive lock failed.\n");
        return;
    }
    const std::vector<Interfaces::Interface> registry = registryList();

    const FrameMutexGuard guard(frameMutex);
    interfaces.clear();
    for (const Interfaces::Interface& row : registry) {
        const auto found = settings.interfaces.find(row.id);
        const auto start =
            found == settings.interfaces.end() ? settings_t::interfaceSettings_t{} : found->second;
        dhcpraInterface interface(row.id, row.name, row.linuxName, row.type);
        interface.setModeV6(start.mode);
        interface.setInterfaceIDV6(start.interfaceId);
        interface.setCircuitTrustedV6(getDefaultCircuitTrustedV6(row.type));
        static_cast<void>(interface.setRemoteIdValV6(start.remoteIdVal)); // a factory text always fits
        interfaces.add(std::move(interface));
    }
}

bool dhcpraV6Impl::clearPortVlanAll()
{
    const FrameMutexGuard guard(frameMutex);
    return std::all_of(interfaces.begin(), interfaces.end(),
                       [](auto& entry) { return entry.second.vlanDelAllV6(); });
}

// ---- Counters ----

void dhcpraV6Impl::getSummedCounters(counters_t& sum) const
{
    const FrameMutexGuard guard(frameMutex);
    sum.assign(dhcpraTypes::counterV6Count, 0);
    sumOver(interfaces, &dhcpraInterface::getAllCountersV6, addCounters, sum);
}

void dhcpraV6Impl::getSummedCountersPerVlan(countersPerVlan_t& sum) const
{
    const FrameMutexGuard guard(frameMutex);
    sum.clear();
    sumOver(interfaces, &dhcpraInterface::getCountersPerVlanV6, addCountersPerVlan, sum);
}

void dhcpraV6Impl::getNdpSummedCounters(counters_t& sum) const
{
    const FrameMutexGuard guard(frameMutex);
    sum.assign(dhcpraTypes::counterV6NdpCount, 0);
    sumOver(interfaces, &dhcpraInterface::getAllCountersV6Ndp, addCounters, sum);
}

void dhcpraV6Impl::getNdpSummedCountersPerVlan(countersPerVlan_t& sum) const
{
    const FrameMutexGuard guard(frameMutex);
    sum.clear();
    sumOver(interfaces, &dhcpraInterface::getCountersPerVlanV6Ndp, addCountersPerVlan, sum);
}

// ---- Ids ----

IdContext dhcpraV6Impl::idContextOf(idGenType type) const
{
    return idContext(DebugChannels::testDebugV6, liveFrameSource(msg, type));
}

void dhcpraV6Impl::genInterfaceIdByInterfaceName(const std::string& name, std::uint16_t vid,
                                                 std::uint16_t cvid, std::string& id,
                                                 std::vector<std::uint8_t>& idBin, idGenType type) const
{
    const FrameMutexGuard guard(frameMutex);
    const IdContext context = idContextOf(type);
    const InterfaceIdSettings settings{interfaceIdFormat, remoteIdFormat, interfaceID, draCircuitIdCVlan};
    InterfaceIds(context, settings).genInterfaceIdByInterfaceName(name, vid, cvid, id, idBin, type);
}

void dhcpraV6Impl::genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                              std::string& id, std::vector<std::uint8_t>& idBin,
                                              idGenType type) const
{
    const FrameMutexGuard guard(frameMutex);
    const IdContext context = idContextOf(type);
    const InterfaceIdSettings settings{interfaceIdFormat, remoteIdFormat, interfaceID, draCircuitIdCVlan};
    InterfaceIds(context, settings).genRemoteIdByInterfaceName(name, vid, cvid, id, idBin, type);
}
