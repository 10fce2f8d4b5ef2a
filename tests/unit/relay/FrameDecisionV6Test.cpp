#include "relay/v6/FrameDecisionV6.h"

#include <gtest/gtest.h>

#include <set>

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;

TEST(FrameDecisionV6, RelayOn)
{
    using enum threeStateBool;
    const std::optional<interfaceMode> sources[] = {std::nullopt, interfaceMode::CLIENTS,
                                                    interfaceMode::DISABLE};
    // Two letters for each source: with the global flag off, which counts nothing where the VLAN is on and
    // the source not known, and on.
    const std::pair<threeStateBool, std::string> rows[] = {
        {no, "------"}, {yes, "++-+--"}, {notSet, "-+-+--"}};
    for (const auto& [vlan, letters] : rows)
        for (std::size_t at = 0; at < letters.size(); ++at)
            EXPECT_EQ(isRelayOn(vlan, sources[at / 2], at % 2 == 1), letters[at] == '+')
                << static_cast<int>(vlan) << " " << at;
}

TEST(FrameDecisionV6, ReactionsByModeAndType)
{
    for (int type = 0; type <= 255; ++type) {
        const auto react = [type](interfaceMode mode, bool toServerPort, bool trusted) {
            return reactionV6({mode, toServerPort, static_cast<std::uint8_t>(type), trusted});
        };
        const auto forward = type == 12 ? ReactionV6::untrustedRelayForward : ReactionV6::process;
        const bool refused = std::set<int>{2, 9, 10, 13}.contains(type);
        const auto fromClients = refused ? ReactionV6::wrongTypeFromClients : forward;
        EXPECT_EQ(react(interfaceMode::DISABLE, false, false), ReactionV6::sendAsIs);
        EXPECT_EQ(react(interfaceMode::CLIENTS, true, false), fromClients) << type;
        EXPECT_EQ(react(interfaceMode::CLIENTS, true, true),
                  refused ? ReactionV6::wrongTypeFromClients : ReactionV6::process)
            << type;
        EXPECT_EQ(react(interfaceMode::CLIENTS, false, true), ReactionV6::wrongPort);
        EXPECT_EQ(react(interfaceMode::SERVERS, false, false),
                  type == 13 ? ReactionV6::process : ReactionV6::wrongTypeFromServers)
            << type;
        EXPECT_EQ(react(interfaceMode::ENABLE, false, false), forward) << type;
        EXPECT_EQ(react(interfaceMode::ENABLE, false, true), ReactionV6::process);
        EXPECT_EQ(react(static_cast<interfaceMode>(4), true, true), ReactionV6::unknownMode);
        EXPECT_EQ(reactionV6({std::nullopt, true, static_cast<std::uint8_t>(type), true}),
                  ReactionV6::unknownInterface);
    }
    EXPECT_EQ(reactionOf(ReactionV6::process), reactionProcess);
    EXPECT_EQ(reactionOf(ReactionV6::sendAsIs), reactionSendAsIs);
    EXPECT_EQ(reactionOf(ReactionV6::unknownInterface), reactionDiscard);
    EXPECT_EQ(reactionOf(ReactionV6::unknownMode), reactionDiscard);
}

TEST(FrameDecisionV6, NamesOfTypes)
{
    EXPECT_STREQ(messageTypeName(7), "Decline"); // the Reply of RFC 8415
    EXPECT_STREQ(messageTypeName(13), "Relay-reply");
    EXPECT_STREQ(messageTypeName(14), "Unknown");
}
