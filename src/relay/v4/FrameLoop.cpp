#include "log/LogText.h"
#include "relay/v4/dhcpraImpl.h"

#include <array>

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;

namespace {

// Counter by DHCP message type (RFC 2132 section 9.6), types 1 to 8.
constexpr std::array<dhcpraTypes::counterId, 8> counterOfType{
    dhcpraTypes::counterDiscover, dhcpraTypes::counterOffer, dhcpraTypes::counterRequest,
    dhcpraTypes::counterDecline,  dhcpraTypes::counterAck,   dhcpraTypes::counterNack,
    dhcpraTypes::counterRelease,  dhcpraTypes::counterInform};

/// The frame-debug channel names the function that operators know.
constexpr const char* ownName = "processFrame";

threeStateBool enabledOf(const dhcpraVlan* vlan)
{
    return vlan == nullptr ? threeStateBool::notSet : vlan->isEnabled();
}

} // namespace

void dhcpraImpl::processFrame()
{
    trace.note("dhcpraImpl::processFrame()");
    runFrameThread("dhcpra_processFrame", "dhcpraImpl", trace, [this] { nextTurn(); });
}

void dhcpraImpl::nextTurn()
{
    trace.note("*** Next iteration **********************************************************");
    if (channel.receive(msg))
        handleFrame();
}

void dhcpraImpl::handleFrame()
{
    frameEnd.take(msg.bytesToSend());
    checkFrameEnd(msg, 1);
    untold = {};
    underFrameLocks(
        "dhcpraImpl", frameMutex,
        [this](FrameEngineLock& engine, bool exclusive) {
            decideOn(msg, engine, exclusive);
            return untold.copies > 0;
        },
        [this] { tellFrameSent(msg); });
}

void dhcpraImpl::decideOn(dhcpraMessage& frame, FrameEngineLock& engine, bool exclusive)
{
    // Sends and discards need no setting, so configuration need not wait for them; frameMutex stays held when
    // it is all that keeps this frame and a configuration call apart.
    const auto letGo = [&engine, exclusive] {
        if (exclusive)
            engine.unlock();
    };

    refreshCounters(frame);
    if (!draEnabled) {
        trace.decided({"\t DO: send as-is: dhcpra disabled, no frame processing", ownName});
        return sendFrame(frame);
    }
    if (!frame.isValid())
        return trace.decided({"\t invalid frame", ownName});
    if (frame.getUdpFieldDestPort() == dhcpraMessage::udpPort::other) {
        trace.decided({"\t DO: discard: only IP V4 supported by now", ownName});
        letGo();
        return discard(frame, dhcpraTypes::counterDiscardReaction);
    }

    switch (getFrameReaction(frame)) {
    case reactionSendAsIs:
        trace.decided({"\t DO: send as-is: reaction", ownName});
        letGo();
        return sendFrame(frame);
    case reactionDiscard:
        trace.decided({"\t DO: discard: reaction", ownName});
        letGo();
        return discard(frame, dhcpraTypes::counterDiscardReaction);
    case reactionProcess:
        break;
    }

    const dhcpraVlan* vlan = vlans.getVlanById(frame.getFrameVlan());
    const bool full =
        dhcpraTypes::resolve(vlan == nullptr ? threeStateBool::notSet : vlan->isFullMode(), fullMode);
    const bool broadcast = frame.isDestinationBroadcast();
    const bool fromClient = frame.getOrigin() == 0;
    if (passesAsUnicast(fromClient, broadcast, isUnicastExtensionOn(frame))) {
        trace.decided({"\t DO: send as is: special cases (Option82 Unicast Extension)", ownName});
        letGo();
        return sendFrame(frame);
    }
    if (full && broadcast && frame.getDhcpFieldOpcode() == opcodeReply) {
        trace.decided(
            {"\t DO: send as is: special cases (Server-originated broadcast frames in Full mode)", ownName});
        letGo();
        return sendFrame(frame);
    }

    const bool ipCrcValid = frame.isIpCrcValid();
    const bool udpCrcValid = frame.isUdpCrcValid();
    if (!ipCrcValid || !udpCrcValid) {
        trace.decided(
            {"\t DO: discard: CRC checks failed msg.isIpCrcValid()=%d, msg.isUdpCrcValid()=%d", ownName},
            ipCrcValid, udpCrcValid);
        letGo();
        return discard(frame, dhcpraTypes::counterDiscardInvalid);
    }
    checkFrameEnd(frame, 2);
    dispatch(frame, full);
}

