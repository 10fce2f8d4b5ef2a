#include "relay/v4/FrameDecision.h"

#include <gtest/gtest.h>

using dhcpraTypes::threeStateBool;

TEST(FrameDecision, ReactionByOpcodeModeAndVlan)
{
    // By mode 0 to 4: a, sent as it came; p, processed unless the VLAN is switched off; d, discarded.
    const std::pair<std::uint8_t, std::string> rows[] = {
        {0, "ddddd"}, {1, "apdpd"}, {2, "adppd"}, {3, "ddddd"}, {255, "ddddd"}};
    for (const auto& [opcode, letters] : rows)
        for (std::size_t mode = 0; mode < letters.size(); ++mode) {
            SCOPED_TRACE("opcode " + std::to_string(opcode) + " mode " + std::to_string(mode));
            const char letter = letters[mode];
            const auto normal = letter == 'a'   ? reactionSendAsIs
                                : letter == 'p' ? reactionProcess
                                                : reactionDiscard;
            const ReactionRule rule = reactionRule(opcode, static_cast<dhcpraTypes::interfaceMode>(mode));
            EXPECT_EQ(reactionFor(rule, threeStateBool::notSet, true), normal);
            EXPECT_EQ(reactionFor(rule, threeStateBool::yes, true), normal);
            EXPECT_EQ(reactionFor(rule, threeStateBool::no, true),
                      letter == 'd' ? reactionDiscard : reactionSendAsIs);
            EXPECT_EQ(reactionFor(rule, threeStateBool::notSet, false), reactionDiscard);
        }
    EXPECT_EQ(reactionRule(1, static_cast<dhcpraTypes::interfaceMode>(-1)), ReactionRule::unknownMode);
}
