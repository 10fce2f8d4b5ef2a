#include "relay/v4/dhcpraImpl.h"

#include <algorithm>

// What both modes do with a client's request, and what requests and replies leave in the client tables.

using dhcpraTypes::threeStateBool;

namespace {

ClientFrame clientFrameOf(const dhcpraMessage& frame)
{
    ClientFrame client{.xid = frame.getDhcpFieldTransactId(),
                       .mac = std::nullopt,
                       .vlan = frame.getFrameVlan(),
                       .cvlan = frame.getFrameCVlan(),
                       .ethType = frame.getFrameEthType(),
                       .cEthType = frame.getFrameCEthType(),
                       .messageType = frame.getMessageType()};
    if (const std::uint8_t* chaddr = frame.getDhcpFieldChaddr(); chaddr != nullptr)
        std::copy_n(chaddr, client.mac.emplace().size(), client.mac->begin());
    return client;
}

} // namespace

dhcpraImpl::Request dhcpraImpl::requestOf(const dhcpraMessage& frame, dhcpraInterface& source) const
{
    const std::uint16_t vid = frame.getFrameVlan();
    const dhcpraVlan* vlan = vlans.getVlanById(vid);
    return {.source = source,
            .vlan = vid,
            .cvlan = frame.getFrameCVlan(),
            .traits = {.trusted = dhcpraTypes::resolve(source.isCircuitTrusted(), circuitTrusted),
                       .broadcast = frame.isDestinationBroadcast(),
                       .unicastExtension = isUnicastExtensionOn(frame),
                       .giaddr = frame.isGiaddrPresent(),
                       .opt82 = frame.isOpt82Present()},
            .insertOpt82 = resolveLevels(vlan == nullptr ? threeStateBool::notSet : vlan->isInsertOpt82(),
                                         source.isInsertOpt82(), insertOpt82)};
}

void dhcpraImpl::traceRequest(const Request& request) const
{
    const RequestTraits& traits = request.traits;
    trace.decided("\t isCircuitTrusted : %s; isInsertOpt82 : %s; isUnicastExtension : %s\n",
                  trueOrFalse(traits.trusted), trueOrFalse(request.insertOpt82),
                  trueOrFalse(traits.unicastExtension));
    trace.decided("\t destBroadcast : %s; giaddrPresent : %s; opt82Present : %s\n",
                  trueOrFalse(traits.broadcast), trueOrFalse(traits.giaddr), trueOrFalse(traits.opt82));
}

// The comparison holds for the byte-reversed address only; peers have come to rely on what passes it.
bool dhcpraImpl::isFromOwnAddress(const dhcpraMessage& frame, const Request& request)
{
    if (!request.traits.trusted || !request.traits.giaddr || !frame.isGiaddrEq(identity.localIp))
        return false;
    trace.decided("\t DO: discard: giaddr == local IP\n");
    discard(frame, dhcpraTypes::counterDiscardOther);
    return true;
}

bool dhcpraImpl::isDiscarded(const dhcpraMessage& frame, std::uint8_t actions)
{
    if ((actions & actionDiscardOpt82) != 0) {
        trace.decided("\t DO: discard: opt82 presence\n");
        discard(frame, dhcpraTypes::counterDiscardOpt82);
        return true;
    }
    if ((actions & actionDiscardGiaddr) != 0) {
        trace.decided("\t DO: discard: giaddr presence\n");
        discard(frame, dhcpraTypes::counterDiscardGiaddr);
        return true;
    }
    if ((actions & actionDiscardBoth) != 0) {
        trace.decided("\t DO: discard: opt82 and giaddr presence\n");
        discard(frame, dhcpraTypes::counterDiscardOpt82Giaddr);
        return true;
    }
    return false;
}

void dhcpraImpl::insertOption82(dhcpraMessage& frame, const Request& request, bool removeFirst, bool watchEnd)
{
    trace.decided("\t option 82 will be added/rewritten\n");
    circuitId.clear();
    circuitIdBin.clear();
    remoteId.clear();
    remoteIdBin.clear();
    if (insertCircuitID) {
        genCircuitIdByInterfaceName(request.source.getName(), request.vlan, request.cvlan, circuitId,
                                    circuitIdBin, idGenType::liveFrame);
        trace.decided("\t generated circuit id: [%s] (%ld)\n", circuitId.c_str(),
                      static_cast<long>(circuitId.size()));
    }
    if (insertRemoteID) {
        genRemoteIdByInterfaceName(request.source.getName(), request.vlan, request.cvlan, remoteId,
                                   remoteIdBin, idGenType::liveFrame);
        trace.decided("\t Generated remote id: [%s] (%ld)\n", remoteId.c_str(),
                      static_cast<long>(remoteId.size()));
    }

    if (!frame.isAddingOpt82Possible(circuitId, remoteId))
        return request.source.incrementCounter(dhcpraTypes::counterOpt82NoRoom, request.vlan);
    if (removeFirst)
        frame.doRemoveOption82();
    if (watchEnd)
        checkFrameEnd(frame, 4);
    frame.doAddOption82(circuitId, remoteId, circuitIdBin, remoteIdBin);
    if (!frame.addOk)
        request.source.incrementCounter(dhcpraTypes::counterOpt82NoRoom, request.vlan);
    if (watchEnd)
        checkFrameEnd(frame, 5);
}

ClientFrame dhcpraImpl::rememberRequest(const dhcpraMessage& frame, const Request& request)
{
    const ClientFrame client = clientFrameOf(frame);
    clients.add(client, request.source.getID());
    localClients.update(client, request.source.getID());
    return client;
}

void dhcpraImpl::closeTransaction(const dhcpraMessage& frame, std::uint32_t targetId)
{
    const ClientFrame client = clientFrameOf(frame);
    clients.remove(client);
    localClients.update(client, targetId);
}

void dhcpraImpl::dhcprAddClientEntry(const dhcpraMessage& frame, std::uint32_t interfaceId)
{
    clients.add(clientFrameOf(frame), interfaceId);
}

bool dhcpraImpl::dhcprFindClientEntry(const dhcpraMessage& frame, dhcprClientInfo_t& entry) const
{
    return clients.find(clientFrameOf(frame), entry);
}

void dhcpraImpl::dhcprDeleteClientEntry(const dhcpraMessage& frame) { clients.remove(clientFrameOf(frame)); }

void dhcpraImpl::dhcprUpdateLocalClientEntry(const dhcpraMessage& frame, std::uint32_t interfaceId)
{
    localClients.update(clientFrameOf(frame), interfaceId);
}
