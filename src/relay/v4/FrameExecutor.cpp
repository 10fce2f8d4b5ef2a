#include "relay/v4/FrameExecutor.h"

#include "log/LogText.h"

#include <array>

namespace {

constexpr std::array<std::uint8_t, wire::macSize> everybody{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
constexpr std::uint32_t broadcastIp = 0xFFFFFFFF;
constexpr std::uint16_t noVlan = 0x0FFF;

/// The contract's name of each path, in the frame-debug channel.
const char* nameOf(const FrameVerdict& verdict)
{
    switch (verdict.path) {
    case FrameVerdict::Path::none:
        break;
    case FrameVerdict::Path::request:
        return verdict.fullMode ? "processFrameClientToServerFull" : "processFrameClientToServerSimplified";
    case FrameVerdict::Path::reply:
        return verdict.fullMode ? "processFrameServerToClientFull" : "processFrameServerToClientSimplified";
    }
    return "processFrame";
}

struct Quad
{
    explicit Quad(std::uint32_t address) : ip(address) {}
    [[nodiscard]] int part(int index) const { return static_cast<int>(ip >> (24 - 8 * index) & 0xFFU); }
    std::uint32_t ip;
};

} // namespace

NamedTrace FrameExecutor::saysOn(const FrameVerdict& verdict) const { return {parts.trace, nameOf(verdict)}; }

bool FrameExecutor::change(const FrameVerdict& verdict, dhcpraMessage& frame)
{
    const NamedTrace says = saysOn(verdict);
    if (verdict.path == FrameVerdict::Path::request)
        changeRequest(verdict, frame, says);
    if (verdict.path != FrameVerdict::Path::reply || changeReply(verdict, frame, says))
        return true;
    discard(frame, dhcpraTypes::counterDiscardInvalid);
    return false;
}

// Requests

void FrameExecutor::changeRequest(const FrameVerdict& verdict, dhcpraMessage& frame, const NamedTrace& says)
{
    dhcpraInterface* source = parts.tables.interfaces.getInterfaceById(frame.getFrameSrcInterfaceId());
    if (source == nullptr) // the decision has found it under the same lock
        return;
    if (!verdict.fullMode)
        parts.frameEnd.look(frame, 3);
    if (verdict.insertOption82)
        insertOption82(verdict, frame, *source, says);
    if (verdict.setGiaddr) {
        says.decided("\t giaddr will be added\n");
        frame.setDhcpFieldGiaddr(parts.tables.identity.localIp);
    }
    if (verdict.fullMode)
        frame.incrementDhcpFieldHops();
    parts.clients.open(frame, source->getID());
    if (!verdict.fullMode)
        parts.frameEnd.look(frame, 6);
}

void FrameExecutor::insertOption82(const FrameVerdict& verdict, dhcpraMessage& frame, dhcpraInterface& source,
                                   const NamedTrace& says)
{
    says.decided("\t option 82 will be added/rewritten\n");
    circuitId.clear();
    remoteId.clear();
    if (parts.global.insertCircuitID) {
        parts.ids.circuitId(source.getName(), frame, circuitId);
        says.decided("\t generated circuit id: [%s] (%ld)\n", circuitId.text.c_str(),
                     static_cast<long>(circuitId.text.size()));
    }
    if (parts.global.insertRemoteID) {
        parts.ids.remoteId(source.getName(), frame, remoteId);
        says.decided("\t Generated remote id: [%s] (%ld)\n", remoteId.text.c_str(),
                     static_cast<long>(remoteId.text.size()));
    }

    if (!frame.isAddingOpt82Possible(circuitId.text, remoteId.text))
        return source.incrementCounter(dhcpraTypes::counterOpt82NoRoom, frame.getFrameVlan());
    if (verdict.replaceOption82)
        frame.doRemoveOption82();
    if (!verdict.fullMode)
        parts.frameEnd.look(frame, 4);
    frame.doAddOption82(circuitId.text, remoteId.text, circuitId.binary, remoteId.binary);
    if (!frame.addOk)
        source.incrementCounter(dhcpraTypes::counterOpt82NoRoom, frame.getFrameVlan());
    if (!verdict.fullMode)
        parts.frameEnd.lookBehindIds(frame, 5, circuitId.text.size(), remoteId.text.size());
}

void FrameExecutor::pass(const FrameVerdict& verdict, dhcpraMessage& frame)
{
    const NamedTrace says = saysOn(verdict);
    if (verdict.renewChecksums) {
        parts.frameEnd.look(frame, 7);
        says.decided("\t DO: send frame\n");
        frame.updateCRC();
    } else if (verdict.path == FrameVerdict::Path::request) {
        // With the old UDP checksum, although hops has changed: servers that get such frames accept them so.
        says.decided("\t DO: send as is\n");
    }
    sendFrame(frame);
}

void FrameExecutor::sendToServers(const FrameVerdict& verdict, const dhcpraMessage& frame)
{
    const NamedTrace says = saysOn(verdict);
    bool isSent = false;
    if (const std::uint16_t vlan = frame.getFrameVlan(); vlan < noVlan) {
        for (const std::uint32_t server : parts.servers.serversOf(vlan)) {
            const Quad ip(server);
            says.decided("\t DO: send to server %d.%d.%d.%d (vlan 0x%X)\n", ip.part(0), ip.part(1),
                         ip.part(2), ip.part(3), vlan);
            isSent |= sendToDHCPServer(frame, server);
        }
    }
    if (!isSent) {
        const Quad ip(parts.global.defaultServer);
        says.decided("\t DO: send to default DHCP server %d.%d.%d.%d\n", ip.part(0), ip.part(1), ip.part(2),
                     ip.part(3));
        static_cast<void>(sendToDHCPServer(frame, parts.global.defaultServer));
    }
    parts.clients.history.update(Transactions::clientFrameOf(frame), frame.getFrameSrcInterfaceId());
}

void FrameExecutor::flood(const FrameVerdict& verdict, dhcpraMessage& frame)
{
    const NamedTrace says = saysOn(verdict);
    parts.frameEnd.look(frame, 7);
    if (verdict.toEverybody)
        frame.setEthFieldDest(everybody.data());
    parts.frameEnd.look(frame, 8);

    const std::uint32_t source = frame.getFrameSrcInterfaceId();
    bool served = false;
    for (const std::uint32_t id : floodTargets.of(parts.tables.interfaces)) {
        if (id == source)
            continue;
        says.decided("\t DO: send frame to port %d\n", id);
        frame.setFrameDstInterfaceIdx(id);
        if (!served) // the index is no part of what is summed
            frame.updateCRC();
        parts.frameEnd.look(frame, 9);
        sendFrame(frame, served);
        served = true;
    }
    if (!served) {
        says.decided("\t DO: discard (there are no ports enabled for server requests)\n");
        discard(frame, dhcpraTypes::counterDiscardOther);
    }
}

// Replies

bool FrameExecutor::changeReply(const FrameVerdict& verdict, dhcpraMessage& frame, const NamedTrace& says)
{
    restoreTags(verdict.target, frame);
    if (!verdict.keepOption82) {
        frame.doRemoveOption82();
        if (!frame.removeOk)
            return false;
    }
    addressToClient(frame, says);
    if (verdict.fullMode)
        frame.setUdpFieldDestPort(dhcpraMessage::udpPort::client);
    parts.clients.close(frame, verdict.target.interfaceId);
    return true;
}

void FrameExecutor::restoreTags(const ReplyTarget& target, dhcpraMessage& frame)
{
    if (!target.vlan)
        return;
    if (target.ethType != 0)
        frame.setFrameDstVlan(*target.vlan, target.ethType);
    else
        frame.setFrameDstVlan(*target.vlan);
    if (!target.cvlan)
        return;
    if (target.cEthType != 0)
        frame.setFrameDstCVlan(*target.cvlan, target.cEthType);
    else
        frame.setFrameDstCVlan(*target.cvlan);
}

void FrameExecutor::addressToClient(dhcpraMessage& frame, const NamedTrace& says)
{
    if (frame.isDhcpBroadcastFlag()) {
        says.toChannel("Send frame as broadcast\n");
        frame.setEthFieldDest(everybody.data());
        frame.setIpFieldDest(broadcastIp);
        return;
    }
    const std::uint32_t address = frame.getDhcpFieldYiaddr();
    const Quad ip(address);
    const std::uint8_t* mac = frame.getDhcpFieldChaddr();
    if (mac != nullptr) {
        says.toChannel("Send frame as unicast to MAC: %02x:%02x:%02x:%02x:%02x:%02x, IP: %d.%d.%d.%d\n",
                       mac[0], mac[1], mac[2], mac[3], mac[4], mac[5], ip.part(0), ip.part(1), ip.part(2),
                       ip.part(3));
        frame.setEthFieldDest(mac);
    } else {
        says.toChannel("Send frame as unicast to MAC: 0, IP: %d.%d.%d.%d\n", ip.part(0), ip.part(1),
                       ip.part(2), ip.part(3));
    }
    frame.setIpFieldDest(address);
}

void FrameExecutor::sendToInterface(const FrameVerdict& verdict, dhcpraMessage& frame)
{
    const NamedTrace says = saysOn(verdict);
    const ReplyTarget& target = verdict.target;
    if (verdict.fullMode) {
        says.toChannel("Send frame to intf: %d\n", target.interfaceId);
        frame.setFrameDstInterfaceIdx(target.interfaceId);
    } else {
        frame.setFrameDstInterfaceName(target.linuxName); // without a name the choice is the bridge's
    }
    frame.updateCRC();
    sendFrame(frame);
}

// Sending and counting

void FrameExecutor::sendFrame(const dhcpraMessage& frame, bool quiet)
{
    if (parts.channel.send(frame, quiet))
        sent = {sent.copies + 1, "\t IPSG returned NOK from sendFrame "};
}

bool FrameExecutor::sendToDHCPServer(const dhcpraMessage& frame, std::uint32_t server)
{
    parts.trace.note("sendToDHCPServer()\n");
    if (parts.messageSink.wantsDebugText())
        parts.channel.traceFrameInfo(frame);
    if (parts.msgDumpSink.wantsDebugText()) {
        parts.msgDumpSink.log("DUMP BEFORE SEND:\n");
        parts.channel.traceFrame(frame);
    }

    ServerSender& sender = parts.serverSender;
    if (!sender.open()) {
        logText(LogImpl::critical, "DHCPRA: dhcpraImpl::sendToDHCPServer(): cannot create a socket.\n");
        return false;
    }
    if (!sender.allowRouting()) {
        parts.trace.note("\t error setting socket options\n");
        logText(LogImpl::debug, "DHCPRA: dhcpraImpl::sendToDHCPServer(): cannot set socket options.\n");
    }
    if (frame.getDhcpHeader() == nullptr) {
        parts.trace.note("\t no DHCP header\n");
        logText(LogImpl::critical, "DHCPRA: dhcpraImpl::sendToDHCPServer(): no DHCP header.\n");
        sender.close();
        return false;
    }
    sender.send(server, frame.dhcpMessageBytes());
    sender.close();
    sent = {sent.copies + 1, "\t IPSG returned NOK from sendToDHCPServer "};
    return true;
}

void FrameExecutor::discard(const dhcpraMessage& frame, dhcpraTypes::counterId counter)
{
    parts.trace.note("discard()\n");
    if (dhcpraInterface* source = sourceOrWarning(parts.tables, frame, "dhcpraImpl::discard"))
        source->incrementCounter(counter, frame.getFrameVlan());
}
