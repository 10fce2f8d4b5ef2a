#include "relay/v4/FrameDecision.h"


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
