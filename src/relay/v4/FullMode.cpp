#include "relay/model/VlanBitmap.h"
#include "relay/v4/dhcpraImpl.h"

// Full mode: the node is a layer 3 relay agent (RFC 2131 section 4.1, RFC 3046).

namespace {

constexpr std::uint8_t maxHops = 15;
constexpr std::uint16_t noVlan = 0x0FFF;

struct Quad
{
    explicit Quad(std::uint32_t address) : ip(address) {}
    [[nodiscard]] int part(int index) const { return static_cast<int>(ip >> (24 - 8 * index) & 0xFFU); }
    std::uint32_t ip;
};

} // namespace

void dhcpraImpl::processFrameClientToServerFull(dhcpraMessage& frame)
{
    trace.note("dhcpraImpl::processFrameClientToServerFull()\n");
    dhcpraInterface* source = getInterfaceById(frame.getFrameSrcInterfaceId());
    if (source == nullptr)
        return trace.decided("\t no interface configuration (%s)\n",
                             frame.getFrameSrcInterfaceName().c_str());
    const Request request = requestOf(frame, *source);
    traceRequest(request);

    if (frame.getUdpFieldDestPort() != dhcpraMessage::udpPort::server ||
        frame.getDhcpFieldOpcode() != opcodeRequest || frame.getDhcpFieldHops() > maxHops) {
        trace.decided("\t DO: discard: not valid\n");
        return discard(frame, dhcpraTypes::counterDiscardInvalid);
    }
    if (isFromOwnAddress(frame, request))
        return;
    const std::uint8_t actions = fullModeActions(request.traits);
    if (isDiscarded(frame, actions))
        return;

    if ((actions & actionInsertOpt82) != 0 && request.insertOpt82)
        insertOption82(frame, request, request.traits.unicastExtension && request.traits.opt82, false);
    if ((actions & actionSetGiaddr) != 0) {
        trace.decided("\t giaddr will be added\n");
        frame.setDhcpFieldGiaddr(identity.localIp);
    }
    frame.incrementDhcpFieldHops();
    const ClientFrame client = rememberRequest(frame, request);

    if ((actions & actionSendAsIs) != 0) {
        // With the old UDP checksum, although hops has changed: servers that get such frames accept them so.
        trace.decided("\t DO: send as is\n");
        return sendFrame(frame);
    }
    sendToServers(frame, request, client);
}

void dhcpraImpl::sendToServers(const dhcpraMessage& frame, const Request& request, const ClientFrame& client)
{
    bool sent = false;
    if (request.vlan < noVlan) {
        for (const std::uint32_t server : servers.serversOf(request.vlan)) {
            const Quad ip(server);
            trace.decided("\t DO: send to server %d.%d.%d.%d (vlan 0x%X)\n", ip.part(0), ip.part(1),
                          ip.part(2), ip.part(3), request.vlan);
            sent |= sendToDHCPServer(frame, server);
        }
    }
    if (!sent) {
        const Quad ip(defaultServer);
        trace.decided("\t DO: send to default DHCP server %d.%d.%d.%d\n", ip.part(0), ip.part(1), ip.part(2),
                      ip.part(3));
        static_cast<void>(sendToDHCPServer(frame, defaultServer));
    }
    localClients.update(client, request.source.getID());
}

void dhcpraImpl::processFrameServerToClientFull(dhcpraMessage& frame)
{
    trace.note("processFrameServerToClientFull()\n");
    if (getInterfaceById(frame.getFrameSrcInterfaceId()) == nullptr) {
        const std::string name = frame.getFrameSrcInterfaceName();
        trace.note("\t DO: discard (no interface configuration (%s))\n", name.c_str());
        trace.toChannel("O: discard (no interface configuration (%s))\n", name.c_str());
        return discard(frame, dhcpraTypes::counterDiscardOther);
    }
    if (frame.getUdpFieldDestPort() != dhcpraMessage::udpPort::server ||
        frame.getDhcpFieldOpcode() != opcodeReply)
        return discard(frame, dhcpraTypes::counterDiscardInvalid);
    if (!isAddressedToBoard(frame))
        return;

    ReplyTarget target;
    if (!findReplyTarget(frame, target))
        return discard(frame, dhcpraTypes::counterDiscardInvalid);
    if (target.vlan)
        restoreVlans(frame, target);
    else if (!restoreVlanFromMacTable(frame, target.interface))
        return discard(frame, dhcpraTypes::counterDiscardInvalid);
    // A VLAN out of the MAC table has no say here.
    const bool keep = isKeepOpt82On(target.vlan.value_or(noVlan), target.interface);
    trace.decided("\t isKeepOpt82 : %s\n", trueOrFalse(keep));
    if (!stripOption82(frame, keep))
        return discard(frame, dhcpraTypes::counterDiscardInvalid);

    addressToClient(frame);
    frame.setUdpFieldDestPort(dhcpraMessage::udpPort::client);
    const std::uint32_t targetId = target.interface == nullptr ? 0 : target.interface->getID();
    closeTransaction(frame, targetId);
    trace.toChannel("Send frame to intf: %d\n", targetId);
    frame.setFrameDstInterfaceIdx(targetId);
    frame.updateCRC();
    sendFrame(frame);
}

