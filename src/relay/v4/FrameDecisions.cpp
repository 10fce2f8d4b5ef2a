#include "relay/v4/FrameDecisions.h"

#include "log/LogText.h"
#include "platform/zomacTable.h"
#include "relay/model/VlanBitmap.h"

#include <algorithm>

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;

namespace {

constexpr std::uint16_t noVlan = 0x0FFF;

void setInterface(ReplyTarget& target, const dhcpraInterface* interface)
{
    if (interface == nullptr)
        return;
    target.interfaceId = interface->getID();
    target.linuxName = interface->getLinuxname();
}

/// What one level says, or "not set" without that level.
template <class Level>
threeStateBool settingOf(const Level* level, threeStateBool (Level::*setting)() const)
{
    return level == nullptr ? threeStateBool::notSet : (level->*setting)();
}

} // namespace

FrameDecisions::Place FrameDecisions::placeOf(const dhcpraMessage& frame) const
{
    return {tables.interfaces.getInterfaceById(frame.getFrameSrcInterfaceId()),
            tables.vlans.getVlanById(frame.getFrameVlan())};
}

bool FrameDecisions::isFullModeAt(const Place& place) const
{
    return dhcpraTypes::resolve(settingOf(place.vlan, &dhcpraVlan::isFullMode), global.fullMode);
}

bool FrameDecisions::isUnicastExtensionAt(const Place& place) const
{
    return resolveLevels(settingOf(place.vlan, &dhcpraVlan::isUnicastExtension),
                         settingOf(place.source, &dhcpraInterface::isUnicastExtension),
                         global.unicastExtension);
}

// The chain of checks

FrameVerdict FrameDecisions::decide(const dhcpraMessage& frame)
{
    const NamedTrace says(trace, "processFrame");
    if (!tables.draEnabled) {
        says.decided("\t DO: send as-is: dhcpra disabled, no frame processing");
        return passed();
    }
    if (!frame.isValid()) {
        says.decided("\t invalid frame");
        return {};
    }
    if (frame.getUdpFieldDestPort() == dhcpraMessage::udpPort::other) {
        says.decided("\t DO: discard: only IP V4 supported by now");
        return settled(discardWith(dhcpraTypes::counterDiscardReaction));
    }
    const Place place = placeOf(frame);
    switch (reactionAt(place, frame)) {
    case reactionSendAsIs:
        says.decided("\t DO: send as-is: reaction");
        return settled(passed());
    case reactionDiscard:
        says.decided("\t DO: discard: reaction");
        return settled(discardWith(dhcpraTypes::counterDiscardReaction));
    case reactionProcess:
        break;
    }
    return processAt(place, frame, says);
}

frameReaction FrameDecisions::reactionTo(const dhcpraMessage& frame) const
{
    return reactionAt(placeOf(frame), frame);
}

frameReaction FrameDecisions::reactionAt(const Place& place, const dhcpraMessage& frame) const
{
    const NamedTrace says(trace, "getFrameReaction");
    says.note("getFrameReaction()\n");
    const interfaceMode mode = place.source == nullptr ? interfaceMode::DISABLE : place.source->getMode();
    const std::uint8_t opcode = frame.getDhcpFieldOpcode();
    if (says.isListenedTo())
        says.decided("\t Opcode: %s; Mode: %s; Destination: %s\n",
                     opcode == opcodeRequest ? "REQUEST" : "REPLY", modeName(mode),
                     frame.isDestinationBroadcast() ? "BROADCAST" : "UNICAST");

    const ReactionRule rule = reactionRule(opcode, mode);
    if (rule == ReactionRule::unknownOpcode)
        logText(LogImpl::critical, "DHCPRA: getFrameReaction(): unknown frame opcode");
    if (rule == ReactionRule::unknownMode)
        logText(LogImpl::critical, "DHCPRA: getFrameReaction(): unknown interface mode");

    const threeStateBool vlanEnabled = settingOf(place.vlan, &dhcpraVlan::isEnabled);
    if (rule == ReactionRule::vlanCheck && vlanEnabled == threeStateBool::no)
        says.decided("\t Disabled for incoming VLAN (%d)\n", frame.getFrameVlan());
    const bool frameValid = frame.isFrameValid();
    if (!frameValid)
        says.decided("\t Frame not valid\n");
    return reactionFor(rule, vlanEnabled, frameValid);
}

