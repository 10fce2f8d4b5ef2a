#include "relay/v6/dhcpraV6Impl.h"
#include "wire/Dhcpv6.h"

// What is done with a DHCPv6 frame. The node is a lightweight relay agent on layer 2 (RFC 6221): it wraps on
// the way up and unwraps on the way down; addresses and ports stay the client's, and the link address stays
// "::".

namespace {

int sizeOf(const std::string& text) { return static_cast<int>(text.size()); }

} // namespace

void dhcpraV6Impl::carryOut(const VerdictV6& verdict)
{
    switch (verdict.act) {
    case Verdict::Act::nothing:
    case Verdict::Act::flood: // on layer 2 the bridge floods
        return;
    case Verdict::Act::pass:
        return sendFrame(msg);
    case Verdict::Act::discard:
        return discard(msg, static_cast<dhcpraTypes::counterV6Id>(verdict.counter));
    case Verdict::Act::toServers:
        // Source guard is to see what the client has sent.
        msg.backupOriginalFrame();
        processFrameClientToServerSimplified();
        return msg.restoreOriginalFrame();
    case Verdict::Act::toInterface:
        return processFrameServerToClientSimplified();
    }
}

void dhcpraV6Impl::processFrameClientToServerSimplified()
{
    trace.note("processFrameClientToServerSimplified()\n");
    const dhcpraInterface* source = getInterfaceById(msg.getFrameSrcInterfaceId());
    if (source == nullptr)
        return trace.note("\t no interface configuration (%s)\n", msg.getFrameSrcInterfaceName().c_str());

    const std::uint16_t vlan = msg.getFrameVlan();
    makeInterfaceId(source->getName());
    remoteId.clear();
    remoteIdBin.clear();
    idsOf(idGenType::liveFrame)
        .genRemoteIdByInterfaceName(source->getName(), vlan, msg.getFrameCVlan(), remoteId, remoteIdBin,
                                    idGenType::liveFrame);
    const std::uint32_t enterpriseNumber = source->getEnterpriseNumPerVlanV6(vlan);
    trace.note("\t generated interface id : [%s] (%d)\n", interfaceId.c_str(), sizeOf(interfaceId));
    trace.note("\t remote id : [%s] (%d), enterprise num : (%d)\n", remoteId.c_str(), sizeOf(remoteId),
               enterpriseNumber);

    if (msg.getDhcpFieldOpcode() == wire::dhcpv6RelayForward) {
        msg.incrementDhcpFieldHops();
        msg.updateCRC();
        trace.note("\t DO: relay-fwd message, send frame\n");
        return sendFrame(msg);
    }
    switch (msg.wrapIntoRelayForward(interfaceId, interfaceIdBin)) {
    case dhcpraV6Message::Wrapping::done:
        break;
    case dhcpraV6Message::Wrapping::tooLong:
        return discardWith(dhcpraTypes::counterV6TooLong,
                           "\t DO: discard: relay-fwd msg exceeds MTU value\n");
    case dhcpraV6Message::Wrapping::incomplete:
        return discardWith(dhcpraTypes::counterV6DiscardReaction,
                           "\t DO: discard: message claims more than has come\n");
    }
    trace.note("\t Relay-Fwd msg created, udp len=%d\n", msg.getUdpFieldLength());
    // No switch is asked: a remote id that is not wanted has an empty format.
    if (!remoteId.empty()) {
        if (!msg.addOpt37_RemoteId(remoteId, remoteIdBin, enterpriseNumber))
            return discardWith(dhcpraTypes::counterV6TooLong,
                               "\t DO: discard: adding addOpt37_RemoteId exceeds MTU value\n");
        trace.note("\t Relay-Fwd msg, option remoteId added, udp len=%d\n", msg.getUdpFieldLength());
    }
    msg.updateCRC();
    trace.note("\t DO: send frame\n");
    sendFrame(msg);
}

void dhcpraV6Impl::processFrameServerToClientSimplified()
{
    trace.note("processFrameServerToClientSimplified()\n");
    if (getInterfaceById(msg.getFrameSrcInterfaceId()) == nullptr) { // its reaction was a discard already
        trace.note("\t DO: discard (no interface configuration (%s))\n",
                   msg.getFrameSrcInterfaceName().c_str());
        return discard(msg, dhcpraTypes::counterV6UnknownInterface);
    }
    const dhcpraInterface* target = interfaceOfOption18();
    if (const std::uint8_t* peer = msg.getDhcpFieldPeerAddr())
        msg.setIpFieldDest(peer);
    if (!msg.createOriginalFromRelayRplyMessage())
        return discardWrongReply();
    msg.setUdpFieldDestPort(dhcpraV6Message::udpPort::client);

    if (target != nullptr) {
        msg.setFrameDstInterfaceIdx(target->getID());
    } else {
        msg.setFrameDstInterfaceIdx(0);
        const std::uint8_t* client = msg.getDhcpFieldLinkLayerAddr();
        // Nobody knows where this frame belongs; it goes to nobody.
        if (client == nullptr)
            return discardWrongReply();
        msg.setEthFieldDest(client);
    }
    msg.updateCRC();
    sendFrame(msg);
}

void dhcpraV6Impl::discardWith(dhcpraTypes::counterV6Id counter, const char* text)
{
    trace.note(text);
    discard(msg, counter);
}

void dhcpraV6Impl::discardWrongReply()
{
    discardWith(dhcpraTypes::counterV6DiscardReaction, "\t DO: discard: relay-rply msg wrong\n");
}

/// The interface named in the interface id, if that is exactly the one which this node gives it: an option
/// that somebody else made must not steer a reply.
const dhcpraInterface* dhcpraV6Impl::interfaceOfOption18()
{
    const dhcpraInterface* target = nullptr;
    port.clear();
    const bool parsed = msg.parseOpt18ForPort(port);
    if (parsed) {
        makeInterfaceId(port);
        receivedId.clear();
        if (msg.parseOpt18ForInterfaceId(receivedId) && receivedId == interfaceId)
            target = getInterfaceByName(port);
        else
            trace.note("\t InterfaceId differ : (%s) (%s)\n", receivedId.c_str(), interfaceId.c_str());
    }
    trace.note("\t Parsed port : %s (%s)\n", port.c_str(), trueOrFalse(parsed));
    return target;
}

void dhcpraV6Impl::makeInterfaceId(const std::string& name)
{
    interfaceId.clear();
    interfaceIdBin.clear();
    idsOf(idGenType::liveFrame)
        .genInterfaceIdByInterfaceName(name, msg.getFrameVlan(), msg.getFrameCVlan(), interfaceId,
                                       interfaceIdBin, idGenType::liveFrame);
}