bool dhcpraImpl::isAddressedToBoard(const dhcpraMessage& frame)
{
    const bool ipMatch = frame.isIpFieldDestEq(identity.localIp);
    const bool macMatch = frame.isEthFieldDestEq(identity.localMac.data());
    switch (replyAddressee(ipMatch, macMatch)) {
    case ReplyAddressee::other:
        trace.decided("\t DO: send as-is: destination MAC and IP do not belong to the board.\n");
        sendFrame(frame);
        return false;
    case ReplyAddressee::contradictory:
        trace.decided("\t DO: discard: destination either MAC or IP does not belong to the board.\n");
        discard(frame, dhcpraTypes::counterDiscardInvalid);
        return false;
    case ReplyAddressee::board:
        break;
    }
    if (!frame.isGiaddrEq(__builtin_bswap32(frame.getIpFieldDest()))) {
        trace.decided("\t DO: discard: destination IP != giaddr field.\n");
        discard(frame, dhcpraTypes::counterDiscardInvalid);
        return false;
    }
    return true;
}

// By the transaction if it is known, else by what option 82 tells. False: neither.
bool dhcpraImpl::findReplyTarget(const dhcpraMessage& frame, ReplyTarget& target)
{
    dhcprClientInfo_t entry;
    if (dhcprFindClientEntry(frame, entry)) {
        trace.decided("\t Found local client entry.\n");
        trace.decided("\t Data from stored entry: intf=%d, vlan=%d, cvlan=%d.\n", entry.interfaceId,
                      entry.vlan, entry.cvlan);
        target.interface = getInterfaceById(entry.interfaceId);
        if (!dhcpraTypes::isNoVlan(entry.vlan))
            target.vlan = entry.vlan;
        if (entry.cvlan < noVlan)
            target.cvlan = entry.cvlan;
        target.ethType = entry.ethType;
        target.cEthType = entry.cEthType;
        return true;
    }

    trace.decided("\t Local client entry not found.\n");
    if (!frame.parseOpt82ForCircuitId(receivedId)) {
        trace.decided("\t DO: discard: no Circuit Id in Full mode.\n");
        return false;
    }
    target.interface = interfaceOfOption82(frame, PortName::registry);
    std::uint16_t vlan = 0;
    if (frame.parseOpt82ForVlan(vlan))
        target.vlan = vlan;
    std::uint16_t cvlan = 0;
    if (frame.parseOpt82ForCVlan(cvlan))
        target.cvlan = cvlan;
    return true;
}

void dhcpraImpl::restoreVlans(dhcpraMessage& frame, const ReplyTarget& target)
{
    // Without the outer tag's protocol the inner one's is not believed either.
    if (target.ethType != 0)
        frame.setFrameDstVlan(*target.vlan, target.ethType);
    else
        frame.setFrameDstVlan(*target.vlan);
    trace.decided("\t Set VLAN %d.", *target.vlan);

    if (!target.cvlan)
        return;
    if (target.ethType != 0 && target.cEthType != 0)
        frame.setFrameDstCVlan(*target.cvlan, target.cEthType);
    else
        frame.setFrameDstCVlan(*target.cvlan);
    trace.decided("\t Set C-VLAN %d.", *target.cvlan);
}

// Where neither the transaction nor option 82 names a VLAN, the bridge may have learnt the client's MAC in
// one.
bool dhcpraImpl::restoreVlanFromMacTable(dhcpraMessage& frame, const dhcpraInterface* target)
{
    if (target == nullptr) {
        trace.note("\t DO: discard: no destination port.\n");
        trace.toChannel("no destination port.\n");
        return false;
    }
    zomacTableMacPort key;
    key.interfaceId = target->getID();
    if (const std::uint8_t* chaddr = frame.getDhcpFieldChaddr(); chaddr != nullptr)
        std::copy_n(chaddr, key.mac.size(), key.mac.begin());
    zomacTableVlanBitmap bitmap{};
    if (zomacTableGetVlanBitmapForMacPort("br0", key, bitmap) != 0) {
        trace.note("\t DO: discard: cannot read MAC table.\n");
        trace.toChannel("cannot read MAC table.\n");
        return false;
    }
    std::uint16_t vlan = 0;
    if (!getNextVlan(bitmap, 0, &vlan)) {
        trace.note("\t DO: discard: cannot get VLAN.\n");
        trace.toChannel("cannot get VLAN.\n");
        return false;
    }
    frame.setFrameDstVlan(vlan);
    trace.decided("\t Set VLAN %d.", vlan);
    return true;
}
