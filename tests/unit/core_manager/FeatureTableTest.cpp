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
    const char* dump;
};

class FeatureTableTest : public testing::TestWithParam<Row>
{};

} // namespace

TEST_P(FeatureTableTest, FollowsBoardAndOptions)
{
    const CapturedLog log;
    FeatureTable table;
    table.load(GetParam().board, [](int option) { return GetParam().options.contains(option); });
    std::ostringstream out;
    table.dump(&out);
    EXPECT_EQ(out.str(), std::string("\nSupported features:\n------------------\n") + GetParam().dump + "\n");
    EXPECT_EQ(log.has(LogImpl::critical, "BLLManager::loadBllFeatures: Cannot read board_id.\n"),
              std::string(GetParam().board).empty());
}

INSTANTIATE_TEST_SUITE_P(
    Boards, FeatureTableTest,
    testing::Values(Row{"plain",
                        "QXA7",
                        {},
                        " dsfec: false\n httpserver: false\n lagmembership: true\n legacyalarm: true\n"
                        " oltintervalstat: true\n oltsfpmode: false\n onubasedoltstates: false\n"
                        " sfpuplinkspeed: false\n uplinksfpwhitelist: false\n"},
                    Row{"onuBased",
                        "QXJ",
                        {15},
                        " dsfec: true\n httpserver: false\n lagmembership: true\n legacyalarm: false\n"
                        " oltintervalstat: true\n oltsfpmode: false\n onubasedoltstates: true\n"
                        " sfpuplinkspeed: true\n uplinksfpwhitelist: true\n"},
                    Row{"others",
                        "QXK2",
                        {5, 12, 13},
                        " dsfec: true\n httpserver: true\n lagmembership: true\n legacyalarm: true\n"
                        " oltintervalstat: true\n oltsfpmode: false\n onubasedoltstates: false\n"
                        " sfpuplinkspeed: false\n uplinksfpwhitelist: true\n"},
                    Row{"stranger",
                        "QXI",
                        {},
                        " dsfec: false\n httpserver: false\n lagmembership: false\n legacyalarm: true\n"
                        " oltintervalstat: true\n oltsfpmode: false\n onubasedoltstates: false\n"
                        " sfpuplinkspeed: false\n uplinksfpwhitelist: false\n"},
                    Row{"unknown",
                        "",
                        {},
                        " dsfec: false\n httpserver: false\n legacyalarm: true\n oltintervalstat: true\n"
                        " oltsfpmode: false\n onubasedoltstates: false\n sfpuplinkspeed: false\n"
                        " uplinksfpwhitelist: false\n"}),
    [](const auto& row) { return std::string(row.param.name); });
