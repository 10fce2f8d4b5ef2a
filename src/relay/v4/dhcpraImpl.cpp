#include "relay/v4/dhcpraImpl.h"

#include "log/LogText.h"
#include "platform/Node.h"
#include "platform/zobridge.h"
#include "relay/engine/LiveFrame.h"
#include "relay/ids/CustomIds.h"
#include "relay/io/FrameSocket.h"
#include "relay/io/PseudoDevice.h"
#include "rte/BLL/core/BLLManager.h"

#include <algorithm>

using FrameMutexGuard = boost::lock_guard<boost::recursive_mutex>;

dhcpraImpl::dhcpraImpl()
    : io(std::make_unique<FrameSocket>(interface_name, ioSink)),
      serverSender(std::make_unique<UdpServerSender>())
{}

dhcpraImpl::dhcpraImpl(std::unique_ptr<FrameIo> frames, std::unique_ptr<ServerSender> sender)
    : io(std::move(frames)), serverSender(std::move(sender))
{}

dhcpraImpl::~dhcpraImpl()
{
    // The singleton outlives every orderly stop; a process that just ends must still join its thread.
    stop();
}

// --- Lifecycle

bool dhcpraImpl::start()
{
    if (frameThread.isRunning())
        return true;
    if (!makePseudoDevice(interface_name))
        return false;
    zobridge::openFds("");
    if (!attachFilters(procfs_bridge_file, interface_name,
                       {{appfilter_name, "DHCPRA: Cannot attach filter.\n"}}))
        return false;
    // A socket that does not open is the frame thread's to open again.
    static_cast<void>(io->open());
    takeLocalMac();
    frameThread.start([this] { processFrame(); });
    return true;
}

void dhcpraImpl::takeLocalMac()
{
    Network::NetworkInfo info;
    if (Network::getNetworkInfo(&info) != 0) {
        logText(LogImpl::critical, "DHCPRA: Error setting local MAC address!\n");
        info.mac = {};
    }
    store(identity.localMac, info.mac);
}

void dhcpraImpl::stop()
{
    frameThread.stop(*io);
    const FrameMutexGuard guard(frameMutex);
    interfaces.clear();
    floodTargetsKnown = false;
}

bool dhcpraImpl::applyDefaultSettings()
{
    const BLLManager::exclusiveLock_t global;
    if (!global.locked) {
        logText(LogImpl::critical, "dhcpraImpl::applyDefaultSettings(): obtaining exclusive lock failed.\n");
        return false;
    }
    std::vector<Interfaces::Interface> registry;
    static_cast<void>(Interfaces::interfaceListGet(registry));
    const settings_t defaults(registry);

    setDraEnabled(defaults.draEnabled);
    setFullMode(defaults.fullMode);
    setInsertOpt82(defaults.insertOpt82);
    setUnicastExtension(defaults.unicastExtension);
    setKeepOpt82(defaults.keepOpt82);
    setCircuitTrusted(defaults.circuitTrusted);
    setInsertCircuitID(defaults.insertCircuitID);
    setInsertRemoteID(defaults.insertRemoteID);
    setNodeId(defaults.nodeId);
    setChassisId(defaults.chassisId);
    setDraCircuitIdCVlan(defaults.draCircuitIdCVlan);
    setCircuitIdFormat(defaults.circuitIdFormat);
    setRemoteIdFormat(defaults.remoteIdFormat);
    loggingLevelSet(defaults.loggingLevel);
    addInterfaces(defaults.interfaces);

    const FrameMutexGuard guard(frameMutex);
    vlans = VlanTable(defaults.vlans);
    defaultServer = defaults.defaultServer;
    servers = ServerTable(defaults.serversPerVlan);
    return true;
}

