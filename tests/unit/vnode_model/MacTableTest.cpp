#include "vnode/model/MacTable.h"

#include <gtest/gtest.h>

namespace vnode {
namespace {

using std::chrono::seconds;

constexpr MacAddress mac{2, 0, 0, 0, 0, 9};
const Time start{};

TEST(MacTable, ForgetsWhatWasNotSeenAndTakesNoMoreThanItsLimit)
{
    MacTable table(seconds(300), 2);
    const auto learn = [&](std::uint8_t last, Time now) {
        return table.learn(1, {2, 0, 0, 0, 0, last}, 1, now);
    };
    const MacAddress other{2, 0, 0, 0, 0, 8};
    EXPECT_TRUE(learn(9, start));
    EXPECT_TRUE(learn(8, start + seconds(100)));
    EXPECT_FALSE(learn(7, start + seconds(100)));
    EXPECT_TRUE(learn(9, start + seconds(200)))
        << "a known one is refreshed; the other is now the longest unseen";
    EXPECT_EQ(table.entries().front().mac, other);
    EXPECT_EQ(table.find(1, other, start + seconds(399)), 1U);
    EXPECT_EQ(table.find(1, other, start + seconds(400)), std::nullopt) << "old even before the sweep";
    EXPECT_TRUE(learn(7, start + seconds(400))) << "an old one makes room";
    EXPECT_EQ(table.size(), 2U);
    table.age(start + seconds(500));
    EXPECT_EQ(table.size(), 1U);
    table.clear();
    EXPECT_EQ(table.size(), 0U);
}

TEST(MacTable, MarksTheVlansOfAMacOnOnePort)
{
    MacTable table(seconds(300), 100);
    for (const std::uint16_t vlan : std::initializer_list<std::uint16_t>{0, 31, 32, 4094})
        table.learn(vlan, mac, 1, start);
    table.learn(100, mac, 2, start); // another port
    zomacTableVlanBitmap bitmap{};
    bitmap[5] = 0x10; // bits are only ever set
    table.markVlans(mac, 1, start, bitmap);
    EXPECT_EQ(std::tuple(bitmap[0], bitmap[1], bitmap[5], bitmap[127]),
              std::tuple(0x80000001, 0x80000000, 0x10U, 0x00000002U)); // 4094 = 127 * 32 + 30
    EXPECT_EQ(bitmap[3], 0U);
}

} // namespace
} // namespace vnode
