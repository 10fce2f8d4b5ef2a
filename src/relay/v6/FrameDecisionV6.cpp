#include "relay/v6/FrameDecisionV6.h"

#include "wire/Dhcpv6.h"

#include <array>

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;

namespace {

constexpr std::array<const char*, 14> typeNames{
    "Unknown",       "Solicit",    "Advertise", "Request", "Confirm",     "Renew",
    "Rebind",        "Decline",    "Release",   "Reply",   "Reconfigure", "Information-request",
    "Relay-forward", "Relay-reply"};

/// Types that no client sends, one bit each: 2, 9, 10 and 13. By the numbers on the wire 9 is a Decline,
/// which so never reaches a server, and 7 a Reply, which does. Kept as told at messageTypeName().
constexpr unsigned refusedFromClients = 0x2604;

bool isRefusedFromClients(std::uint8_t type)
{
    return type < typeNames.size() && (refusedFromClients >> type & 1U) != 0;
}

} // namespace

const char* messageTypeName(std::uint8_t type) { return typeNames[type < typeNames.size() ? type : 0]; }

bool isRelayOn(threeStateBool vlan, std::optional<interfaceMode> source, bool global)
{
    if (vlan == threeStateBool::no)
        return false;
    if (!source)
        return vlan == threeStateBool::yes || global;
    return global && *source != interfaceMode::DISABLE;
}

ReactionV6 reactionV6(const FrameTraitsV6& traits)
{
    if (!traits.mode)
        return ReactionV6::unknownInterface;
    const bool refusedForward = traits.type == wire::dhcpv6RelayForward && !traits.trusted;
    const ReactionV6 forwardTest = refusedForward ? ReactionV6::untrustedRelayForward : ReactionV6::process;
    switch (*traits.mode) {
    case interfaceMode::DISABLE:
        return ReactionV6::sendAsIs;
    case interfaceMode::CLIENTS:
        if (!traits.toServerPort)
            return ReactionV6::wrongPort;
        return isRefusedFromClients(traits.type) ? ReactionV6::wrongTypeFromClients : forwardTest;
    case interfaceMode::SERVERS:
        return traits.type == wire::dhcpv6RelayReply ? ReactionV6::process : ReactionV6::wrongTypeFromServers;
    case interfaceMode::ENABLE:
        return forwardTest;
    }
    return ReactionV6::unknownMode; // a number from a peer that is no mode
}

VerdictV6 verdictV6(frameReaction reaction, bool fromNetworkSide)
{
    VerdictV6 verdict;
    verdict.isTold = reaction != reactionDiscard;
    verdict.settled = reaction != reactionProcess;
    switch (reaction) {
    case reactionProcess:
        verdict.act = fromNetworkSide ? Verdict::Act::toInterface : Verdict::Act::toServers;
        break;
    case reactionSendAsIs:
        verdict.act = Verdict::Act::pass;
        break;
    case reactionDiscard:
        verdict.act = Verdict::Act::discard;
        verdict.counter = dhcpraTypes::counterV6DiscardReaction;
        break;
    }
    return verdict;
}

VerdictV6 passedWithoutVlan()
{
    VerdictV6 verdict = verdictV6(reactionSendAsIs, false);
    verdict.isTold = false;
    return verdict;
}
