#include "relay/v4/dhcpraImpl.h"

// What both modes do with a server's reply.

namespace {

constexpr std::array<std::uint8_t, 6> broadcastMac{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
constexpr std::uint32_t broadcastIp = 0xFFFFFFFF;

} // namespace

/// The interface named in the circuit id, if the circuit id is exactly the one that this node gives it: an
/// option that somebody else made must not steer a reply.
const dhcpraInterface* dhcpraImpl::interfaceOfOption82(const dhcpraMessage& frame, PortName shown)
{
    const dhcpraInterface* target = nullptr;
    port.clear();
    const bool parsed = frame.parseOpt82ForPort(port);
    if (parsed) {
        circuitId.clear();
        circuitIdBin.clear();
        genCircuitIdByInterfaceName(port, frame.getFrameVlan(), frame.getFrameCVlan(), circuitId,
                                    circuitIdBin, idGenType::liveFrame);
        if (frame.parseOpt82ForCircuitId(receivedId) && receivedId == circuitId)
            target = getInterfaceByName(port);
    }
    const bool byBridgeName = target != nullptr && shown == PortName::bridge;
    trace.decided("\t Parsed port : %s (%s)\n", trueOrFalse(parsed),
                  byBridgeName ? target->getLinuxname().c_str() : port.c_str());
    return target;
}

bool dhcpraImpl::stripOption82(dhcpraMessage& frame, bool keep)
{
    if (keep)
        return true;
    frame.doRemoveOption82();
    return frame.removeOk;
}

void dhcpraImpl::addressToClient(dhcpraMessage& frame)
{
    if (frame.isDhcpBroadcastFlag()) {
        trace.toChannel("Send frame as broadcast\n");
        frame.setEthFieldDest(broadcastMac.data());
        frame.setIpFieldDest(broadcastIp);
        return;
    }
    const std::uint32_t ip = frame.getDhcpFieldYiaddr();
    const auto part = [ip](int shift) { return static_cast<int>(ip >> shift & 0xFFU); };
    const std::uint8_t* mac = frame.getDhcpFieldChaddr();
    if (mac != nullptr) {
        trace.toChannel("Send frame as unicast to MAC: %02x:%02x:%02x:%02x:%02x:%02x, IP: %d.%d.%d.%d\n",
                        mac[0], mac[1], mac[2], mac[3], mac[4], mac[5], part(24), part(16), part(8), part(0));
        frame.setEthFieldDest(mac);
    } else {
        trace.toChannel("Send frame as unicast to MAC: 0, IP: %d.%d.%d.%d\n", part(24), part(16), part(8),
                        part(0));
    }
    frame.setIpFieldDest(ip);
}
