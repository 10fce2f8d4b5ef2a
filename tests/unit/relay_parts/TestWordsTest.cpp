#include "relay/ids/TestWords.h"
#include "unit/relay_parts/IdBench.h"

#include <gtest/gtest.h>

namespace {

class TestWordsTest : public testing::Test
{
protected:
    std::string set(const char* key, const char* value)
    {
        std::ostringstream out;
        testSet(testWordNamesV4, bench.testData, key, value, out);
        return out.str();
    }
    std::string run(const char* key, const char* mode)
    {
        std::ostringstream out;
        testRun(testWordNamesV4, bench.testData, CustomIds(bench.context(), idFamilyV4), key, mode, out);
        return out.str();
    }

    IdBench bench;
};

TEST_F(TestWordsTest, SetReplies)
{
    EXPECT_EQ(set("dhcpraTestSetCvid", "43x") + set("dhcpraTestSetIntfId", "20") +
                  set("dhcpraTestSetOnu", "2"),
              "\nSetting cvid: 43\n\n\nSetting intfId: 20\n\n\nSetting onu: 2\n\n");
    EXPECT_EQ(set("dhcpraTestSetVgem", "none"), "\nSetting vgem: 0\n\n");
    EXPECT_EQ(set("dhcpraTestSetTContType", "3"), "\nSetting tcontType: 3\n\n");
    EXPECT_EQ(set("dhcpraTestSetCustomRidStr", ""), "\nSetting customRidStr: ''\n");
    EXPECT_EQ(set("dhcpraTestSetClntMac", "a0-B1:02"), "\nSetting clntMac: A0:B1:02:00:00:00\n");
    EXPECT_EQ(set("dhcpraTestSetNothing", "1") + set("dhcprav6TestSetVlan", "7"), "\n\n\n\n");
    EXPECT_EQ(set("dhcpraTestSetVlan", "42"), "\nSetting vlan: 42\n\n");
}

TEST_F(TestWordsTest, DumpListsTheRecord)
{
    set("dhcpraTestSetCustomCidStr", "$PORT");
    std::ostringstream out;
    testDump(bench.testData, true, out);
    EXPECT_EQ(out.str(),
              "\n Debug: 1\n\n Test data:\n ------------\n vlan: 100\n cvid: 3999\n intfId: 10\n onu: 1\n"
              " vgem: 200\n tcontType: 4\n clntMac: 11:22:33:44:55:66\n customCidStr: '$PORT'\n"
              " customRidStr: ''\n\n");
}

TEST_F(TestWordsTest, RunExpandsTheTestFormats)
{
    set("dhcpraTestSetCustomCidStr", "$PORT $CLNT_MAC");
    set("dhcpraTestSetCustomRidStr", "$VLAN/$CVID");
    EXPECT_EQ(run("dhcpraTestRunCid", "test"), "\n Generated Custom Circuit Id: '5 11:22:33:44:55:66'\n\n");
    EXPECT_EQ(run("dhcpraTestRunRid", "available"), "\n Generated Custom Remote Id: '100/3999'\n\n");
    EXPECT_EQ(run("dhcpraTestRunCid", "live") + run("dhcpraTestRunXid", "test"), "");
}

} // namespace
