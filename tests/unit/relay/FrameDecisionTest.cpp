#include "relay/v4/FrameDecision.h"

#include <gtest/gtest.h>

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;

namespace {

constexpr auto otherMode = static_cast<interfaceMode>(4);

struct ReactionCase
{
    int opcode;
    interfaceMode mode;
    frameReaction normal;       // VLAN unknown or on
    frameReaction vlanDisabled; // VLAN switched off
};

constexpr ReactionCase reactionCases[] = {
    {1, interfaceMode::DISABLE, reactionSendAsIs, reactionSendAsIs},
    {1, interfaceMode::CLIENTS, reactionProcess, reactionSendAsIs},
    {1, interfaceMode::SERVERS, reactionDiscard, reactionDiscard},
    {1, interfaceMode::ENABLE, reactionProcess, reactionSendAsIs},
    {1, otherMode, reactionDiscard, reactionDiscard},
    {2, interfaceMode::DISABLE, reactionSendAsIs, reactionSendAsIs},
    {2, interfaceMode::CLIENTS, reactionDiscard, reactionDiscard},
    {2, interfaceMode::SERVERS, reactionProcess, reactionSendAsIs},
    {2, interfaceMode::ENABLE, reactionProcess, reactionSendAsIs},
    {2, otherMode, reactionDiscard, reactionDiscard},
    {0, interfaceMode::DISABLE, reactionDiscard, reactionDiscard},
    {3, interfaceMode::ENABLE, reactionDiscard, reactionDiscard},
    {255, interfaceMode::CLIENTS, reactionDiscard, reactionDiscard},
};

struct ActionCase
{
    bool trusted, broadcast, extension;
    int neither, giaddrOnly, opt82Only, both;
};

// The extension counts for unicast alone, and in Full mode for trusted interfaces alone.
constexpr ActionCase fullCases[] = {
    {false, true, false, 3, 8, 4, 16},        {false, false, true, 3, 8, 4, 16},
    {true, true, true, 3, 8, 2, 16},          {true, false, true, 1, 1, 3, 1},
    {true, false, false, 128, 128, 128, 128},
};

constexpr ActionCase simplifiedCases[] = {
    {false, true, true, 33, 8, 4, 16},       {false, false, true, 65, 65, 4, 65},
    {false, false, false, 128, 128, 4, 128}, {true, true, true, 33, 8, 32, 16},
    {true, false, true, 65, 65, 32, 65},     {true, false, false, 128, 128, 32, 128},
};

template <typename Decide>
void expectActions(const ActionCase& row, Decide decide)
{
    const auto of = [&](bool giaddr, bool opt82) {
        return static_cast<int>(decide({row.trusted, row.broadcast, row.extension, giaddr, opt82}));
    };
    const std::string name = std::string("trusted ") + (row.trusted ? "1" : "0") + " broadcast " +
                             (row.broadcast ? "1" : "0") + " extension " + (row.extension ? "1" : "0");
    EXPECT_EQ(of(false, false), row.neither) << name;
    EXPECT_EQ(of(true, false), row.giaddrOnly) << name;
    EXPECT_EQ(of(false, true), row.opt82Only) << name;
    EXPECT_EQ(of(true, true), row.both) << name;
}

} // namespace

TEST(FrameDecision, ReactionByOpcodeModeAndVlan)
{
    for (const ReactionCase& row : reactionCases) {
        const ReactionRule rule = reactionRule(static_cast<std::uint8_t>(row.opcode), row.mode);
        const std::string name =
            "opcode " + std::to_string(row.opcode) + " mode " + std::to_string(static_cast<int>(row.mode));
        EXPECT_EQ(reactionFor(rule, threeStateBool::notSet, true), row.normal) << name;
        EXPECT_EQ(reactionFor(rule, threeStateBool::yes, true), row.normal) << name;
        EXPECT_EQ(reactionFor(rule, threeStateBool::no, true), row.vlanDisabled) << name;
        EXPECT_EQ(reactionFor(rule, threeStateBool::notSet, false), reactionDiscard) << name;
    }
    EXPECT_EQ(reactionRule(1, static_cast<interfaceMode>(-1)), ReactionRule::unknownMode);
    EXPECT_EQ(reactionRule(9, otherMode), ReactionRule::unknownOpcode);
}

TEST(FrameDecision, ActionsOfBothModes)
{
    for (const ActionCase& row : fullCases)
        expectActions(row, fullModeActions);
    for (const ActionCase& row : simplifiedCases)
        expectActions(row, simplifiedModeActions);
}