FrameVerdict FrameDecisions::processAt(const Place& place, const dhcpraMessage& frame, const NamedTrace& says)
{
    const bool full = isFullModeAt(place);
    const bool broadcast = frame.isDestinationBroadcast();
    const bool fromClient = frame.getOrigin() == 0;
    const std::uint8_t opcode = frame.getDhcpFieldOpcode();
    if (passesAsUnicast(fromClient, broadcast, isUnicastExtensionAt(place))) {
        says.decided("\t DO: send as is: special cases (Option82 Unicast Extension)");
        return settled(passed());
    }
    if (full && broadcast && opcode == opcodeReply) {
        says.decided("\t DO: send as is: special cases (Server-originated broadcast frames in Full mode)");
        return settled(passed());
    }

    const bool ipCrcValid = frame.isIpCrcValid();
    const bool udpCrcValid = frame.isUdpCrcValid();
    if (!ipCrcValid || !udpCrcValid) {
        says.decided("\t DO: discard: CRC checks failed msg.isIpCrcValid()=%d, msg.isUdpCrcValid()=%d",
                     ipCrcValid, udpCrcValid);
        return settled(discardWith(dhcpraTypes::counterDiscardInvalid));
    }
    switch (opcode) {
    case opcodeRequest:
        return requestAt(place, full, frame);
    case opcodeReply:
        return replyAt(place, full, frame);
    default:
        logText(LogImpl::critical, "DHCPRA: processFrame(): unknown origin");
        return {};
    }
}

// Requests

FrameVerdict FrameDecisions::requestInMode(bool fullMode, const dhcpraMessage& frame) const
{
    return requestAt(placeOf(frame), fullMode, frame);
}

FrameVerdict FrameDecisions::requestAt(const Place& place, bool fullMode, const dhcpraMessage& frame) const
{
    const NamedTrace says(trace, fullMode ? "processFrameClientToServerFull"
                                          : "processFrameClientToServerSimplified");
    says.note(fullMode ? "dhcpraImpl::processFrameClientToServerFull()\n"
                       : "processFrameClientToServerSimplified()\n");
    if (place.source == nullptr) {
        if (says.isListenedTo())
            says.decided("\t no interface configuration (%s)\n", frame.getFrameSrcInterfaceName().c_str());
        return {};
    }
    const RequestFacts facts{
        .fullMode = fullMode,
        .traits = {.trusted = dhcpraTypes::resolve(place.source->isCircuitTrusted(), global.circuitTrusted),
                   .broadcast = frame.isDestinationBroadcast(),
                   .unicastExtension = isUnicastExtensionAt(place),
                   .giaddr = frame.isGiaddrPresent(),
                   .opt82 = frame.isOpt82Present()},
        .insertOpt82 = resolveLevels(settingOf(place.vlan, &dhcpraVlan::isInsertOpt82),
                                     place.source->isInsertOpt82(), global.insertOpt82),
        .toServerPort = frame.getUdpFieldDestPort() == dhcpraMessage::udpPort::server,
        .opcode = frame.getDhcpFieldOpcode(),
        .hops = frame.getDhcpFieldHops(),
        .giaddrIsOwn = frame.isGiaddrEq(tables.identity.localIp)};
    const RequestTraits& traits = facts.traits;
    says.decided("\t isCircuitTrusted : %s; isInsertOpt82 : %s; isUnicastExtension : %s\n",
                 trueOrFalse(traits.trusted), trueOrFalse(facts.insertOpt82),
                 trueOrFalse(traits.unicastExtension));
    says.decided("\t destBroadcast : %s; giaddrPresent : %s; opt82Present : %s\n",
                 trueOrFalse(traits.broadcast), trueOrFalse(traits.giaddr), trueOrFalse(traits.opt82));
    return requestVerdict(facts, says);
}