void dhcpraImpl::dispatch(dhcpraMessage& frame, bool full)
{
    switch (frame.getDhcpFieldOpcode()) {
    case opcodeRequest:
        return full ? processFrameClientToServerFull(frame) : processFrameClientToServerSimplified(frame);
    case opcodeReply:
        return full ? processFrameServerToClientFull(frame) : processFrameServerToClientSimplified(frame);
    default:
        logText(LogImpl::critical, "DHCPRA: processFrame(): unknown origin");
    }
}

frameReaction dhcpraImpl::getFrameReaction(const dhcpraMessage& frame) const
{
    trace.note("getFrameReaction()\n");
    const dhcpraInterface* source = getInterfaceById(frame.getFrameSrcInterfaceId());
    const interfaceMode mode = source == nullptr ? interfaceMode::DISABLE : source->getMode();
    const std::uint8_t opcode = frame.getDhcpFieldOpcode();
    if (trace.isListenedTo())
        trace.decided("\t Opcode: %s; Mode: %s; Destination: %s\n",
                      opcode == opcodeRequest ? "REQUEST" : "REPLY", modeName(mode),
                      frame.isDestinationBroadcast() ? "BROADCAST" : "UNICAST");

    const ReactionRule rule = reactionRule(opcode, mode);
    if (rule == ReactionRule::unknownOpcode)
        logText(LogImpl::critical, "DHCPRA: getFrameReaction(): unknown frame opcode");
    if (rule == ReactionRule::unknownMode)
        logText(LogImpl::critical, "DHCPRA: getFrameReaction(): unknown interface mode");

    const threeStateBool vlanEnabled = enabledOf(vlans.getVlanById(frame.getFrameVlan()));
    if (rule == ReactionRule::vlanCheck && vlanEnabled == threeStateBool::no)
        trace.decided("\t Disabled for incoming VLAN (%d)\n", frame.getFrameVlan());
    const bool frameValid = frame.isFrameValid();
    if (!frameValid)
        trace.decided("\t Frame not valid\n");
    return reactionFor(rule, vlanEnabled, frameValid);
}

bool dhcpraImpl::isUnicastExtensionOn(const dhcpraMessage& frame) const
{
    const dhcpraVlan* vlan = vlans.getVlanById(frame.getFrameVlan());
    const dhcpraInterface* source = getInterfaceById(frame.getFrameSrcInterfaceId());
    return resolveLevels(vlan == nullptr ? threeStateBool::notSet : vlan->isUnicastExtension(),
                         source == nullptr ? threeStateBool::notSet : source->isUnicastExtension(),
                         unicastExtension);
}

bool dhcpraImpl::isKeepOpt82On(std::uint16_t vid, const dhcpraInterface* target) const
{
    const dhcpraVlan* vlan = vlans.getVlanById(vid);
    return resolveLevels(vlan == nullptr ? threeStateBool::notSet : vlan->isKeepOpt82(),
                         target == nullptr ? threeStateBool::notSet : target->isKeepOpt82(), keepOpt82);
}

void dhcpraImpl::discard(const dhcpraMessage& frame, dhcpraTypes::counterId counter)
{
    trace.note("discard()\n");
    dhcpraInterface* source = getInterfaceById(frame.getFrameSrcInterfaceId());
    if (source == nullptr) {
        logText(LogImpl::warning, "dhcpraImpl::discard(): Interface (", frame.getFrameSrcInterfaceName(),
                ") not found.\n");
        return;
    }
    source->incrementCounter(counter, frame.getFrameVlan());
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

void dhcpraImpl::tellFrameEndChanged(const dhcpraMessage& frame, const FrameEndWatch::Change& change,
                                     int check)
{
    const auto& [from, to] = change;
    trace.note("\t Debug %d: last four bytes changed from %02x:%02x:%02x:%02x to %02x:%02x:%02x:%02x.", check,
               from[0], from[1], from[2], from[3], to[0], to[1], to[2], to[3]);
    if (check == 5)
        trace.note("\t Debug 5: Frame size: %d, CircuitId size: %ld, RemoteId Size: %ld",
                   frame.getFrameFullSize(), static_cast<long>(circuitId.size()),
                   static_cast<long>(remoteId.size()));
    else
        trace.note("\t Debug %d: Frame size: %d", check, frame.getFrameFullSize());
    if (!ioDumpSink.wantsDebugText())
        return;
    ioDumpSink.log("Debug %d Dump: ", check);
    channel.traceDump(frame, frame.bytesToSend().size());
}
