#include "vnode/model/MacTable.h"

#include "Frames.h"

#include <gtest/gtest.h>

namespace vnode {
namespace {

using std::chrono::seconds;

constexpr MacAddress mac{2, 0, 0, 0, 0, 9};
const Time start{};

TEST(MacTable, KnowsAMacByVlanAndFollowsIt)
{
    MacTable table(seconds(300), 100);
    EXPECT_TRUE(table.learn(10, mac, 1, start));
    EXPECT_TRUE(table.learn(20, mac, 2, start));
    EXPECT_EQ(table.find(10, mac, start), 1U);
    EXPECT_EQ(table.find(20, mac, start), 2U);
    EXPECT_EQ(table.find(30, mac, start), std::nullopt);
    EXPECT_TRUE(table.learn(10, mac, 7, start));
    EXPECT_EQ(table.find(10, mac, start), 7U);
    EXPECT_EQ(table.size(), 2U);
}

TEST(MacTable, ForgetsWhatWasNotSeenForTheAgeingTime)
{
    MacTable table(seconds(300), 100);
    const MacAddress other{2, 0, 0, 0, 0, 8};
    table.learn(10, mac, 1, start);
    table.learn(10, other, 2, start + seconds(100));
    table.learn(10, mac, 1, start + seconds(200)); // seen again: the other one is now the longest unseen
    EXPECT_EQ(table.entries().front().mac, other);
    EXPECT_EQ(table.find(10, other, start + seconds(399)), 2U);
    EXPECT_EQ(table.find(10, other, start + seconds(400)), std::nullopt) << "old even before the sweep";
    table.age(start + seconds(400));
    EXPECT_EQ(table.size(), 1U);
    EXPECT_EQ(table.find(10, mac, start + seconds(499)), 1U);
}

TEST(MacTable, TakesNoMoreThanItsLimitButMakesRoomFromOldEntries)
{
    MacTable table(seconds(300), 2);
    const auto learn = [&](std::uint8_t last, Time now) {
        return table.learn(1, {2, 0, 0, 0, 0, last}, 1, now);
    };
    EXPECT_TRUE(learn(1, start));
    EXPECT_TRUE(learn(2, start + seconds(10)));
    EXPECT_FALSE(learn(3, start + seconds(20)));
    EXPECT_TRUE(learn(2, start + seconds(20))) << "a known one is refreshed";
    EXPECT_TRUE(learn(3, start + seconds(300)));
    EXPECT_EQ(table.size(), 2U);
}

TEST(MacTable, MarksTheVlansOfAMacOnOnePort)
{
    MacTable table(seconds(300), 100);
    table.learn(0, mac, 1, start);
    table.learn(31, mac, 1, start);
    table.learn(32, mac, 1, start);
    table.learn(100, mac, 2, start); // another port
    table.learn(4094, mac, 1, start);
    zomacTableVlanBitmap bitmap{};
    bitmap[5] = 0x10; // bits are only ever set
    table.markVlans(mac, 1, start, bitmap);

    zomacTableVlanBitmap expected{};
    expected[0] = 0x80000001;
    expected[1] = 0x80000000;
    expected[5] = 0x10;
    expected[127] = 0x00000002; // 4094 = 127 * 32 + 30
    EXPECT_EQ(bitmap, expected);

    zomacTableVlanBitmap later{};
    table.markVlans(mac, 1, start + seconds(300), later);
    EXPECT_EQ(later, zomacTableVlanBitmap{});
}

TEST(MacTable, ForgetsAnInterfaceThatIsGone)
{
    MacTable table(seconds(300), 100);
    table.learn(10, mac, 1, start);
    table.learn(20, mac, 2, start);
    table.forgetInterface(1);
    EXPECT_EQ(table.find(10, mac, start), std::nullopt);
    EXPECT_EQ(table.find(20, mac, start), 2U);
    table.clear();
    EXPECT_EQ(table.size(), 0U);
}

} // namespace
} // namespace vnode
