#include "log/LogText.h"
#include "relay/v6/FrameDecisionV6.h"
#include "relay/v6/dhcpraV6Impl.h"

#include <chrono>
#include <utility>

// The loop of the DHCPv6 engine and the chain of checks in front of its two paths.

using FrameMutexGuard = boost::lock_guard<boost::recursive_mutex>;
using dhcpraTypes::threeStateBool;

namespace {

/// The engine's rate limit; a backlog waits in the socket.
constexpr std::chrono::microseconds pauseForEachFrame{1'000'000 / dhcpraV6Impl::framesPerSecond};
static_assert(pauseForEachFrame.count() == 3125);

constexpr const char* engineName = "dhcpraV6Impl";

} // namespace

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

// ---- ICMPv6. No global lock: source guard, which decides, takes what it needs ----

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

// ---- DHCPv6 ----

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
            return decideOn(engine);
        },
        [this] { tellDhcpFrame(); });
}

/// Whether the frame is one to tell of.
bool dhcpraV6Impl::decideOn(FrameEngineLock& engine)
{
    refreshCounters(msg);
    const dhcpraVlan* vlan = nullptr;
    if (!takeVlan(vlan)) {
        trace.note("\t vlan not found in frame and opt18, send back to bridge");
        engine.unlock();
        sendFrame(msg);
        return false;
    }
    if (!isRelayOnFor(vlan)) {
        trace.note("\t DO: send as-is: dhcpra disabled, no frame processing");
        sendFrame(msg);
        return true;
    }
    switch (getFrameReaction(msg)) {
    case reactionSendAsIs:
        trace.note("\t DO: send as-is: reaction");
        engine.unlock();
        sendFrame(msg);
        break;
    case reactionDiscard:
        trace.note("\t DO: discard: reaction");
        engine.unlock();
        discard(msg, dhcpraTypes::counterV6DiscardReaction);
        return false;
    case reactionProcess:
        relayFrame();
        engine.unlock();
        break;
    }
    return true;
}

/// The VLAN that decides, written to the frame; false if neither the frame nor its interface id has one.
bool dhcpraV6Impl::takeVlan(const dhcpraVlan*& vlan)
{
    std::uint16_t vid = msg.getFrameVlan();
    const bool parse = isVlanFromInterfaceId(vid);
    if (parse) {
        trace.note("\t VLAN %d in frame not in range 2 - 4094, looking for vlan in opt18 - interfaceId", vid);
        if (!msg.parseOpt18ForVlan(vid))
            return false;
    }
    // Also a tag that has not changed is written, and into a frame without one.
    msg.setFrameDstVlan(vid);
    vlan = getVlanById(vid);
    if (parse)
        trace.note("\t Parsed VLAN : %s (%d)", trueOrFalse(parse), vid);
    else
        trace.note("\t VLAN %d found in frame", vid);
    return true;
}

bool dhcpraV6Impl::isRelayOnFor(const dhcpraVlan* vlan) const
{
    const dhcpraInterface* source = getInterfaceById(msg.getFrameSrcInterfaceId());
    return isRelayOn(vlan == nullptr ? threeStateBool::notSet : vlan->isEnabledV6(),
                     source == nullptr ? std::nullopt : std::optional(source->getModeV6()), draEnabled);
}

frameReaction dhcpraV6Impl::getFrameReaction(const dhcpraV6Message& frame) const
{
    trace.note("getFrameReaction()\n");
    const FrameMutexGuard guard(frameMutex);
    const dhcpraInterface* source = getInterfaceById(frame.getFrameSrcInterfaceId());
    FrameTraitsV6 traits{.mode = std::nullopt,
                         .toServerPort = frame.getUdpFieldDestPort() == dhcpraV6Message::udpPort::server,
                         .type = frame.getDhcpFieldOpcode(),
                         .trusted = false};
    if (source != nullptr) {
        traits.mode = source->getModeV6();
        traits.trusted = source->isCircuitTrustedV6() == threeStateBool::yes;
        trace.note("\t Opcode: %s; Intf: %s; Mode: %s;\n", messageTypeName(traits.type),
                   source->getName().c_str(), modeName(*traits.mode));
    }
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

void dhcpraV6Impl::relayFrame()
{
    if (msg.getOrigin())
        return processFrameServerToClientSimplified();
    // Source guard is to see what the client has sent.
    msg.backupOriginalFrame();
    processFrameClientToServerSimplified();
    msg.restoreOriginalFrame();
}

void dhcpraV6Impl::sendFrame(const dhcpraV6Message& frame) { channel.send(frame); }

void dhcpraV6Impl::tellDhcpFrame()
{
    const auto hook = frameSent.get();
    if (hook == nullptr)
        return;
    // The frame has gone: neither the answer nor the counter changes anything about it.
    auto counter = dhcpraTypes::counterId{};
    static_cast<void>((*hook)(msg, &counter));
}

// ---- Counters. Each takes the engine lock: they are also called without it ----

dhcpraInterface* dhcpraV6Impl::sourceOrWarning(const char* operation, const dhcpraV6Message& frame)
{
    dhcpraInterface* source = getInterfaceById(frame.getFrameSrcInterfaceId());
    if (source == nullptr)
        logText(LogImpl::warning, "dhcpraV6Impl::", operation, "(): Interface (",
                frame.getFrameSrcInterfaceName(), ") not found.\n");
    return source;
}

dhcpraInterface* dhcpraV6Impl::sourceOrNote(const dhcpraV6Message& frame)
{
    dhcpraInterface* source = getInterfaceById(frame.getFrameSrcInterfaceId());
    if (source == nullptr)
        trace.note("\ndhcpraV6Impl::refreshStatistics(): Interface (%s) not found.\n",
                   frame.getFrameSrcInterfaceName().c_str());
    return source;
}

void dhcpraV6Impl::discard(const dhcpraV6Message& frame, dhcpraTypes::counterV6Id counter)
{
    const FrameMutexGuard guard(frameMutex);
    if (dhcpraInterface* source = sourceOrWarning("discard", frame))
        source->incrementCounterV6(counter, frame.getFrameVlan());
}

void dhcpraV6Impl::discardNdp(const dhcpraV6Message& frame, dhcpraTypes::counterV6Ndp counter)
{
    const FrameMutexGuard guard(frameMutex);
    if (dhcpraInterface* source = sourceOrWarning("discardNdp", frame))
        source->incrementCounterV6Ndp(counter, frame.getFrameVlan());
}

void dhcpraV6Impl::refreshCounters(const dhcpraV6Message& frame)
{
    const FrameMutexGuard guard(frameMutex);
    dhcpraInterface* source = sourceOrNote(frame);
    const std::uint8_t type = frame.getDhcpFieldOpcode();
    constexpr std::uint8_t lastType = dhcpraTypes::counterV6LastType + 1;
    if (source != nullptr && type >= 1 && type <= lastType)
        source->incrementCounterV6(static_cast<dhcpraTypes::counterV6Id>(type - 1), frame.getFrameVlan());
}

void dhcpraV6Impl::refreshNdpCounters(const dhcpraV6Message& frame)
{
    const FrameMutexGuard guard(frameMutex);
    if (dhcpraInterface* source = sourceOrNote(frame))
        source->incrementCounterV6Ndp(dhcpraTypes::counterV6NdpReceived, frame.getFrameVlan());
}
