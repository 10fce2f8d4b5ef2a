#include "rte/BLL/core/FeatureTable.h"
#include "support/CapturedLog.h"

#include <set>

#include <gtest/gtest.h>

TEST(FeatureTable, FollowsBoardAndOptions)
{
    const struct
    {
        std::string board;
        std::set<int> options;
        std::string on; ///< the features that are there, of the others that a board has
    } rows[] = {{"QXA7", {}, "lagmembership legacyalarm oltintervalstat"},
                {"QXJ",
                 {15},
                 "dsfec lagmembership oltintervalstat onubasedoltstates sfpuplinkspeed uplinksfpwhitelist"},
                {"QXK2",
                 {5, 12, 13},
                 "dsfec httpserver lagmembership legacyalarm oltintervalstat uplinksfpwhitelist"},
                {"QXI", {}, "legacyalarm oltintervalstat"},
                {"", {}, "legacyalarm oltintervalstat"}};
    for (const auto& [board, options, on] : rows) {
        const CapturedLog log;
        FeatureTable table;
        table.load(board, [&set = options](int option) { return set.contains(option); });
        std::string expected = "\nSupported features:\n------------------\n";
        for (const std::string feature :
             {"dsfec", "httpserver", "lagmembership", "legacyalarm", "oltintervalstat", "oltsfpmode",
              "onubasedoltstates", "sfpuplinkspeed", "uplinksfpwhitelist"})
            if (!board.empty() || feature != "lagmembership")
                expected +=
                    " " + feature + (on.find(feature) != std::string::npos ? ": true\n" : ": false\n");
        std::ostringstream out;
        table.dump(&out);
        EXPECT_EQ(out.str(), expected + "\n") << board;
        EXPECT_EQ(log.has(LogImpl::critical, "BLLManager::loadBllFeatures: Cannot read board_id.\n"),
                  board.empty());
    }
}
