#include "relay/ids/MacroLanguage.h"
#include "unit/relay_id/IdBench.h"

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
             {"12", count, 12, "before"},
             {"z5", zeroes | count, 5, "before"},
             {"s5", spaces | count, 5, "before"},
             {"z", zeroes, 77, "before"},
             {"zh", zeroes | hexBit, 0, "before"},
             {"hz3", hexBit | zeroes | count, 3, "before"},
             {"sd-", spaces | delim, 0, "-"},
             {"d-", delim, 77, "-"},
             {"dd", delim, 77, "d"},
             {"dh", delim, 77, "h"},
             {"d5", delim, 77, "5"},
             {"d", delim, 77, "before"},
             {"d-zh", delim | zeroes | hexBit, 0, "-"},
             {"5z3", count | zeroes, 3, "before"},
             {"5h6", hexBit | count, 6, "before"},
             {"z0", zeroes | count, 0, "before"},
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
        EXPECT_EQ(sink.texts, "");
    }
}

TEST_F(MacroLanguageTest, RefusesOptionCharacters)
{
    const std::map<std::string, std::string> cases{
        {"hh", "\t Duplicate hex option\n"},
        {"h5h", "\t Duplicate hex option\n"},
        {"zs5", "\t Duplicate padding option\n"},
        {"z5z5", "\t Duplicate padding option\n"},
        {"d-d-", "\t Duplicate delimiter option\n"},
        {"x", "\t Invalid number of characters or unexpected character! \n"},
        {"5 ", "\t Invalid number of characters or unexpected character! \n"},
        {"zx", "\t Invalid number of characters or unexpected character! \n"},
        {"z5h6", "\t Duplicate num chars option\n"},
        {"s", "\t Unexpected exit! Number of characters should follow. \n"},
        {"hs", "\t Unexpected exit! Number of characters should follow. \n"},
    };
    for (const auto& [options, text] : cases) {
        SCOPED_TRACE(options);
        char flags = 0;
        std::uint32_t numChars = 0;
        std::string delimiter;
        sink.texts.clear();
        EXPECT_FALSE(language.parseOptChars(options, delimiter, numChars, flags));
        EXPECT_EQ(sink.texts, text);
    }
}

TEST_F(MacroLanguageTest, ChecksFlagsInOrder)
{
    constexpr char padText[] = "\t ERROR: both macroStringPadZeroes and macroStringPadSpaces set\n";
    constexpr char countText[] = "\t ERROR: macroStringNumOfChars set, but zero characters\n";
    constexpr char hexText[] = "\t ERROR: macro not supported for HEX format\n";
    struct Case
    {
        customIdFormat type;
        int flags;
        std::uint32_t numChars;
        const char* text; // empty: valid
    };
    using enum customIdFormat;
    for (const Case& row : std::initializer_list<Case>{
             {PORT, zeroes | spaces, 5, padText},
             {PORT, zeroes, 0, padText},
             {CLNT_MAC, spaces, 0, padText},
             {PORT, zeroes, 3, ""},
             {AGENT_IPV4, zeroes, 0, ""},
             {AGENT_IPV6, zeroes, 0, ""},
             {AGENT_IPV4, zeroes | count, 0, countText},
             {PORT, count, 0, countText},
             {SHELF, hexBit | count, 0, countText},
             {SHELF, hexBit, 0, hexText},
             {VLAN, hexBit, 0, ""},
             {VLAN, delim, 0, ""},
             {HEX, hexBit, 0, hexText},
             {static_cast<customIdFormat>(29), hexBit, 0, hexText},
         }) {
        sink.texts.clear();
        EXPECT_EQ(language.macroAreFlagsValid(row.type, static_cast<char>(row.flags), "", row.numChars),
                  *row.text == '\0');
        EXPECT_EQ(sink.texts, row.text);
    }
}

TEST_F(MacroLanguageTest, ReportsWhatItFinds)
{
    std::size_t start = 99;
    std::string text = "stale";
    customIdFormat type{};
    char flags = 0;
    std::string delimiter;
    std::uint32_t numChars = 7;
    std::string userString;
    EXPECT_TRUE(language.getNextMacroFormatString("ab $cd$d-PVC_INTFx", 0, start, text, type, flags,
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
}

TEST_F(MacroLanguageTest, SaysWhyThereIsNoMacro)
{
    struct Case
    {
        const char* format;
        std::size_t start;
        const char* texts;
    };
    for (const Case& row : std::initializer_list<Case>{
             {"", 0, "\t Empty format string\n"},
             {"", 1, "\t Failed sanity check\n"},
             {"$PORT", 6, "\t Failed sanity check\n"},
             {"$PORT", 5, ""},
             {"$port", 0, ""},
             {"PORT", 0, "\t No macro identifier found\n"},
             {"$xPORT", 0,
              "\t Invalid number of characters or unexpected character! \n\t ERROR: parseOptChars failed\n"},
         }) {
        sink.texts.clear();
        MacroToken token;
        EXPECT_FALSE(language.nextMacro(row.format, row.start, token)) << row.format;
        EXPECT_EQ(sink.texts, row.texts) << row.format;
    }
}

TEST_F(MacroLanguageTest, DebugTextsCostNothingWhileNobodyListens)
{
    sink.wanted = false;
    MacroToken token;
    EXPECT_FALSE(language.nextMacro("$xPORT", 0, token));
    std::string out;
    EXPECT_FALSE(language.processMacroString("1", customIdFormat::SHELF, hexBit, "", 0, out));
    EXPECT_EQ(sink.calls, 0);
}

TEST(Ipv6Groups, WritesAddressesOut)
{
    using Groups = std::vector<std::string>;
    const std::map<std::string, Groups> good{
        {"1:2:3:4:5:6:7:8", {"0001", "0002", "0003", "0004", "0005", "0006", "0007", "0008"}},
        {"2001:DB8::1F", {"2001", "0DB8", "0000", "0000", "0000", "0000", "0000", "001F"}},
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

TEST(BinaryId, MixesTextWithTheBytesOfHexParts)
{
    struct Case
    {
        const char* id;
        hexParts_t parts;
        Bytes bytes;
    };
    for (const Case& row : std::initializer_list<Case>{
             {"", {}, {}},
             {"", {{0, 0}}, {}},
             {"ab", {}, {'a', 'b'}},
             {"x0Affy", {{1, 4}}, {'x', 0x0A, 0xFF, 'y'}},
             {"6464", {{0, 2}, {2, 2}}, {0x64, 0x64}},
             {"4z.", {{0, 2}}, {0x04, '.'}},
             {"ab", {{0, 0}}, {'a', 'b'}},
             {"ab", {{1, 0}, {7, 2}}, {'a', 'b'}},
         }) {
        Bytes out{0xEE};
        Bytes expected{0xEE};
        expected.insert(expected.end(), row.bytes.begin(), row.bytes.end());
        EXPECT_TRUE(idStringToBinaryVector(row.id, row.parts, out)) << row.id;
        EXPECT_EQ(out, expected) << row.id;
    }
    Bytes out;
    EXPECT_FALSE(idStringToBinaryVector("64", {{0, 4}}, out));
    EXPECT_FALSE(idStringToBinaryVector("6", {{0, 1}}, out));
    EXPECT_FALSE(idStringToBinaryVector("a", {{0, 4294967295U}}, out));
}

} // namespace
