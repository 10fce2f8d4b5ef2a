#include "relay/ids/MacroLanguage.h"
#include "unit/relay_parts/IdBench.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using dhcpraTypes::customIdFormat;
using Bytes = std::vector<std::uint8_t>;

class MacroLanguageTest : public testing::Test
{
protected:
    TextSink sink{true};
    MacroLanguage language{IdDebug{sink, noTrace}};
};

constexpr char hexBit = macroStringPrintHex;
constexpr char count = macroStringNumOfChars;
constexpr char zeroes = macroStringPadZeroes;
constexpr char spaces = macroStringPadSpaces;
constexpr char delim = macroStringDelimChar;

// What texts cannot show: "d" without a delimiter, the number left by an option, a number past 32 bits.
TEST_F(MacroLanguageTest, ReadsOptionCharacters)
{
    struct Case
    {
        const char* options;
        int flags;
        std::uint32_t numChars; // 77 going in
        const char* delimiter;  // "before" going in
    };
    for (const Case& row : std::initializer_list<Case>{
             {"", 0, 77, "before"},
             {"h", hexBit, 77, "before"},
             {"z5", zeroes | count, 5, "before"},
             {"z", zeroes, 77, "before"},
             {"zh", zeroes | hexBit, 0, "before"},
             {"sd-", spaces | delim, 0, "-"},
             {"dd", delim, 77, "d"},
             {"d", delim, 77, "before"},
             {"5z3", count | zeroes, 3, "before"},
             {"5h6", hexBit | count, 6, "before"},
             {"99999999999999999999999", count, 4294967295U, "before"},
         }) {
        SCOPED_TRACE(row.options);
        char flags = 0;
        std::uint32_t numChars = 77;
        std::string delimiter = "before";
        EXPECT_TRUE(language.parseOptChars(row.options, delimiter, numChars, flags));
        EXPECT_EQ(flags, row.flags);
        EXPECT_EQ(numChars, row.numChars);
        EXPECT_EQ(delimiter, row.delimiter);
    }
    EXPECT_EQ(sink.texts, "");
}

TEST_F(MacroLanguageTest, TellsWhatItFindsAndWhyThereIsNothing)
{
    std::size_t start = 99;
    std::string text = "stale";
    customIdFormat type{};
    char flags = 0;
    std::string delimiter;
    std::uint32_t numChars = 7;
    std::string userString;
    EXPECT_TRUE(language.getNextMacroFormatString("ab $cd$d-PVC_INTFx$ABHEX", 0, start, text, type, flags,
                                                  delimiter, numChars, userString));
    EXPECT_EQ(start, 6U);
    EXPECT_EQ(text, "$d-PVC_INTF");
    EXPECT_EQ(type, customIdFormat::PVC_INTF);
    EXPECT_EQ(flags, delim);
    EXPECT_EQ(delimiter, "-");
    EXPECT_EQ(numChars, 7U);
    EXPECT_EQ(userString, "");
    EXPECT_TRUE(language.getNextMacroFormatString("$ABHEX", 0, start, text, type, flags, delimiter, numChars,
                                                  userString));
    EXPECT_EQ(userString, "AB");
    EXPECT_EQ(delimiter, "");
    EXPECT_EQ(flags, 0);

    MacroToken token;
    EXPECT_FALSE(language.nextMacro("", 0, token) || language.nextMacro("$PORT", 6, token) ||
                 language.nextMacro("$PORT", 5, token) || language.nextMacro("PORT", 0, token));
    EXPECT_EQ(sink.texts, "\t Empty format string\n\t Failed sanity check\n\t No macro identifier found\n");
}

TEST_F(MacroLanguageTest, ADelimiterIsJudgedWithTheValueAndAnUnknownTypeTakesNothing)
{
    EXPECT_TRUE(language.macroAreFlagsValid(customIdFormat::VLAN, delim, "", 0));
    EXPECT_FALSE(language.macroAreFlagsValid(static_cast<customIdFormat>(29), hexBit, "", 0));
    sink.wanted = false;
    sink.calls = 0;
    std::string out;
    EXPECT_FALSE(language.processMacroString("1", customIdFormat::SHELF, hexBit, "", 0, out));
    EXPECT_EQ(sink.calls, 0) << "debug texts cost nothing while nobody listens";
}

TEST(Ipv6Groups, WritesAddressesOut)
{
    using Groups = std::vector<std::string>;
    const std::map<std::string, Groups> good{
        {"1:2:3:4:5:6:7:8", {"0001", "0002", "0003", "0004", "0005", "0006", "0007", "0008"}},
        {"::1", {"0000", "0000", "0000", "0000", "0000", "0000", "0000", "0001"}},
        {"::", {"0000", "0000", "0000", "0000", "0000", "0000", "0000", "0000"}},
        {"FE80::", {"FE80", "0000", "0000", "0000", "0000", "0000", "0000", "0000"}},
        {"1:2:3:4:5:6:7::", {"0001", "0002", "0003", "0004", "0005", "0006", "0007", "0000"}},
        {"::2:3:4:5:6:7:8", {"0000", "0002", "0003", "0004", "0005", "0006", "0007", "0008"}},
    };
    Groups groups{"stale"};
    for (const auto& [text, expected] : good) {
        EXPECT_TRUE(ipv6AddrStrToVector(text, groups)) << text;
        EXPECT_EQ(groups, expected) << text;
    }
    for (const char* text :
         {"", "1", "1:2:3:4:5:6:7", "1:2:3:4:5:6:7:8:9", "1::2::3", ":::::::::::::::::::::::"})
        EXPECT_FALSE(ipv6AddrStrToVector(text, groups)) << text;
}

TEST(BinaryId, RefusesPartsThatRunPastTheText)
{
    Bytes out{0xEE};
    EXPECT_TRUE(idStringToBinaryVector("4z.", {{0, 2}, {7, 2}}, out));
    EXPECT_EQ(out, (Bytes{0xEE, 0x04, '.'}));
    EXPECT_FALSE(idStringToBinaryVector("64", {{0, 4}}, out));
    EXPECT_FALSE(idStringToBinaryVector("6", {{0, 1}}, out));
    EXPECT_FALSE(idStringToBinaryVector("a", {{0, 4294967295U}}, out));
}

} // namespace
