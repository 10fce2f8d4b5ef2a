#include "relay/ids/MacroLanguage.h"
#include "unit/relay_parts/IdBench.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using dhcpraTypes::customIdFormat;
using Bytes = std::vector<std::uint8_t>;

TEST(MacroLanguage, HoldsNumbersIn32BitsAndTellsWhyThereIsNoMacro)
{
    FakeFrameOwner sink;
    const MacroLanguage language{IdDebug{sink, noTrace}};
    char flags = 0;
    std::uint32_t numChars = 77;
    std::string delimiter = "before";
    EXPECT_TRUE(language.parseOptChars("99999999999999999999999d", delimiter, numChars, flags));
    EXPECT_EQ(flags, macroStringNumOfChars | macroStringDelimChar);
    EXPECT_EQ(numChars, 4294967295U);
    EXPECT_EQ(delimiter, "before");

    MacroToken token;
    EXPECT_FALSE(language.nextMacro("", 0, token) || language.nextMacro("$PORT", 6, token) ||
                 language.nextMacro("$PORT", 5, token) || language.nextMacro("PORT", 0, token));
    EXPECT_EQ(sink.text, "\t Empty format string\n\t Failed sanity check\n\t No macro identifier found\n");

    std::size_t start = 99;
    std::string text;
    customIdFormat type{};
    std::string userString;
    EXPECT_TRUE(language.getNextMacroFormatString("ab $cd$d-PVC_INTFx$ABHEX", 0, start, text, type, flags,
                                                  delimiter, numChars, userString));
    EXPECT_EQ(start, 6U);
    EXPECT_EQ(text, "$d-PVC_INTF");
    EXPECT_EQ(type, customIdFormat::PVC_INTF);
    EXPECT_EQ(delimiter, "-");
    EXPECT_FALSE(language.macroAreFlagsValid(static_cast<customIdFormat>(29), macroStringPrintHex, "", 0));
}

TEST(Ipv6Groups, WritesAddressesOut)
{
    std::vector<std::string> groups{"stale"};
    const auto written = [&groups](const char* text) {
        EXPECT_TRUE(ipv6AddrStrToVector(text, groups)) << text;
        std::string all;
        for (const std::string& group : groups)
            all += group + " ";
        return all;
    };
    EXPECT_EQ(written("1:2:3:4:5:6:7:8"), "0001 0002 0003 0004 0005 0006 0007 0008 ");
    EXPECT_EQ(written("::1"), "0000 0000 0000 0000 0000 0000 0000 0001 ");
    EXPECT_EQ(written("::"), "0000 0000 0000 0000 0000 0000 0000 0000 ");
    EXPECT_EQ(written("FE80::"), "FE80 0000 0000 0000 0000 0000 0000 0000 ");
    EXPECT_EQ(written("1:2:3:4:5:6:7::"), "0001 0002 0003 0004 0005 0006 0007 0000 ");
    EXPECT_EQ(written("::2:3:4:5:6:7:8"), "0000 0002 0003 0004 0005 0006 0007 0008 ");
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
