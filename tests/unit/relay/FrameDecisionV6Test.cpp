#include "relay/v6/FrameDecisionV6.h"

#include <gtest/gtest.h>

#include <optional>

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
    using enum ReactionV6;
    for (int type = 0; type <= 255; ++type) {
        SCOPED_TRACE(type);
        const auto react = [type](std::optional<interfaceMode> mode, bool toServerPort, bool trusted) {
            return reactionV6({mode, toServerPort, static_cast<std::uint8_t>(type), trusted});
        };
        const auto forward = type == 12 ? untrustedRelayForward : process;
        const bool refused = type == 2 || type == 9 || type == 10 || type == 13;
        EXPECT_EQ(react(interfaceMode::DISABLE, false, false), sendAsIs);
        EXPECT_EQ(react(interfaceMode::CLIENTS, true, false), refused ? wrongTypeFromClients : forward);
        EXPECT_EQ(react(interfaceMode::CLIENTS, true, true), refused ? wrongTypeFromClients : process);
        EXPECT_EQ(react(interfaceMode::CLIENTS, false, true), wrongPort);
        EXPECT_EQ(react(interfaceMode::SERVERS, false, false), type == 13 ? process : wrongTypeFromServers);
        EXPECT_EQ(react(interfaceMode::ENABLE, false, false), forward);
        EXPECT_EQ(react(interfaceMode::ENABLE, false, true), process);
        EXPECT_EQ(react(static_cast<interfaceMode>(4), true, true), unknownMode);
        EXPECT_EQ(react(std::nullopt, true, true), unknownInterface);
    }
    for (const ReactionV6 reason : {unknownInterface, unknownMode})
        EXPECT_EQ(reactionOf(reason), reactionDiscard);
}

TEST(FrameDecisionV6, NamesOfTypes)
{
    EXPECT_STREQ(messageTypeName(7), "Decline"); // the Reply of RFC 8415
    EXPECT_STREQ(messageTypeName(13), "Relay-reply");
    EXPECT_STREQ(messageTypeName(14), "Unknown");
}