// Replies

FrameVerdict FrameDecisions::replyInMode(bool fullMode, const dhcpraMessage& frame)
{
    return replyAt(placeOf(frame), fullMode, frame);
}

FrameVerdict FrameDecisions::replyAt(const Place& place, bool fullMode, const dhcpraMessage& frame)
{
    const NamedTrace says(trace, fullMode ? "processFrameServerToClientFull"
                                          : "processFrameServerToClientSimplified");
    says.note(fullMode ? "processFrameServerToClientFull()\n" : "processFrameDownstreamSimplified()\n");
    if (place.source == nullptr) {
        if (fullMode) {
            const std::string name = frame.getFrameSrcInterfaceName();
            says.note("\t DO: discard (no interface configuration (%s))\n", name.c_str());
            says.toChannel("O: discard (no interface configuration (%s))\n", name.c_str());
        } else {
            says.decided("\t DO: discard (no interface configuration (%d))\n",
                         frame.getFrameSrcInterfaceId());
        }
        return discardWith(dhcpraTypes::counterDiscardOther);
    }
    const auto expectedPort = fullMode ? dhcpraMessage::udpPort::server : dhcpraMessage::udpPort::client;
    const std::uint32_t localIp = tables.identity.localIp;
    FrameVerdict verdict =
        replyVerdict({.fullMode = fullMode,
                      .toExpectedPort = frame.getUdpFieldDestPort() == expectedPort,
                      .opcode = frame.getDhcpFieldOpcode(),
                      .giaddrIsOwn = frame.isGiaddrPresent() && frame.isGiaddrEq(localIp),
                      .ipMatch = frame.isIpFieldDestEq(localIp),
                      .macMatch = frame.isEthFieldDestEq(tables.identity.localMac.data()),
                      .giaddrIsDestination = frame.isGiaddrEq(__builtin_bswap32(frame.getIpFieldDest()))},
                     says);
    if (verdict.path != FrameVerdict::Path::reply)
        return verdict;

    if (!fullMode) {
        setInterface(verdict.target, interfaceOfOption82(frame, PortName::bridge, says));
        verdict.keepOption82 = isKeepOption82(frame.getFrameVlan(), verdict.target);
        return verdict;
    }
    if (!findTargetInFullMode(frame, verdict.target, says))
        return discardWith(dhcpraTypes::counterDiscardInvalid);
    // A VLAN out of the MAC table has no say in this.
    const std::uint16_t decidingVlan = verdict.target.vlan.value_or(noVlan);
    if (verdict.target.vlan) {
        says.decided("\t Set VLAN %d.", *verdict.target.vlan);
        if (verdict.target.cvlan)
            says.decided("\t Set C-VLAN %d.", *verdict.target.cvlan);
    } else if (!takeVlanFromMacTable(frame, verdict.target, says)) {
        return discardWith(dhcpraTypes::counterDiscardInvalid);
    }
    verdict.keepOption82 = isKeepOption82(decidingVlan, verdict.target);
    says.decided("\t isKeepOpt82 : %s\n", trueOrFalse(verdict.keepOption82));
    return verdict;
}

