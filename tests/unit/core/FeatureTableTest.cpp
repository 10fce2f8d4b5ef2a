#include "rte/BLL/core/FeatureTable.h"
#include "support/CapturedLog.h"

#include <set>

#include <gtest/gtest.h>

namespace {

struct Row
{
    const char* name;
    const char* board;
    std::set<int> options;
    const char* on; ///< the features that are there, of the others that a board has
};

class FeatureTableTest : public testing::TestWithParam<Row>
{};

} // namespace

TEST_P(FeatureTableTest, FollowsBoardAndOptions)
{
    const CapturedLog log;
    const std::string board = GetParam().board;
    FeatureTable table;
    table.load(board, [](int option) { return GetParam().options.contains(option); });
    std::string expected = "\nSupported features:\n------------------\n";
    for (const std::string feature :
         {"dsfec", "httpserver", "lagmembership", "legacyalarm", "oltintervalstat", "oltsfpmode",
          "onubasedoltstates", "sfpuplinkspeed", "uplinksfpwhitelist"}) {
        const bool isOn = std::string(GetParam().on).find(feature) != std::string::npos;
        if (!board.empty() || feature != "lagmembership")
            expected += " " + feature + (isOn ? ": true\n" : ": false\n");
    }
    std::ostringstream out;
    table.dump(&out);
    EXPECT_EQ(out.str(), expected + "\n");
    EXPECT_EQ(log.has(LogImpl::critical, "BLLManager::loadBllFeatures: Cannot read board_id.\n"),
              board.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Boards, FeatureTableTest,
    testing::Values(Row{"plain", "QXA7", {}, "lagmembership legacyalarm oltintervalstat"},
                    Row{"onuBased",
                        "QXJ",
                        {15},
                        "dsfec lagmembership oltintervalstat onubasedoltstates "
                        "sfpuplinkspeed uplinksfpwhitelist"},
                    Row{"others",
                        "QXK2",
                        {5, 12, 13},
                        "dsfec httpserver lagmembership legacyalarm "
                        "oltintervalstat uplinksfpwhitelist"},
                    Row{"stranger", "QXI", {}, "legacyalarm oltintervalstat"},
                    Row{"unknown", "", {}, "legacyalarm oltintervalstat"}),
    [](const auto& row) { return std::string(row.param.name); });
