#include "common/CZoUtil.h"
#include "common/Clock.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using std::chrono::seconds;
using Rows = std::vector<std::string>;

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

    /// The rows of a table, with numbers to the nearest whole one: real time goes on in the test, too.
    static Rows rows(const std::string& selected = "")
    {
        std::istringstream lines(tell("measureTimePrint", selected));
        Rows result;
        unsigned id = 0, iterations = 0;
        float percent = 0, spent = 0, average = 0;
        std::array<char, 100> name{};
        for (std::string line; std::getline(lines, line);) {
            if (std::sscanf(line.c_str(), "%u |%f |%f |%u |%f |%99[^\n]", &id, &percent, &spent, &iterations,
                            &average, name.data()) != 6)
                continue;
            std::ostringstream row;
            row << id << ' ' << std::lround(percent) << ' ' << std::lround(spent) << ' ' << iterations << ' '
                << std::lround(average) << name.data();
            result.push_back(row.str());
        }
        return result;
    }
};

const std::string tableTail =
    " CheckpointId | Time Spent(%) | Time Spent(s) | Iterations | Avg Iter Time(s) | Checkpoint Name\n " +
    std::string(94, '-') +
    "\nNote: the above table is max 3 levels deep. For lower levels select specific checkpoint.\n";

} // namespace

TEST_F(MeasureTimeTest, IsSwitchedOffByOneWordAndOnByAnyOther)
{
    EXPECT_EQ(tell("measureTimeSet", "off"), " Time measuring set to: Off\n");
    measure(1, "one", 0, seconds(5));
    EXPECT_EQ(tell("measureTimePrint", ""),
              "\n Time Measuring: Off\n Total Time Spent(s): 0.000000\n\n" + tableTail);
    for (const char* value : {"", "OFF"})
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
    EXPECT_EQ(rows(), (Rows{"1 75 300 2 150 one", "10 50 150 1 150   below one", "11 10 15 1 15     below 10",
                            "2 25 100 1 100 two"}));
    EXPECT_EQ(rows("10"), (Rows{"10 100 150 1 150 below one", "11 10 15 1 15   below 10",
                                "12 7 1 1 1     fourth level"}));
    EXPECT_EQ(rows("99"), Rows{});
}

TEST_F(MeasureTimeTest, WhatHasNotEndedOrNotStartedAddsNothing)
{
    measure(1, "one", 0, seconds(10));
    Clock::advance(seconds(1000));
    CZoUtil::measureTimeCheckpointEnd(1);
    CZoUtil::measureTimeCheckpointEnd(2);
    EXPECT_EQ(rows(), Rows{"1 100 10 1 10 one"});
    tell("measureTimeClear", "");
    CZoUtil::measureTimeCheckpointStart(1, "running", 0);
    EXPECT_EQ(rows(), Rows{"1 0 0 1 0 running"}) << "a total of zero is no percentage";
}

TEST_F(MeasureTimeTest, ClearTakesWhatIsBelowWithItAlsoInACircle)
{
    measure(1, "one", 0, seconds(1));
    measure(2, "below one", 1, seconds(1));
    measure(3, "below two", 2, seconds(1));
    measure(4, "four", 0, seconds(1));
    EXPECT_EQ(tell("measureTimeClear", "1"), " Time measuring data cleared for checkpoint 1\n");
    EXPECT_EQ(rows(), Rows{"4 100 1 1 1 four"});
    measure(6, "below 5, which has no row", 5, seconds(1));
    tell("measureTimeClear", "5");
    EXPECT_EQ(rows("6"), Rows{});
    EXPECT_EQ(tell("measureTimeClear", ""), " Time measuring data cleared for checkpoint 0\n");
    EXPECT_EQ(rows(), Rows{});

    measure(1, "one", 2, seconds(1));
    measure(2, "two", 1, seconds(1));
    measure(3, "own parent", 3, seconds(1));
    EXPECT_EQ(rows("1").size(), 3U);
    EXPECT_EQ(rows("3").size(), 3U);
    EXPECT_THROW(tell("measureTimeClear", "99999999999"), std::out_of_range);
    tell("measureTimeClear", "1");
    tell("measureTimeClear", "3");
    EXPECT_EQ(rows("2"), Rows{});
}
