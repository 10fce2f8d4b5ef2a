#include "relay/v6/dhcpraV6Impl.h"

#include "platform/zobridge.h"
#include "wire/Ipv6.h"

#include <array>
#include <chrono>

using dhcpraTypes::threeStateBool;

namespace {

/// The engine's rate limit; a backlog waits in the socket.
constexpr std::chrono::microseconds pauseForEachFrame{1'000'000 / dhcpraV6Impl::framesPerSecond};
static_assert(pauseForEachFrame.count() == 3125);

constexpr const char* engineName = FamilyV6::words.className;

} // namespace

// ---- Lifecycle ----

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
        store(tables.identity.localMac, mac);
    frameThread.start([this] { processFrame(); });
    return true;
}

// ---- Counters ----

void dhcpraV6Impl::getNdpSummedCounters(counters_t& sum) const
{
    sum.assign(dhcpraTypes::counterV6NdpCount, 0);
    sumOver(&dhcpraInterface::getAllCountersV6Ndp, addCounters, sum);
}

void dhcpraV6Impl::getNdpSummedCountersPerVlan(countersPerVlan_t& sum) const
{
    sum.clear();
    sumOver(&dhcpraInterface::getCountersPerVlanV6Ndp, addCountersPerVlan, sum);
}

// ---- Ids ----

void dhcpraV6Impl::genInterfaceIdByInterfaceName(const std::string& name, std::uint16_t vid,
                                                 std::uint16_t cvid, std::string& id,
                                                 std::vector<std::uint8_t>& idBin, idGenType type) const
{
    const Guard guard(frameMutex);
    idsOf(type).genInterfaceIdByInterfaceName(name, vid, cvid, id, idBin, type);
}

void dhcpraV6Impl::genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                              std::string& id, std::vector<std::uint8_t>& idBin,
                                              idGenType type) const
{
    const Guard guard(frameMutex);
    idsOf(type).genRemoteIdByInterfaceName(name, vid, cvid, id, idBin, type);
}

// ---- The loop and the chain of checks ----

void dhcpraV6Impl::processFrame()
{
    runFrameThread("dhcpra_processFramev6", engineName, trace, [this] {
        if (!channel.receive(msg))
            return;
        io->rest(pauseForEachFrame);
        handleFrame();
    });
}

void dhcpraV6Impl::handleFrame()
{
    if (!msg.isValid()) {
        trace.note("\t Frame not valid, send back to bridge.");
        return sendFrame(msg);
    }
    switch (msg.getIpFieldNextHeader()) {
    case wire::nextHeaderUdp:
        return handleDhcpFrame();
    case wire::nextHeaderIcmpv6:
        return handleSafely(engineName, [this] { handleNdpFrame(); });
    default: // most of all extension headers, which are nobody's here
        trace.note("\t not DHCP or ICMPV6 frame, send back to bridge.");
        return sendFrame(msg);
    }
}

// No global lock: source guard, which decides, takes what it needs.
void dhcpraV6Impl::handleNdpFrame()
{
    refreshNdpCounters(msg);
    trace.note("\t DO: send as-is: ICMPV6 frame");
    static_cast<void>(ndpMsg.load(msg.received())); // from a buffer of the same size
    const auto check = ndpCheck.get();
    const NdpVerdict verdict = check == nullptr ? NdpVerdict{} : (*check)(ndpMsg);
    if (verdict.pass)
        return sendFrame(msg);
    trace.note("dhcpraV6Impl: discard NDP frame, reason: %d, ndpCase: %d\n", verdict.reason, verdict.ndpCase);
    discardNdp(msg, dhcpraTypes::counterV6NdpDropped);
}

void dhcpraV6Impl::handleDhcpFrame()
{
    if (!msg.isFrameValid()) {
        trace.note("\t DHCPv6 frame not valid, send back to bridge.");
        return sendFrame(msg);
    }
    underFrameLocks(
        engineName, frameMutex,
        [this](FrameEngineLock& lock, bool) {
            // Taken over, so that it goes before the global one whatever becomes of the frame.
            FrameEngineLock engine = std::move(lock);
            refreshCounters(msg);
            const std::optional<std::uint16_t> vid = vlanOf(msg);
            if (vid) // also a tag that has not changed is written, and into a frame without one
                msg.setFrameDstVlan(*vid);
            const VerdictV6 verdict = vid ? decide(msg, *vid) : passedWithoutVlan();
            if (verdict.settled)
                engine.unlock();
            executor.carryOut(verdict, msg);
            return verdict.isTold;
        },
        [this] { tellHook(1, nullptr); });
}

/// The VLAN that decides: the frame's own, or that of its interface id.
std::optional<std::uint16_t> dhcpraV6Impl::vlanOf(const dhcpraV6Message& frame) const
{
    std::uint16_t vid = frame.getFrameVlan();
    if (!isVlanFromInterfaceId(vid)) {
        trace.note("\t VLAN %d found in frame", vid);
        return vid;
    }
    trace.note("\t VLAN %d in frame not in range 2 - 4094, looking for vlan in opt18 - interfaceId", vid);
    if (!frame.parseOpt18ForVlan(vid)) {
        trace.note("\t vlan not found in frame and opt18, send back to bridge");
        return std::nullopt;
    }
    trace.note("\t Parsed VLAN : %s (%d)", trueOrFalse(true), vid);
    return vid;
}