void dhcpraImpl::addInterfaces(const std::map<std::uint32_t, settings_t::interfaceSettings_t>& settings)
{
    const BLLManager::exclusiveLock_t global;
    if (!global.locked) {
        logText(LogImpl::critical, "dhcpraImpl::addInterfaces(): obtaining exclusive lock failed.\n");
        return;
    }
    const FrameMutexGuard guard(frameMutex);
    interfaces.clear();
    floodTargetsKnown = false;

    std::vector<Interfaces::Interface> registry;
    static_cast<void>(Interfaces::interfaceListGet(registry));
    static const settings_t::interfaceSettings_t unset;
    for (const Interfaces::Interface& row : registry) {
        const auto found = settings.find(row.id);
        const settings_t::interfaceSettings_t& own = found == settings.end() ? unset : found->second;
        dhcpraInterface interface(row.id, row.name, row.linuxName, row.type);
        interface.setMode(own.mode);
        interface.setCircuitTrusted(own.circuitTrusted);
        interface.setInsertOpt82(own.insertOpt82);
        interface.setUnicastExtension(own.unicastExtension);
        interface.setKeepOpt82(own.keepOpt82);
        interface.setMetering(own.metering);
        interface.setRate(own.rate);
        static_cast<void>(interface.setRemoteID(own.remoteId));
        interface.setCircuitIdMode(own.circuitIdMode);
        interfaces.add(std::move(interface));
    }
}

// --- Settings

void dhcpraImpl::setServerPerVlan(std::uint32_t server, std::uint16_t vlan, bool add)
{
    const FrameMutexGuard guard(frameMutex);
    servers.set(server, vlan, add);
}

// --- Interfaces and VLANs

const dhcpraInterface* dhcpraImpl::getInterfaceByLinuxName(const std::string& name) const
{
    return interfaces.getInterfaceByLinuxName(name);
}

bool dhcpraImpl::isVlanConfigured(std::uint16_t vid) const { return vlans.isVlanConfigured(vid); }

bool dhcpraImpl::clearPortVlanAll()
{
    const FrameMutexGuard guard(frameMutex);
    return std::all_of(interfaces.begin(), interfaces.end(),
                       [](auto& entry) { return entry.second.vlanDelAll(); });
}

void dhcpraImpl::getSummedCounters(counters_t& sum) const
{
    const FrameMutexGuard guard(frameMutex);
    sum.assign(dhcpraTypes::counterCount, 0);
    for (const auto& [id, interface] : interfaces)
        addCounters(sum, interface.getAllCounters());
}

void dhcpraImpl::getSummedCountersPerVlan(countersPerVlan_t& sum) const
{
    const FrameMutexGuard guard(frameMutex);
    sum.clear();
    for (const auto& [id, interface] : interfaces)
        addCountersPerVlan(sum, interface.getCountersPerVlan());
}

// --- Ids

IdContext dhcpraImpl::idContextOf(idGenType type) const
{
    return idContext(DebugChannels::testDebug, liveFrameSource(msg, type));
}

void dhcpraImpl::genCircuitIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                             std::string& id, std::vector<std::uint8_t>& bin,
                                             idGenType type) const
{
    const FrameMutexGuard guard(frameMutex);
    const IdContext context = idContextOf(type);
    const CircuitIdSettings settings{circuitIdFormat, remoteIdFormat, draCircuitIdCVlan};
    CircuitIds(context, settings).genCircuitIdByInterfaceName(name, vid, cvid, id, bin, type);
}

void dhcpraImpl::genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                            std::string& id, std::vector<std::uint8_t>& bin,
                                            idGenType type) const
{
    const FrameMutexGuard guard(frameMutex);
    const IdContext context = idContextOf(type);
    const CircuitIdSettings settings{circuitIdFormat, remoteIdFormat, draCircuitIdCVlan};
    CircuitIds(context, settings).genRemoteIdByInterfaceName(name, vid, cvid, id, bin, type);
}

bool dhcpraImpl::genCustomId(std::uint32_t intfId, std::uint16_t vid, std::uint16_t cvid,
                             const std::string& format, std::string& id, std::vector<std::uint8_t>& bin,
                             idGenType type) const
{
    const FrameMutexGuard guard(frameMutex);
    const IdContext context = idContextOf(type);
    return CustomIds(context, idFamilyV4).genCustomId(intfId, vid, cvid, format, id, bin, type);
}
