#include "tools/dhcpractl/Arguments.h"
#include "tools/dhcpractl/Failures.h"
#include "tools/dhcpractl/IntfVlanRecords.h"
#include "tools/dhcpractl/Lines.h"
#include "tools/dhcpractl/Programs.h"

#include <gtest/gtest.h>

using namespace dhcpractl;

namespace {

using Split = std::vector<std::string>;

TEST(Lines, SplitIntoWords)
{
    EXPECT_EQ(splitLine(""), Split{});
    EXPECT_EQ(splitLine("  # a comment"), Split{});
    EXPECT_EQ(splitLine("one  two\tthree\r"), (Split{"one", "two", "three"}));
    EXPECT_EQ(splitLine("one two#half # rest"), (Split{"one", "two#half"}));
    EXPECT_EQ(splitLine(R"(a "" '' b)"), (Split{"a", "", "", "b"}));
    EXPECT_EQ(splitLine(R"('$VLAN \n "x"' "it's \"so\"\\\n\t\x7f")"),
              (Split{R"($VLAN \n "x")", "it's \"so\"\\\n\t\x7f"}));
    EXPECT_EQ(splitLine(R"(pre"fix "'ed')"), (Split{"prefix ed"}));
}

TEST(Lines, RefuseWhatHasNoEndOrMeaning)
{
    for (const char* line : {"\"open", "'open", "\"\\", R"("\q")", R"("\x4")", R"("\xzz")", "\"\\x"})
        EXPECT_THROW(static_cast<void>(splitLine(line)), UsageError) << line;
}

TEST(Lines, AnyBytesComeBackFromQuotes)
{
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        all += static_cast<char>(byte);
    for (const std::string& word : {std::string(), std::string("plain-1/2"), std::string("#x"), all}) {
        const std::string line = quoteWord(word);
        EXPECT_EQ(line.find('\n'), std::string::npos);
        EXPECT_EQ(splitLine(line), Split{word});
    }
}

TEST(Arguments, ReadAsPeopleWriteThem)
{
    EXPECT_EQ(parseUnsigned("10.0.0.1"), 0x0A000001U);
    EXPECT_EQ(parseUnsigned("0xffffffff"), 0xFFFFFFFFU);
    EXPECT_EQ(parseInt("on"), 1);
    EXPECT_EQ(parseInt("-2"), -2);
    EXPECT_EQ(parseThreeState("TRUE"), RPC_DHCPRA_TRUE);
    EXPECT_EQ(parseThreeState("7"), 7);
    EXPECT_EQ(parseInterfaceMode("servers"), RPC_DHCPRA_MODE_SERVERS);
    EXPECT_EQ(parseCircuitIdMode("custom"), RPC_DRA_CIRMODE_CUSTOM);
    EXPECT_EQ(parseCircuitIdMode("none"), -1);
    const std::array<std::uint8_t, 6> mac{2, 0, 0, 0xAB, 0, 1};
    EXPECT_EQ(parseMac("02:00:00:ab:00:01"), mac);
    EXPECT_EQ(parseMac("020000AB0001"), mac);
}

TEST(Arguments, RefuseWhatDoesNotFit)
{
    for (const char* word : {"", "-1", "4294967296", "12x", "0x", "1.2.3", "1.2.3.256", "--1", " 1"})
        EXPECT_THROW(static_cast<void>(parseUnsigned(word)), UsageError) << word;
    for (const char* word : {"", "maybe", "2147483648"})
        EXPECT_THROW(static_cast<void>(parseInt(word)), UsageError) << word;
    for (const char* word : {"", "02:00:00:00:00", "02:00:00:00:00:0g", "02000000000", "0200000000000"})
        EXPECT_THROW(static_cast<void>(parseMac(word)), UsageError) << word;
    EXPECT_THROW(static_cast<void>(parseInterfaceRecord("id=1,colour=red")), UsageError);
    EXPECT_THROW(static_cast<void>(parseInterfaceRecord("name=seventeen-letters")), UsageError);
}

TEST(Procedures, AreFoundByEveryName)
{
    for (const char* name : {"rpc_dra_intf_set_mode", "dra_intf_set_mode", "intf_set_mode", "50"})
        EXPECT_EQ(findProcedure(relayProgram(), name).number, 50U) << name;
    EXPECT_EQ(findProcedure(relayProgram(), "dra6_intf_set_mode").number, 260U);
    for (const char* name : {"", "14", "0", "rpc_dra_intf_set", "50x"})
        EXPECT_THROW(static_cast<void>(findProcedure(relayProgram(), name)), UsageError) << name;
}

TEST(Records, AreReadFromADump)
{
    const std::string dump =
        " \tIntf Id: 7, name: '0/2/5', Linux name: 'if7':\n"
        "\t\tVlan: 100\n\t\t\tcircuitIdMode: -1\n\t\t\tcidFormat: 'a 'quoted' one'\n"
        "\t\t\tridFormat: ''\n"
        "\t\tVlan: 200\n\t\t\tcircuitIdMode: 3\n\t\t\tcidFormat: ''\n\t\t\tridFormat: 'r'\n\n";
    const IntfVlanRecords expected{{100, {-1, "a 'quoted' one", ""}}, {200, {3, "", "r"}}};
    EXPECT_EQ(recordsOfDump(dump), expected);
    EXPECT_EQ(recordsOfDump(""), IntfVlanRecords{});
    EXPECT_EQ(recordsOfDump("\t\tVlan: 5"), (IntfVlanRecords{{5, {}}}));
}

} // namespace
