#include "common/CZoUtil.h"
#include "common/Clock.h"

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using std::chrono::seconds;

namespace {

class MeasureTimeTest : public testing::Test
{
protected:
    void SetUp() override
    {
        CZoUtil::measureTimeStateSet(true);
        CZoUtil::measureTimeCheckpointClear(0);
    }
    void TearDown() override { Clock::reset(); }

    static void measure(unsigned id, const std::string& name, unsigned parent, seconds duration)
    {
        CZoUtil::measureTimeCheckpointStart(id, name, parent);
        Clock::advance(duration);
        CZoUtil::measureTimeCheckpointEnd(id);
    }

    static std::string tell(const std::string& key, const std::string& value)
    {
        std::ostringstream out;
        CZoUtil::measureTimeExtMsg(key, value, &out);
        return out.str();
    }

    /// Cells of the rows of the table.
    static std::vector<std::vector<std::string>> rows(const std::string& table)
    {
        std::vector<std::vector<std::string>> result;
        std::istringstream lines(table);
        bool inTable = false;
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with(" ----")) {
                inTable = true;
                continue;
            }
            if (!inTable || line.starts_with("Note"))
                continue;
            std::vector<std::string> cells;
            std::istringstream text(line);
            for (std::string cell; std::getline(text, cell, '|');)
                cells.push_back(cell);
            result.push_back(cells);
        }
        return result;
    }
    /// To the nearest whole number: real time goes on in the test, too.
    static int whole(const std::string& cell) { return static_cast<int>(std::stod(cell) + 0.5); }
};

const std::string tableTail =
    " CheckpointId | Time Spent(%) | Time Spent(s) | Iterations | Avg Iter Time(s) | Checkpoint Name\n " +
    std::string(94, '-') +
    "\nNote: the above table is max 3 levels deep. For lower levels select specific checkpoint.\n";

} // namespace

TEST_F(MeasureTimeTest, WhileOffNothingIsRecorded)
{
    EXPECT_EQ(tell("measureTimeSet", "off"), " Time measuring set to: Off\n");
    measure(1, "one", 0, seconds(5));
    EXPECT_EQ(tell("measureTimePrint", ""),
              "\n Time Measuring: Off\n Total Time Spent(s): 0.000000\n\n" + tableTail);
}

TEST_F(MeasureTimeTest, AnyOtherValueSwitchesOn)
{
    for (const char* value : {"", "on", "OFF"})
        EXPECT_EQ(tell("measureTimeSet", value), " Time measuring set to: On\n");
    EXPECT_EQ(tell("measureTimePrint", ""),
              "\n Time Measuring: On\n Total Time Spent(s): 0.000000\n\n" + tableTail);
    EXPECT_EQ(tell("measureTimeOther", "x"), "");
}

TEST_F(MeasureTimeTest, SharesTotalsAndLevels)
{
    measure(1, "one", 0, seconds(100));
    measure(1, "renamed", 7, seconds(200)); // name and parent stay as first told
    measure(2, "two", 0, seconds(100));
    measure(10, "below one", 1, seconds(150));
    measure(11, "below 10", 10, seconds(15));
    measure(12, "fourth level", 11, seconds(1));

    const auto all = rows(tell("measureTimePrint", ""));
    ASSERT_EQ(all.size(), 4U);
    const struct
    {
        const char* id;
        int percent, spent, iterations, average;
        const char* name;
    } expected[] = {{"1", 75, 300, 2, 150, " one"},
                    {"10", 50, 150, 1, 150, "   below one"},
                    {"11", 10, 15, 1, 15, "     below 10"},
                    {"2", 25, 100, 1, 100, " two"}};
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(std::stoul(all[i][0]), std::stoul(expected[i].id));
        EXPECT_EQ(whole(all[i][1]), expected[i].percent);
        EXPECT_EQ(whole(all[i][2]), expected[i].spent);
        EXPECT_EQ(whole(all[i][3]), expected[i].iterations);
        EXPECT_EQ(whole(all[i][4]), expected[i].average);
        EXPECT_EQ(all[i][5], expected[i].name);
    }

    const auto selected = rows(tell("measureTimePrint", "10"));
    ASSERT_EQ(selected.size(), 3U);
    EXPECT_EQ(whole(selected[0][1]), 100);
    EXPECT_EQ(selected[2][5], "     fourth level");
    EXPECT_TRUE(rows(tell("measureTimePrint", "99")).empty());
}

TEST_F(MeasureTimeTest, AnEndWithoutAStartAddsNothing)
{
    measure(1, "one", 0, seconds(10));
    Clock::advance(seconds(1000));
    CZoUtil::measureTimeCheckpointEnd(1);
    CZoUtil::measureTimeCheckpointEnd(2);
    const auto all = rows(tell("measureTimePrint", ""));
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(whole(all[0][2]), 10);
}

TEST_F(MeasureTimeTest, ClearTakesWhatIsBelowWithIt)
{
    measure(1, "one", 0, seconds(1));
    measure(2, "below one", 1, seconds(1));
    measure(3, "below two", 2, seconds(1));
    measure(4, "four", 0, seconds(1));
    EXPECT_EQ(tell("measureTimeClear", "1"), " Time measuring data cleared for checkpoint 1\n");
    EXPECT_EQ(rows(tell("measureTimePrint", "")).size(), 1U);
    EXPECT_TRUE(rows(tell("measureTimePrint", "3")).empty());
    measure(6, "below 5, which has no row", 5, seconds(1));
    tell("measureTimeClear", "5");
    EXPECT_TRUE(rows(tell("measureTimePrint", "6")).empty());
    EXPECT_EQ(tell("measureTimeClear", ""), " Time measuring data cleared for checkpoint 0\n");
    EXPECT_TRUE(rows(tell("measureTimePrint", "")).empty());
}

TEST_F(MeasureTimeTest, ParentsInACircleEnd)
{
    measure(1, "one", 2, seconds(1));
    measure(2, "two", 1, seconds(1));
    measure(3, "own parent", 3, seconds(1));
    EXPECT_EQ(rows(tell("measureTimePrint", "1")).size(), 3U);
    EXPECT_EQ(rows(tell("measureTimePrint", "3")).size(), 3U);
    tell("measureTimeClear", "1");
    tell("measureTimeClear", "3");
    EXPECT_TRUE(rows(tell("measureTimePrint", "2")).empty());
}

TEST_F(MeasureTimeTest, ATotalOfZeroIsNoPercentage)
{
    CZoUtil::measureTimeCheckpointStart(1, "running", 0);
    const auto all = rows(tell("measureTimePrint", ""));
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(whole(all[0][1]), 0);
}

TEST_F(MeasureTimeTest, AnIdThatIsNoNumberChangesNothing)
{
    measure(1, "one", 0, seconds(1));
    EXPECT_THROW(tell("measureTimeClear", "x"), std::invalid_argument);
    EXPECT_THROW(tell("measureTimeClear", "99999999999"), std::out_of_range);
    EXPECT_EQ(rows(tell("measureTimePrint", "")).size(), 1U);
}
