#include "relay/v4/FrameDecision.h"

#include <array>

namespace {

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;

constexpr std::size_t modeColumns = 5;
using ReactionRow = std::array<ReactionRule, modeColumns>;

constexpr ReactionRule asIs = ReactionRule::sendAsIs;
constexpr ReactionRule check = ReactionRule::vlanCheck;
constexpr ReactionRule drop = ReactionRule::discard;
constexpr ReactionRule odd = ReactionRule::unknownMode;

// Columns:                                DISABLE CLIENTS SERVERS ENABLE other mode
constexpr ReactionRow requestReactions = {asIs, check, drop, check, odd};
constexpr ReactionRow replyReactions = {asIs, drop, check, check, odd};
static_assert(modeColumns == dhcpraTypes::interfaceModeCount + 1);

std::size_t modeColumn(interfaceMode mode)
{
    const auto number = static_cast<std::size_t>(static_cast<std::uint32_t>(mode));
    return number < modeColumns - 1 ? number : modeColumns - 1;
}

using ActionRow = std::array<std::uint8_t, 4>;

// Columns: neither giaddr nor option 82, giaddr only, option 82 only, both.
constexpr std::array<ActionRow, 4> fullActions{{
    {3, 8, 4, 16},        // untrusted
    {3, 8, 2, 16},        // trusted, broadcast
    {1, 1, 3, 1},         // trusted, unicast, extension on
    {128, 128, 128, 128}, // trusted, unicast, extension off
}};

constexpr std::array<ActionRow, 6> simplifiedActions{{
    {33, 8, 4, 16},      // untrusted, broadcast
    {65, 65, 4, 65},     // untrusted, unicast, extension on
    {128, 128, 4, 128},  // untrusted, unicast, extension off
    {33, 8, 32, 16},     // trusted, broadcast
    {65, 65, 32, 65},    // trusted, unicast, extension on
    {128, 128, 32, 128}, // trusted, unicast, extension off
}};

std::size_t presenceColumn(const RequestTraits& traits)
{
    return (traits.giaddr ? 1U : 0U) + (traits.opt82 ? 2U : 0U);
}

std::size_t destinationRow(const RequestTraits& traits)
{
    if (traits.broadcast)
        return 0;
    return traits.unicastExtension ? 1 : 2;
}

constexpr std::uint8_t maxHops = 15;

std::optional<FrameVerdict> discardOfActions(std::uint8_t actions, const NamedTrace& says)
{
    if ((actions & actionDiscardOpt82) != 0) {
        says.decided("\t DO: discard: opt82 presence\n");
        return discardWith(dhcpraTypes::counterDiscardOpt82);
    }
    if ((actions & actionDiscardGiaddr) != 0) {
        says.decided("\t DO: discard: giaddr presence\n");
        return discardWith(dhcpraTypes::counterDiscardGiaddr);
    }
    if ((actions & actionDiscardBoth) != 0) {
        says.decided("\t DO: discard: opt82 and giaddr presence\n");
        return discardWith(dhcpraTypes::counterDiscardOpt82Giaddr);
    }
    return std::nullopt;
}

Verdict::Act actOfRequest(std::uint8_t actions, bool fullMode)
{
    if ((actions & actionSendAsIs) != 0 || (actions & actionSendFrame) != 0)
        return Verdict::Act::pass;
    if (fullMode)
        return Verdict::Act::toServers;
    return (actions & actionFlood) != 0 ? Verdict::Act::flood : Verdict::Act::nothing;
}

} // namespace

ReactionRule reactionRule(std::uint8_t opcode, interfaceMode mode)
{
    if (opcode == opcodeRequest)
        return requestReactions[modeColumn(mode)];
    if (opcode == opcodeReply)
        return replyReactions[modeColumn(mode)];
    return ReactionRule::unknownOpcode;
}

frameReaction reactionFor(ReactionRule rule, threeStateBool vlanEnabled, bool frameValid)
{
    if (!frameValid)
        return reactionDiscard;
    switch (rule) {
    case ReactionRule::sendAsIs:
        return reactionSendAsIs;
    case ReactionRule::vlanCheck:
        return vlanEnabled == threeStateBool::no ? reactionSendAsIs : reactionProcess;
    case ReactionRule::discard:
    case ReactionRule::unknownMode:
    case ReactionRule::unknownOpcode:
        return reactionDiscard;
    }
    return reactionDiscard;
}

