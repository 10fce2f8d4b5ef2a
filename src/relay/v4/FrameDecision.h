#pragma once

#include "relay/model/dhcpraTypes.h"

#include <array>
#include <cstddef>
#include <cstdint>

/**
 * What the DHCPv4 relay decides on a frame, as functions of plain values: no frame, no settings, no lock. The
 * engine around them counts, sends and logs.
 */

/// First answer for a frame, from its opcode and the interface it came in on.
enum frameReaction : std::uint8_t {
    reactionProcess = 0,
    reactionSendAsIs = 1,
    reactionDiscard = 2,
};

/// What a cell of the reaction table says.
enum class ReactionRule : std::uint8_t {
    sendAsIs,
    vlanCheck, ///< processed, unless the frame's VLAN is switched off
    discard,
    unknownMode,   ///< discard, and say why
    unknownOpcode, ///< discard, and say why
};

// BOOTP opcodes (RFC 951).
inline constexpr std::uint8_t opcodeRequest = 1;
inline constexpr std::uint8_t opcodeReply = 2;

[[nodiscard]] ReactionRule reactionRule(std::uint8_t opcode, dhcpraTypes::interfaceMode mode);

/// The rule applied to a frame. @p vlanEnabled is notSet for a VLAN without settings; an invalid frame is
/// discarded whatever the rule says.
[[nodiscard]] frameReaction reactionFor(ReactionRule rule, dhcpraTypes::threeStateBool vlanEnabled,
                                        bool frameValid);

/// What the client-to-server paths do with a frame, as bits.
enum frameAction : std::uint8_t {
    actionInsertOpt82 = 1,   ///< add or rewrite option 82, if insertion is configured
    actionSetGiaddr = 2,     ///< set giaddr to the node's address
    actionDiscardOpt82 = 4,  ///< discard: option 82 present
    actionDiscardGiaddr = 8, ///< discard: giaddr present
    actionDiscardBoth = 16,  ///< discard: both present
    actionFlood = 32,        ///< Simplified: send to every network-side port
    actionSendFrame = 64,    ///< Simplified: send where it was going, checksums recomputed
    actionSendAsIs = 128,    ///< send without checksum work
};

/// What the action tables look at.
struct RequestTraits
{
    bool trusted = false;          ///< the interface may carry frames of another relay
    bool broadcast = false;        ///< to everybody, by MAC and by IP
    bool unicastExtension = false; ///< option 82 also for unicast frames
    bool giaddr = false;           ///< present in the frame
    bool opt82 = false;            ///< present in the frame
};

[[nodiscard]] std::uint8_t fullModeActions(const RequestTraits& traits);
[[nodiscard]] std::uint8_t simplifiedModeActions(const RequestTraits& traits);

/// Resolves a setting with VLAN, interface and global level; the highest level that is set decides.
[[nodiscard]] constexpr bool resolveLevels(dhcpraTypes::threeStateBool vlan,
                                           dhcpraTypes::threeStateBool interface, bool global)
{
    return dhcpraTypes::resolve(vlan, dhcpraTypes::resolve(interface, global));
}

/// A client's unicast frame, such as a renewal, passes untouched unless the extension wants it.
[[nodiscard]] constexpr bool passesAsUnicast(bool fromClient, bool broadcast, bool unicastExtension)
{
    return fromClient && !broadcast && !unicastExtension;
}

/// To whom a server's reply on the relay's port is addressed.
enum class ReplyAddressee : std::uint8_t { board, other, contradictory };

[[nodiscard]] constexpr ReplyAddressee replyAddressee(bool ipMatch, bool macMatch)
{
    if (ipMatch != macMatch)
        return ReplyAddressee::contradictory;
    return ipMatch ? ReplyAddressee::board : ReplyAddressee::other;
}
