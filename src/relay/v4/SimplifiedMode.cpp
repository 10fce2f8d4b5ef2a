#include "relay/v4/dhcpraImpl.h"

// Simplified mode: the node is a layer 2 agent that only adds option 82 on the way up and takes it out on the
// way down; giaddr and hops are the servers' and other relays' affair.

namespace {

constexpr std::array<std::uint8_t, 6> everybody{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

} // namespace

void dhcpraImpl::processFrameClientToServerSimplified(dhcpraMessage& frame)
{
    trace.note("processFrameClientToServerSimplified()\n");
    dhcpraInterface* source = getInterfaceById(frame.getFrameSrcInterfaceId());
    if (source == nullptr)
        return trace.decided("\t no interface configuration (%s)\n",
                             frame.getFrameSrcInterfaceName().c_str());
    checkFrameEnd(frame, 3);
    const Request request = requestOf(frame, *source);
    traceRequest(request);

    if (frame.getUdpFieldDestPort() != dhcpraMessage::udpPort::server ||
        frame.getDhcpFieldOpcode() != opcodeRequest) {
        trace.decided("\t DO: discard not valid\n");
        return discard(frame, dhcpraTypes::counterDiscardInvalid);
    }
    if (isFromOwnAddress(frame, request))
        return;
    const std::uint8_t actions = simplifiedModeActions(request.traits);
    if (isDiscarded(frame, actions))
        return;

    if ((actions & actionInsertOpt82) != 0 && request.insertOpt82)
        insertOption82(frame, request, request.traits.opt82, true);
    rememberRequest(frame, request);
    checkFrameEnd(frame, 6);

    if ((actions & actionSendAsIs) != 0) {
        trace.decided("\t DO: send as is\n");
        return sendFrame(frame);
    }
    checkFrameEnd(frame, 7);
    if ((actions & actionFlood) != 0)
        flood(frame, request);
    if ((actions & actionSendFrame) != 0) {
        trace.decided("\t DO: send frame\n");
        frame.updateCRC();
        sendFrame(frame);
    }
}

void dhcpraImpl::flood(dhcpraMessage& frame, const Request& request)
{
    if (!request.traits.broadcast)
        frame.setEthFieldDest(everybody.data());
    checkFrameEnd(frame, 8);

    bool served = false;
    for (const std::uint32_t id : floodTargets()) {
        if (id == request.source.getID())
            continue;
        trace.decided("\t DO: send frame to port %d\n", id);
        frame.setFrameDstInterfaceIdx(id);
        frame.updateCRC();
        checkFrameEnd(frame, 9);
        sendFrame(frame, served);
        served = true;
    }
    if (!served) {
        trace.decided("\t DO: discard (there are no ports enabled for server requests)\n");
        discard(frame, dhcpraTypes::counterDiscardOther);
    }
}

// Kept between frames: a walk over all interfaces for each frame would cost more than the frame itself.
const std::vector<std::uint32_t>& dhcpraImpl::floodTargets()
{
    using dhcpraTypes::interfaceMode;
    const std::uint64_t revision = dhcpraInterface::modeRevision();
    if (floodTargetsKnown && revision == networkSideRevision)
        return networkSide;

    networkSide.clear();
    for (const auto& [id, interface] : interfaces) {
        if (interface.getMode() == interfaceMode::SERVERS || interface.getMode() == interfaceMode::ENABLE)
            networkSide.push_back(id);
    }
    networkSideRevision = revision;
    floodTargetsKnown = true;
    return networkSide;
}

void dhcpraImpl::processFrameServerToClientSimplified(dhcpraMessage& frame)
{
    trace.note("processFrameDownstreamSimplified()\n");
    if (getInterfaceById(frame.getFrameSrcInterfaceId()) == nullptr) {
        trace.decided("\t DO: discard (no interface configuration (%d))\n", frame.getFrameSrcInterfaceId());
        return discard(frame, dhcpraTypes::counterDiscardOther);
    }
    if (frame.getUdpFieldDestPort() != dhcpraMessage::udpPort::client ||
        frame.getDhcpFieldOpcode() != opcodeReply)
        return discard(frame, dhcpraTypes::counterDiscardInvalid);
    // As in the requests, the comparison holds for the byte-reversed address only.
    if (frame.isGiaddrPresent() && frame.isGiaddrEq(identity.localIp)) {
        trace.decided("\t DO: discard: giaddr == local IP\n");
        return discard(frame, dhcpraTypes::counterDiscardOther);
    }

    const dhcpraInterface* target = interfaceOfOption82(frame, PortName::bridge);
    if (!stripOption82(frame, isKeepOpt82On(frame.getFrameVlan(), target)))
        return discard(frame, dhcpraTypes::counterDiscardInvalid);
    addressToClient(frame);
    closeTransaction(frame, target == nullptr ? 0 : target->getID());

    // Without a name the choice is the bridge's.
    frame.setFrameDstInterfaceName(target == nullptr ? std::string() : target->getLinuxname());
    frame.updateCRC();
    sendFrame(frame);
}
