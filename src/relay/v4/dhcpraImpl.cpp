#include "relay/v4/dhcpraImpl.h"

#include "platform/Node.h"
#include "platform/zobridge.h"

#include <array>

namespace {

// Counter by DHCP message type (RFC 2132 section 9.6), types 1 to 8.
constexpr std::array<dhcpraTypes::counterId, 8> counterOfType{
    dhcpraTypes::counterDiscover, dhcpraTypes::counterOffer, dhcpraTypes::counterRequest,
    dhcpraTypes::counterDecline,  dhcpraTypes::counterAck,   dhcpraTypes::counterNack,
    dhcpraTypes::counterRelease,  dhcpraTypes::counterInform};

} // namespace

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
    store(tables.identity.localMac, info.mac);
}

void dhcpraImpl::takeOwnSettings(const settings_t& settings)
{
    global = settings;
    tables.identity.nodeId = settings.nodeId;
    tables.identity.chassisId = settings.chassisId;
    servers = ServerTable(settings.serversPerVlan);
}

// --- Settings

void dhcpraImpl::setServerPerVlan(std::uint32_t server, std::uint16_t vlan, bool add)
{
    const Guard guard(frameMutex);
    servers.set(server, vlan, add);
}

// --- Ids

void dhcpraImpl::genCircuitIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                             std::string& id, std::vector<std::uint8_t>& bin,
                                             idGenType type) const
{
    const Guard guard(frameMutex);
    ids.idsOf(idContextOf(type)).genCircuitIdByInterfaceName(name, vid, cvid, id, bin, type);
}

void dhcpraImpl::genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                            std::string& id, std::vector<std::uint8_t>& bin,
                                            idGenType type) const
{
    const Guard guard(frameMutex);
    ids.idsOf(idContextOf(type)).genRemoteIdByInterfaceName(name, vid, cvid, id, bin, type);
}

bool dhcpraImpl::genCustomId(std::uint32_t intfId, std::uint16_t vid, std::uint16_t cvid,
                             const std::string& format, std::string& id, std::vector<std::uint8_t>& bin,
                             idGenType type) const
{
    const Guard guard(frameMutex);
    return CustomIds(idContextOf(type), idFamilyV4).genCustomId(intfId, vid, cvid, format, id, bin, type);
}

// --- The loop

void dhcpraImpl::processFrame()
{
    trace.note("dhcpraImpl::processFrame()");
    runFrameThread("dhcpra_processFrame", FamilyV4::words.className, trace, [this] {
        trace.note("*** Next iteration **********************************************************");
        if (channel.receive(msg))
            handleFrame();
    });
}

void dhcpraImpl::handleFrame()
{
    frameEnd.take(msg);
    frameEnd.look(msg, 1);
    static_cast<void>(executor.takeSent()); // what a frame that was lost half way has left
    FrameExecutor::Sent sent;
    underFrameLocks(
        FamilyV4::words.className, frameMutex,
        [&](FrameEngineLock& engine, bool exclusive) {
            refreshCounters(msg);
            const FrameVerdict verdict = decisions.decide(msg);
            // What needs no setting any more lets configuration go on; frameMutex stays where it is all that
            // keeps this frame and a configuration call apart.
            if (verdict.settled && exclusive)
                engine.unlock();
            frameEnd.look(msg, 2);
            executor.carryOut(verdict, msg);
            sent = executor.takeSent();
            return sent.copies > 0;
        },
        [&] { tellHook(sent.copies, sent.refusalText); });
}

void dhcpraImpl::refreshCounters(const dhcpraMessage& frame)
{
    dhcpraInterface* source = getInterfaceById(frame.getFrameSrcInterfaceId());
    if (source == nullptr)
        return trace.note("\ndhcpraImpl::refreshStatistics(): Interface (%d) not found.\n",
                          frame.getFrameSrcInterfaceId());
    const std::uint32_t type = frame.getMessageType();
    if (type >= 1 && type <= counterOfType.size())
        source->incrementCounter(counterOfType[type - 1], frame.getFrameVlan());
}
