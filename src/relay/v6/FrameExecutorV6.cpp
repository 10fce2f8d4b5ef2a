#include "relay/v6/FrameExecutorV6.h"

#include "wire/Dhcpv6.h"

#include <boost/thread/lock_guard.hpp>

namespace {

int sizeOf(const std::string& text) { return static_cast<int>(text.size()); }

} // namespace

void FrameExecutorV6::relayRequest(dhcpraV6Message& frame)
{
    parts.trace.note("processFrameClientToServerSimplified()\n");
    const dhcpraInterface* source = parts.tables.interfaces.getInterfaceById(frame.getFrameSrcInterfaceId());
    if (source == nullptr)
        return parts.trace.note("\t no interface configuration (%s)\n",
                                frame.getFrameSrcInterfaceName().c_str());

    const std::uint16_t vlan = frame.getFrameVlan();
    makeInterfaceId(source->getName(), frame);
    remoteId.clear();
    remoteIdBin.clear();
    idsOf(frame).genRemoteIdByInterfaceName(source->getName(), vlan, frame.getFrameCVlan(), remoteId,
                                            remoteIdBin, dhcpraTypes::idGenType::liveFrame);
    const std::uint32_t enterpriseNumber = source->getEnterpriseNumPerVlanV6(vlan);
    parts.trace.note("\t generated interface id : [%s] (%d)\n", interfaceId.c_str(), sizeOf(interfaceId));
    parts.trace.note("\t remote id : [%s] (%d), enterprise num : (%d)\n", remoteId.c_str(), sizeOf(remoteId),
                     enterpriseNumber);

    if (frame.getDhcpFieldOpcode() == wire::dhcpv6RelayForward) {
        frame.incrementDhcpFieldHops();
        frame.updateCRC();
        parts.trace.note("\t DO: relay-fwd message, send frame\n");
        return sendFrame(frame);
    }
    switch (frame.wrapIntoRelayForward(interfaceId, interfaceIdBin)) {
    case dhcpraV6Message::Wrapping::done:
        break;
    case dhcpraV6Message::Wrapping::tooLong:
        return discardWith(dhcpraTypes::counterV6TooLong, "\t DO: discard: relay-fwd msg exceeds MTU value\n",
                           frame);
    case dhcpraV6Message::Wrapping::incomplete:
        return discardWith(dhcpraTypes::counterV6DiscardReaction,
                           "\t DO: discard: message claims more than has come\n", frame);
    }
    parts.trace.note("\t Relay-Fwd msg created, udp len=%d\n", frame.getUdpFieldLength());
    // No switch is asked: a remote id that is not wanted has an empty format.
    if (!remoteId.empty()) {
        if (!frame.addOpt37_RemoteId(remoteId, remoteIdBin, enterpriseNumber))
            return discardWith(dhcpraTypes::counterV6TooLong,
                               "\t DO: discard: adding addOpt37_RemoteId exceeds MTU value\n", frame);
        parts.trace.note("\t Relay-Fwd msg, option remoteId added, udp len=%d\n", frame.getUdpFieldLength());
    }
    frame.updateCRC();
    parts.trace.note("\t DO: send frame\n");
    sendFrame(frame);
}

void FrameExecutorV6::relayReply(dhcpraV6Message& frame)
{
    parts.trace.note("processFrameServerToClientSimplified()\n");
    const std::uint32_t source = frame.getFrameSrcInterfaceId();
    if (parts.tables.interfaces.getInterfaceById(source) == nullptr) { // its reaction was a discard already
        parts.trace.note("\t DO: discard (no interface configuration (%s))\n",
                         frame.getFrameSrcInterfaceName().c_str());
        return discard(frame, dhcpraTypes::counterV6UnknownInterface);
    }
    const dhcpraInterface* target = interfaceOfOption18(frame);
    if (const std::uint8_t* peer = frame.getDhcpFieldPeerAddr())
        frame.setIpFieldDest(peer);
    if (!frame.createOriginalFromRelayRplyMessage())
        return discardWrongReply(frame);
    frame.setUdpFieldDestPort(dhcpraV6Message::udpPort::client);

    if (target != nullptr) {
        frame.setFrameDstInterfaceIdx(target->getID());
    } else {
        frame.setFrameDstInterfaceIdx(0);
        const std::uint8_t* client = frame.getDhcpFieldLinkLayerAddr();
        // Nobody knows where this frame belongs; it goes to nobody.
        if (client == nullptr)
            return discardWrongReply(frame);
        frame.setEthFieldDest(client);
    }
    frame.updateCRC();
    sendFrame(frame);
}

void FrameExecutorV6::discardWith(dhcpraTypes::counterV6Id counter, const char* text,
                                  const dhcpraV6Message& frame)
{
    parts.trace.note(text);
    discard(frame, counter);
}

void FrameExecutorV6::discardWrongReply(const dhcpraV6Message& frame)
{
    discardWith(dhcpraTypes::counterV6DiscardReaction, "\t DO: discard: relay-rply msg wrong\n", frame);
}

/// The interface named in the interface id, if that is exactly the one which this node gives it: an option
/// that somebody else made must not steer a reply.
const dhcpraInterface* FrameExecutorV6::interfaceOfOption18(const dhcpraV6Message& frame)
{
    const dhcpraInterface* target = nullptr;
    port.clear();
    const bool parsed = frame.parseOpt18ForPort(port);
    if (parsed) {
        makeInterfaceId(port, frame);
        receivedId.clear();
        if (frame.parseOpt18ForInterfaceId(receivedId) && receivedId == interfaceId)
            target = parts.tables.interfaces.getInterfaceByName(port);
        else
            parts.trace.note("\t InterfaceId differ : (%s) (%s)\n", receivedId.c_str(), interfaceId.c_str());
    }
    parts.trace.note("\t Parsed port : %s (%s)\n", port.c_str(), trueOrFalse(parsed));
    return target;
}

void FrameExecutorV6::makeInterfaceId(const std::string& name, const dhcpraV6Message& frame)
{
    interfaceId.clear();
    interfaceIdBin.clear();
    idsOf(frame).genInterfaceIdByInterfaceName(name, frame.getFrameVlan(), frame.getFrameCVlan(), interfaceId,
                                               interfaceIdBin, dhcpraTypes::idGenType::liveFrame);
}

InterfaceIds FrameExecutorV6::idsOf(const dhcpraV6Message& frame) const
{
    const GlobalSettingsV6& global = parts.global;
    return {liveIdContext(parts.tables, {parts.debug, DebugChannels::testDebugV6}, frame),
            {global.interfaceIdFormat, global.remoteIdFormat, global.interfaceID,
             parts.tables.draCircuitIdCVlan}};
}

void FrameExecutorV6::discard(const dhcpraV6Message& frame, dhcpraTypes::counterV6Id counter)
{
    const boost::lock_guard<boost::recursive_mutex> guard(parts.engineMutex);
    if (dhcpraInterface* source = sourceOrWarning(parts.tables, frame, "dhcpraV6Impl::discard"))
        source->incrementCounterV6(counter, frame.getFrameVlan());
}
