#pragma once

#include "relay/engine/DecisionTrace.h"
#include "relay/engine/Verdict.h"
#include "relay/model/dhcpraTypes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

/**
 * What the DHCPv4 relay decides on a frame, as functions of plain values: no frame, no settings, no lock.
 * They write their debug texts to the trace that they are given; FrameExecutor does what they answer.
 */

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

/// A client's request as the paths look at it.
struct RequestFacts
{
    bool fullMode = false;
    RequestTraits traits;
    bool insertOpt82 = false;  ///< resolved over all levels
    bool toServerPort = false; ///< UDP destination port 67
    std::uint8_t opcode = 0;
    std::uint8_t hops = 0;
    bool giaddrIsOwn = false; ///< as isGiaddrEq() sees it
};

/// A server's reply likewise.
struct ReplyFacts
{
    bool fullMode = false;
    bool toExpectedPort = false; ///< the relay's port in Full mode, the client's in Simplified
    std::uint8_t opcode = 0;
    bool giaddrIsOwn = false; ///< Simplified: present, and as isGiaddrEq() sees it
    // Full:
    bool ipMatch = false;             ///< the IP destination is the node's
    bool macMatch = false;            ///< and so is the Ethernet destination
    bool giaddrIsDestination = false; ///< giaddr is the IP destination
};

/// Where a reply goes, as far as it is known.
struct ReplyTarget
{
    std::uint32_t interfaceId = 0;      ///< 0: not known
    std::string_view linuxName;         ///< of that interface; lives as long as the interface
    std::optional<std::uint16_t> vlan;  ///< to be written into the frame
    std::optional<std::uint16_t> cvlan; ///< likewise, behind a VLAN only
    std::uint16_t ethType = 0;          ///< tag protocols of the request, 0 when not known
    std::uint16_t cEthType = 0;
};

/// The verdict on a DHCPv4 frame: beside what becomes of it, what is changed in it on the way.
struct FrameVerdict : Verdict
{
    enum class Path : std::uint8_t { none, request, reply };

    Path path = Path::none;
    bool fullMode = false;
    // Requests, in the order of the changes.
    bool insertOption82 = false;
    bool replaceOption82 = false; ///< the one that is there goes first
    bool setGiaddr = false;
    bool renewChecksums = false; ///< of a request that goes where it was going
    bool toEverybody = false;    ///< the frame's destination MAC becomes the broadcast address
    // Replies.
    bool keepOption82 = false;
    ReplyTarget target;
};

/// Neither sent nor processed further.
[[nodiscard]] FrameVerdict discardWith(dhcpraTypes::counterId counter);
/// Sent, or discarded, before a path begins.
[[nodiscard]] FrameVerdict settled(FrameVerdict verdict);
[[nodiscard]] FrameVerdict passed();

/// What a request path does; the debug texts of a discard go to @p says.
[[nodiscard]] FrameVerdict requestVerdict(const RequestFacts& facts, const NamedTrace& says);

/// Whether a reply is relayed to its client: if so, the answer's act is toInterface, and its target is still
/// to be found.
[[nodiscard]] FrameVerdict replyVerdict(const ReplyFacts& facts, const NamedTrace& says);
