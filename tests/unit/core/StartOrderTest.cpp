#include "rte/BLL/core/StartOrder.h"

#include <gtest/gtest.h>

namespace {

using Names = std::vector<std::string>;

struct Row
{
    const char* name;
    std::vector<StartOrderEntry> entries;
    std::optional<Names> order;
};

class StartOrderTest : public testing::TestWithParam<Row>
{};

} // namespace

TEST_P(StartOrderTest, DependenciesComeFirst) { EXPECT_EQ(startOrder(GetParam().entries), GetParam().order); }

INSTANTIATE_TEST_SUITE_P(
    Graphs, StartOrderTest,
    testing::Values(
        Row{"none", {}, Names{}},
        Row{"thisProcess", {{"dai", {}}, {"dhcpra", {}}, {"ipsg", {}}}, Names{"dai", "dhcpra", "ipsg"}},
        Row{"oneNeedsALaterOne", {{"a", {"c"}}, {"b", {}}, {"c", {}}}, Names{"c", "a", "b"}},
        Row{"chain", {{"a", {"b"}}, {"b", {"c"}}, {"c", {}}}, Names{"c", "b", "a"}},
        Row{"diamond", {{"a", {"b", "c"}}, {"b", {"d"}}, {"c", {"d"}}, {"d", {}}}, Names{"d", "b", "c", "a"}},
        Row{"toldTwice", {{"a", {"b", "b"}}, {"b", {}}}, Names{"b", "a"}},
        Row{"strangersAreIgnored", {{"a", {"nobody", "b"}}, {"b", {""}}}, Names{"b", "a"}},
        Row{"two", {{"a", {"b"}}, {"b", {"a"}}, {"c", {}}}, std::nullopt},
        Row{"itself", {{"a", {"a"}}}, std::nullopt},
        Row{"longCycle", {{"a", {"b"}}, {"b", {"c"}}, {"c", {"a"}}}, std::nullopt}),
    [](const auto& row) { return std::string(row.param.name); });
