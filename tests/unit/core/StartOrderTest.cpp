#include "rte/BLL/core/StartOrder.h"

#include <gtest/gtest.h>

TEST(StartOrder, DependenciesComeFirst)
{
    using Names = std::vector<std::string>;
    const std::pair<std::vector<StartOrderEntry>, std::optional<Names>> graphs[] = {
        {{}, Names{}},
        {{{"dai", {}}, {"dhcpra", {}}, {"ipsg", {}}}, Names{"dai", "dhcpra", "ipsg"}}, // this process
        {{{"a", {"c"}}, {"b", {}}, {"c", {}}}, Names{"c", "a", "b"}},
        {{{"a", {"b"}}, {"b", {"c"}}, {"c", {}}}, Names{"c", "b", "a"}},
        {{{"a", {"b", "c"}}, {"b", {"d"}}, {"c", {"d"}}, {"d", {}}}, Names{"d", "b", "c", "a"}},
        {{{"a", {"b", "b"}}, {"b", {}}}, Names{"b", "a"}},
        {{{"a", {"nobody", "b"}}, {"b", {""}}}, Names{"b", "a"}}, // strangers are ignored
        {{{"a", {"b"}}, {"b", {"a"}}, {"c", {}}}, std::nullopt},
        {{{"a", {"a"}}}, std::nullopt},
        {{{"a", {"b"}}, {"b", {"c"}}, {"c", {"a"}}}, std::nullopt}};
    for (const auto& [entries, order] : graphs)
        EXPECT_EQ(startOrder(entries), order);
}
