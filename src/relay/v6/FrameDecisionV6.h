#pragma once

#include "relay/engine/Verdict.h"
#include "relay/model/dhcpraTypes.h"

#include <cstdint>
#include <optional>

/// What the DHCPv6 relay decides on a frame, as functions of plain values; the twin of FrameDecision.h.

/// Name of a message type in debug texts, by its number on the wire, where 7 is the Reply and 9 the Decline
/// (RFC 8415, section 7.3); the names of these two stand the other way round here and in every rule that goes
/// by the type. Peers are configured for that, so it stays.
[[nodiscard]] const char* messageTypeName(std::uint8_t type);

/// VLAN 1 and "none" say nothing about the subscriber; the VLAN is then taken from the interface id. VLAN 0
/// counts as a VLAN.
[[nodiscard]] constexpr bool isVlanFromInterfaceId(std::uint16_t frameVlan)
{
    return frameVlan == 1 || frameVlan == 4095;
}

/// Whether frames are processed at all. @p vlan is notSet for a VLAN without settings, @p source nothing for
/// an unknown interface.
[[nodiscard]] bool isRelayOn(dhcpraTypes::threeStateBool vlan,
                             std::optional<dhcpraTypes::interfaceMode> source, bool global);

struct FrameTraitsV6
{
    std::optional<dhcpraTypes::interfaceMode> mode; ///< of the source interface; nothing: unknown interface
    bool toServerPort;                              ///< UDP destination port 547
    std::uint8_t type;                              ///< message type
    bool trusted;                                   ///< relay-forwards of a lower relay are welcome
};

/// First answer for a frame, with its reason.
enum class ReactionV6 : std::uint8_t {
    process,
    sendAsIs,
    unknownInterface,
    wrongPort,
    wrongTypeFromClients,
    wrongTypeFromServers,
    untrustedRelayForward,
    unknownMode,
};

[[nodiscard]] ReactionV6 reactionV6(const FrameTraitsV6& traits);

/// Everything but the first two is a discard.
[[nodiscard]] constexpr frameReaction reactionOf(ReactionV6 reason)
{
    if (reason == ReactionV6::process)
        return reactionProcess;
    return reason == ReactionV6::sendAsIs ? reactionSendAsIs : reactionDiscard;
}

/// The verdict on a DHCPv6 frame. As relay agent on layer 2 the node sends a request "to the servers" by
/// wrapping it and letting the bridge choose the port.
struct VerdictV6 : Verdict
{
    bool isTold = false; ///< the hook learns of the frame afterwards
};

/// For a frame in a VLAN where the relay is on; @p fromNetworkSide counts for frames that are processed.
[[nodiscard]] VerdictV6 verdictV6(frameReaction reaction, bool fromNetworkSide);
/// For a frame in no VLAN at all: nobody's affair here.
[[nodiscard]] VerdictV6 passedWithoutVlan();