std::uint8_t fullModeActions(const RequestTraits& traits)
{
    const std::size_t row = traits.trusted ? 1 + destinationRow(traits) : 0;
    return fullActions[row][presenceColumn(traits)];
}

std::uint8_t simplifiedModeActions(const RequestTraits& traits)
{
    const std::size_t row = (traits.trusted ? 3 : 0) + destinationRow(traits);
    return simplifiedActions[row][presenceColumn(traits)];
}

FrameVerdict discardWith(dhcpraTypes::counterId counter)
{
    FrameVerdict verdict;
    verdict.act = Verdict::Act::discard;
    verdict.counter = counter;
    return verdict;
}

FrameVerdict passed()
{
    FrameVerdict verdict;
    verdict.act = Verdict::Act::pass;
    return verdict;
}

FrameVerdict settled(FrameVerdict verdict)
{
    verdict.settled = true;
    return verdict;
}

FrameVerdict requestVerdict(const RequestFacts& facts, const NamedTrace& says)
{
    const RequestTraits& traits = facts.traits;
    // Simplified mode is no relay agent of layer 3: hops are nothing to it.
    const bool tooFar = facts.fullMode && facts.hops > maxHops;
    if (!facts.toServerPort || facts.opcode != opcodeRequest || tooFar) {
        if (facts.fullMode)
            says.decided("\t DO: discard: not valid\n");
        else
            says.decided("\t DO: discard not valid\n");
        return discardWith(dhcpraTypes::counterDiscardInvalid);
    }
    // The comparison holds for the byte-reversed address only; peers have come to rely on what passes it.
    if (traits.trusted && traits.giaddr && facts.giaddrIsOwn) {
        says.decided("\t DO: discard: giaddr == local IP\n");
        return discardWith(dhcpraTypes::counterDiscardOther);
    }
    const std::uint8_t actions = facts.fullMode ? fullModeActions(traits) : simplifiedModeActions(traits);
    if (const auto discarded = discardOfActions(actions, says))
        return *discarded;

    FrameVerdict verdict;
    verdict.path = FrameVerdict::Path::request;
    verdict.fullMode = facts.fullMode;
    verdict.act = actOfRequest(actions, facts.fullMode);
    verdict.insertOption82 = (actions & actionInsertOpt82) != 0 && facts.insertOpt82;
    verdict.replaceOption82 = traits.opt82 && (!facts.fullMode || traits.unicastExtension);
    verdict.setGiaddr = facts.fullMode && (actions & actionSetGiaddr) != 0;
    verdict.renewChecksums = (actions & actionSendFrame) != 0;
    verdict.toEverybody = verdict.act == Verdict::Act::flood && !traits.broadcast;
    return verdict;
}

FrameVerdict replyVerdict(const ReplyFacts& facts, const NamedTrace& says)
{
    if (!facts.toExpectedPort || facts.opcode != opcodeReply)
        return discardWith(dhcpraTypes::counterDiscardInvalid);
    if (facts.fullMode) {
        if (!facts.ipMatch && !facts.macMatch) {
            says.decided("\t DO: send as-is: destination MAC and IP do not belong to the board.\n");
            return passed();
        }
        if (facts.ipMatch != facts.macMatch) {
            says.decided("\t DO: discard: destination either MAC or IP does not belong to the board.\n");
            return discardWith(dhcpraTypes::counterDiscardInvalid);
        }
        if (!facts.giaddrIsDestination) {
            says.decided("\t DO: discard: destination IP != giaddr field.\n");
            return discardWith(dhcpraTypes::counterDiscardInvalid);
        }
    } else if (facts.giaddrIsOwn) { // as in the requests, for the byte-reversed address only
        says.decided("\t DO: discard: giaddr == local IP\n");
        return discardWith(dhcpraTypes::counterDiscardOther);
    }

    FrameVerdict verdict;
    verdict.path = FrameVerdict::Path::reply;
    verdict.fullMode = facts.fullMode;
    verdict.act = Verdict::Act::toInterface;
    return verdict;
}