VerdictV6 dhcpraV6Impl::decide(const dhcpraV6Message& frame, std::uint16_t vid) const
{
    const dhcpraVlan* vlan = tables.vlans.getVlanById(vid);
    const FrameTraitsV6 traits = traitsOf(frame);
    if (!isRelayOn(vlan == nullptr ? threeStateBool::notSet : vlan->isEnabledV6(), traits.mode,
                   tables.draEnabled)) {
        trace.note("\t DO: send as-is: dhcpra disabled, no frame processing");
        VerdictV6 verdict = verdictV6(reactionSendAsIs, false);
        verdict.settled = false;
        return verdict;
    }
    const frameReaction reaction = getFrameReaction(frame);
    if (reaction == reactionSendAsIs)
        trace.note("\t DO: send as-is: reaction");
    if (reaction == reactionDiscard)
        trace.note("\t DO: discard: reaction");
    return verdictV6(reaction, reaction == reactionProcess && frame.getOrigin());
}

FrameTraitsV6 dhcpraV6Impl::traitsOf(const dhcpraV6Message& frame) const
{
    FrameTraitsV6 traits{.mode = std::nullopt,
                         .toServerPort = frame.getUdpFieldDestPort() == dhcpraV6Message::udpPort::server,
                         .type = frame.getDhcpFieldOpcode(),
                         .trusted = false};
    if (const dhcpraInterface* source = getInterfaceById(frame.getFrameSrcInterfaceId())) {
        traits.mode = source->getModeV6();
        traits.trusted = source->isCircuitTrustedV6() == threeStateBool::yes;
    }
    return traits;
}

frameReaction dhcpraV6Impl::getFrameReaction(const dhcpraV6Message& frame) const
{
    trace.note("getFrameReaction()\n");
    const Guard guard(frameMutex);
    const FrameTraitsV6 traits = traitsOf(frame);
    if (const dhcpraInterface* source = getInterfaceById(frame.getFrameSrcInterfaceId()))
        trace.note("\t Opcode: %s; Intf: %s; Mode: %s;\n", messageTypeName(traits.type),
                   source->getName().c_str(), modeName(source->getModeV6()));
    const ReactionV6 reaction = reactionV6(traits);
    tellReaction(reaction, traits.type);
    return reactionOf(reaction);
}

void dhcpraV6Impl::tellReaction(ReactionV6 reaction, std::uint8_t type) const
{
    switch (reaction) {
    case ReactionV6::process:
    case ReactionV6::sendAsIs:
        return;
    case ReactionV6::unknownInterface:
        return trace.note("\t DO: not valid, interface not found\n");
    case ReactionV6::wrongPort:
        return trace.note("\t DO: not valid, destination port not server port\n");
    case ReactionV6::wrongTypeFromClients:
        return trace.note("\t DO: not valid, client side, opcode not allowed (%d)\n", type);
    case ReactionV6::wrongTypeFromServers:
        return trace.note("\t DO: not valid, server side, opcode not allowed (%d)\n", type);
    case ReactionV6::untrustedRelayForward:
        return trace.note("\t DO: discard: received relay-fwd msg on untrusted interface\n");
    case ReactionV6::unknownMode:
        return logText(LogImpl::critical, "DHCPRA: getFrameReaction(): unknown interface mode");
    }
}

// ---- Counting. Each takes the engine lock: they are also called without it ----

dhcpraInterface* dhcpraV6Impl::sourceOrNote(const dhcpraV6Message& frame)
{
    dhcpraInterface* source = getInterfaceById(frame.getFrameSrcInterfaceId());
    if (source == nullptr)
        trace.note("\ndhcpraV6Impl::refreshStatistics(): Interface (%s) not found.\n",
                   frame.getFrameSrcInterfaceName().c_str());
    return source;
}

void dhcpraV6Impl::discardNdp(const dhcpraV6Message& frame, dhcpraTypes::counterV6Ndp counter)
{
    const Guard guard(frameMutex);
    if (dhcpraInterface* source = sourceOrWarning(tables, frame, "dhcpraV6Impl::discardNdp"))
        source->incrementCounterV6Ndp(counter, frame.getFrameVlan());
}

void dhcpraV6Impl::refreshCounters(const dhcpraV6Message& frame)
{
    const Guard guard(frameMutex);
    dhcpraInterface* source = sourceOrNote(frame);
    const std::uint8_t type = frame.getDhcpFieldOpcode();
    constexpr std::uint8_t lastType = dhcpraTypes::counterV6LastType + 1;
    if (source != nullptr && type >= 1 && type <= lastType)
        source->incrementCounterV6(static_cast<dhcpraTypes::counterV6Id>(type - 1), frame.getFrameVlan());
}

void dhcpraV6Impl::refreshNdpCounters(const dhcpraV6Message& frame)
{
    const Guard guard(frameMutex);
    if (dhcpraInterface* source = sourceOrNote(frame))
        source->incrementCounterV6Ndp(dhcpraTypes::counterV6NdpReceived, frame.getFrameVlan());
}

// ---- Debug word. A dump holds frameMutex for a copy only ----

void dhcpraV6Impl::dhcpraDump(std::uint32_t intfId, std::ostringstream* out) const
{
    struct Shown
    {
        std::string interfaceIdFormat, remoteIdFormat;
        std::vector<dhcpraInterface> interfaces;
    };
    const Shown shown = [&] {
        const Guard guard(frameMutex);
        return Shown{global.interfaceIdFormat, global.remoteIdFormat, copyOfInterfaces(intfId)};
    }();
    dumpSettings(shown.interfaceIdFormat, shown.remoteIdFormat, shown.interfaces, *out);
    *out << "\n";
}