/// By the transaction if it is known, else by what option 82 tells. False: neither.
bool FrameDecisions::findTargetInFullMode(const dhcpraMessage& frame, ReplyTarget& target,
                                          const NamedTrace& says)
{
    dhcprClientInfo_t entry;
    if (clients.table.find(Transactions::clientFrameOf(frame), entry)) {
        says.decided("\t Found local client entry.\n");
        says.decided("\t Data from stored entry: intf=%d, vlan=%d, cvlan=%d.\n", entry.interfaceId,
                     entry.vlan, entry.cvlan);
        setInterface(target, tables.interfaces.getInterfaceById(entry.interfaceId));
        if (dhcpraTypes::isNoVlan(entry.vlan))
            return true;
        target.vlan = entry.vlan;
        target.ethType = entry.ethType;
        if (entry.cvlan < noVlan)
            target.cvlan = entry.cvlan;
        // Without the outer tag's protocol the inner one's is not believed either.
        target.cEthType = entry.ethType == 0 ? std::uint16_t{0} : entry.cEthType;
        return true;
    }

    says.decided("\t Local client entry not found.\n");
    if (!frame.parseOpt82ForCircuitId(receivedId)) {
        says.decided("\t DO: discard: no Circuit Id in Full mode.\n");
        return false;
    }
    setInterface(target, interfaceOfOption82(frame, PortName::registry, says));
    std::uint16_t vlan = 0;
    if (frame.parseOpt82ForVlan(vlan))
        target.vlan = vlan;
    std::uint16_t cvlan = 0;
    if (frame.parseOpt82ForCVlan(cvlan))
        target.cvlan = cvlan;
    return true;
}

/// Where neither the transaction nor option 82 names a VLAN, the bridge may have learnt the client's MAC in
/// one.
bool FrameDecisions::takeVlanFromMacTable(const dhcpraMessage& frame, ReplyTarget& target,
                                          const NamedTrace& says) const
{
    if (target.interfaceId == 0) {
        says.note("\t DO: discard: no destination port.\n");
        says.toChannel("no destination port.\n");
        return false;
    }
    zomacTableMacPort key;
    key.interfaceId = target.interfaceId;
    if (const std::uint8_t* chaddr = frame.getDhcpFieldChaddr(); chaddr != nullptr)
        std::copy_n(chaddr, key.mac.size(), key.mac.begin());
    zomacTableVlanBitmap bitmap{};
    if (zomacTableGetVlanBitmapForMacPort("br0", key, bitmap) != 0) {
        says.note("\t DO: discard: cannot read MAC table.\n");
        says.toChannel("cannot read MAC table.\n");
        return false;
    }
    std::uint16_t vlan = 0;
    if (!getNextVlan(bitmap, 0, &vlan)) {
        says.note("\t DO: discard: cannot get VLAN.\n");
        says.toChannel("cannot get VLAN.\n");
        return false;
    }
    target.vlan = vlan;
    target.cvlan.reset();
    says.decided("\t Set VLAN %d.", vlan);
    return true;
}

/// The interface named in the circuit id, if the circuit id is exactly the one that this node gives it: an
/// option that somebody else made must not steer a reply.
const dhcpraInterface* FrameDecisions::interfaceOfOption82(const dhcpraMessage& frame, PortName shown,
                                                           const NamedTrace& says)
{
    const dhcpraInterface* target = nullptr;
    port.clear();
    const bool parsed = frame.parseOpt82ForPort(port);
    if (parsed) {
        option82Ids.circuitId(port, frame, generatedId);
        if (frame.parseOpt82ForCircuitId(receivedId) && receivedId == generatedId.text)
            target = tables.interfaces.getInterfaceByName(port);
    }
    const bool byBridgeName = target != nullptr && shown == PortName::bridge;
    says.decided("\t Parsed port : %s (%s)\n", trueOrFalse(parsed),
                 byBridgeName ? target->getLinuxname().c_str() : port.c_str());
    return target;
}

bool FrameDecisions::isKeepOption82(std::uint16_t vlan, const ReplyTarget& target) const
{
    const dhcpraInterface* interface =
        target.interfaceId == 0 ? nullptr : tables.interfaces.getInterfaceById(target.interfaceId);
    return resolveLevels(settingOf(tables.vlans.getVlanById(vlan), &dhcpraVlan::isKeepOpt82),
                         settingOf(interface, &dhcpraInterface::isKeepOpt82), global.keepOpt82);
}
