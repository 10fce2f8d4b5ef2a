#include "relay/ids/CustomIds.h"
#include "unit/relay_parts/IdBench.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using dhcpraTypes::customIdFormat;
using Bytes = std::vector<std::uint8_t>;

/// Values by macro; a macro that is not here has no rule.
class FixedValues : public MacroValueSource
{
public:
    std::map<customIdFormat, std::string> values;

    [[nodiscard]] bool getMacroStringValue(customIdFormat macro, const IdSubject&,
                                           std::string& value) const override
    {
        const auto found = values.find(macro);
        value = found == values.end() ? "" : found->second;
        return found != values.end();
    }
};

class CustomIdTest : public testing::Test
{
protected:
    CustomIdTest()
    {
        using enum customIdFormat;
        source.values = {{SHELF, "sh1"},
                         {CHASSIS, "99"},
                         {BOARD, ""},
                         {PORT, "7"},
                         {PORT_REM_ID, "remote"},
                         {INTF, "0/2/5"},
                         {INTF_TYPE, "gem"},
                         {PVC_INTF, "3"},
                         {CLNT_MAC, "11:22:33:44:55:AA"},
                         {AGENT_MAC, ""},
                         {AGENT_IPV4, "10.1.2.3"},
                         {AGENT_IPV6, "2001:DB8::1F"},
                         {VLAN, "100"},
                         {VLAN_NAME, "internet"},
                         {CVID, "4000"},
                         {SYSNAME, "olt"},
                         {CPE_MAC, ""}};
    }

    std::string expand(const std::string& format)
    {
        std::string id = "stale";
        bin = {0xEE};
        EXPECT_TRUE(genCustomId(source, {sink, noTrace}, {}, format, id, bin));
        return id;
    }

    /// A row after each bar: format, id and, where there are any, the bytes in hexadecimal, with arrows
    /// between.
    void expectRows(std::string_view rows)
    {
        while (!rows.empty()) {
            std::string format(rows.substr(1, rows.find('|', 1) - 1)), id, hex;
            rows.remove_prefix(format.size() + 1);
            id = format.substr(format.find(" -> ") + 4);
            format.erase(format.find(" -> "));
            if (const auto arrow = id.find(" -> "); arrow != std::string::npos) {
                hex = id.substr(arrow + 4);
                id.erase(arrow);
            }
            EXPECT_EQ(expand(format), id) << format;
            std::string seen;
            for (const std::uint8_t byte : bin)
                seen += {"0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 15]};
            EXPECT_EQ(seen, hex) << format;
        }
    }

    FixedValues source;
    FakeFrameOwner sink;
    Bytes bin;
};

TEST_F(CustomIdTest, ExpandsToText)
{
    constexpr std::string_view texts =
        R"(| -> |plain -> plain|costs 5$ -> costs 5$|a PORT and $PORT -> a PORT and $PORT)"
        R"(|$SYSNAME $z3PORT:$VLAN -> olt 007:100|$$PORT -> $7)";
    constexpr std::string_view longestWordFirst =
        R"(|$PORT_REM_ID -> remote|$VLAN_NAME -> internet|$INTF_TYPE -> gem|$PVC_INTF -> 3|$INTF_ -> 0/2/5_)"
        R"(|$PORT5VLAN -> 7100|$PORTxVLAN -> 7xVLAN|$PORTVLANPANEL -> 7100ANEL)";
    // A number carries over to the next macro, without its flag; a parsing error ends the expansion.
    constexpr std::string_view lengthAndPadding =
        R"(|$z5VLAN -> 00100|$s5VLAN ->   100|$2VLAN -> 10|$9VLAN -> 100|$z5BOARD -> 00000|$s2BOARD. ->   .)"
        R"(|$100PORT -> $100PORT|$zPORT -> $zPORT|$z5VLAN$zPORT -> 001007|$z5VLAN$zd-PORT -> 00100$zd-PORT)"
        R"(|$VLAN $zs5PORT $VLAN -> 100 $zs5PORT $VLAN)";
    constexpr std::string_view delimiters =
        R"(|$d-CLNT_MAC -> 11-22-33-44-55-AA|$dCLNT_MAC -> 1122334455AA|$d AGENT_IPV4 -> 10 1 2 3)"
        R"(|$d-AGENT_IPV6 -> 2001-DB8--1F|$dAGENT_IPV6 -> 20010DB800000000000000000000001F)"
        R"(|$d-VLAN -> $d-VLAN|$d-5CLNT_MAC -> 11-22|$8CLNT_MAC -> 11:22:33)";
    constexpr std::string_view fullWidth =
        R"(|$zAGENT_IPV4 -> 010.001.002.003|$zdAGENT_IPV4 -> 010001002003|$z17CLNT_MAC -> $z17CLNT_MAC)"
        R"(|$zAGENT_IPV6 -> 2001:0DB8:0000:0000:0000:0000:0000:001F)"
        R"(|$zd-AGENT_IPV6 -> 2001-0DB8-0000-0000-0000-0000-0000-001F)";
    constexpr std::string_view noValueOrNoRule =
        R"(|[$AGENT_MAC] -> []|$hTCONT-$PORT -> $hTCONT-7|$HEX -> $HEX|$ABG1HEX -> $ABG1HEX)";
    for (const auto table :
         {texts, longestWordFirst, lengthAndPadding, delimiters, fullWidth, noValueOrNoRule})
        expectRows(table);
}

TEST_F(CustomIdTest, ExpandsToBytes)
{
    expectRows("|$hVLAN -> 64 -> 64|$hz3VLAN -> 000064 -> 000064|$h3VLAN -> 64 -> 64|$h1CVID -> 0F -> 0F"
               "|$hz2CVID -> 0FA0 -> 0FA0|a$hVLAN.$hPORTb -> a64.07b -> 61642E0762|$hBOARD -> 00 -> 00"
               "|$hd-CLNT_MAC -> 1122334455AA -> 1122334455AA|$hAGENT_IPV4 -> 0A010203 -> 0A010203"
               "|$h4AGENT_IPV6 -> 20010DB8 -> 20010DB8|$AB12HEX -> AB12 -> AB12|$ab1HEX -> AB10 -> AB10"
               "|$ABHEX$CDHEX -> ABCD -> ABCD|$hAGENT_MACtail -> tail -> 7461696C");
    // An empty part holds its place, so the next one stays text; so does what follows a parsing error.
    expectRows("|$hAGENT_MAC$hVLAN -> 64 -> 3634|$h100PORT$hPORT -> $h100PORT07 -> 2468313030504F525407"
               "|$hPORT $zs5PORT -> 07 $zs5PORT -> 0720247A7335504F5254");
}

TEST_F(CustomIdTest, EmptyAddressesFollowTheirOptions)
{
    source.values[customIdFormat::AGENT_IPV4] = "";
    source.values[customIdFormat::AGENT_IPV6] = "";
    for (const char* format : {"$AGENT_IPV4", "$zAGENT_IPV4", "$hAGENT_IPV4", "$d-AGENT_IPV4", "$AGENT_IPV6",
                               "$zAGENT_IPV6", "$hAGENT_IPV6", "$hd-CPE_MAC"})
        EXPECT_EQ(expand(format), "") << format;
    EXPECT_EQ(expand("$d-AGENT_IPV6"), "$d-AGENT_IPV6");

    source.values[customIdFormat::AGENT_IPV6] = "NOT:AN:ADDRESS";
    sink.text.clear();
    EXPECT_EQ(expand("$zAGENT_IPV6 $hAGENT_IPV6 $AGENT_IPV6"), "$zAGENT_IPV6 $hAGENT_IPV6 NOT:AN:ADDRESS");
    EXPECT_NE(sink.text.find("\t ERROR: ipv6AddrStrToVector failed for: NOT:AN:ADDRESS\n"),
              std::string::npos);
}

TEST_F(CustomIdTest, TextsAndBytesAreCutAt253)
{
    const std::string most(252, 'x');
    EXPECT_EQ(expand(most + "x"), most + "x");
    EXPECT_EQ(expand(most + "$hVLAN"), most + "64");
    EXPECT_EQ(bin.size(), 253U);
    EXPECT_EQ(bin.back(), 0x64);
    EXPECT_EQ(sink.text.find("Cutting"), std::string::npos);
    EXPECT_EQ(expand(most + "$VLAN"), most + "1");
    EXPECT_NE(sink.text.find("\t Cutting CHAR string from 255 to 253 chars \n"), std::string::npos);
    EXPECT_EQ(expand(most + "x$hVLAN"), most + "x64") << "the text of bytes is not cut";
    EXPECT_EQ(bin, Bytes(253, 'x'));
    EXPECT_NE(sink.text.find("\t Cutting BIN string from 254 to 253 bytes \n"), std::string::npos);
}

TEST_F(CustomIdTest, SaysWhyAMacroStaysAsItIs)
{
    const std::string number = "\t Invalid number of characters or unexpected character! \n";
    const std::string padding = "\t Duplicate padding option\n";
    const std::string parsing = "\t ERROR: parseOptChars failed\n";
    const std::string both = "\t ERROR: both macroStringPadZeroes and macroStringPadSpaces set\n";
    const std::string flags = "\t ERROR: invalid flags\n";
    const std::pair<const char*, std::string> cases[] = {
        {"$hhPORT", "\t Duplicate hex option\n" + parsing},
        {"$zs5PORT", padding + parsing},
        {"$z5z5PORT", padding + parsing},
        {"$d-d-PORT", "\t Duplicate delimiter option\n" + parsing},
        {"$xPORT", number + parsing},
        {"$zxPORT", number + parsing},
        {"$5 PORT", number + parsing},
        {"$z5h6PORT", "\t Duplicate num chars option\n" + parsing},
        {"$hsPORT", "\t Unexpected exit! Number of characters should follow. \n" + parsing},
        {"$zPORT", both + flags},
        {"$sd-AGENT_MAC", both + flags},
        {"$0PORT", "\t ERROR: macroStringNumOfChars set, but zero characters\n" + flags},
        {"$z0AGENT_IPV4", "\t ERROR: macroStringNumOfChars set, but zero characters\n" + flags},
        {"$hSHELF", "\t ERROR: macro not supported for HEX format\n" + flags},
        {"$d-VLAN", "\t ERROR: macro not supported for delimiter\n"},
        {"$z17CLNT_MAC", "\t ERROR: MAC/IP is not allowed for padding with specified number of characters\n"},
        {"$TCONT", "\t Error reading macro TCONT. Appending macro string.\n"},
    };
    for (const auto& [format, why] : cases) {
        sink.text.clear();
        EXPECT_EQ(expand(format), format);
        EXPECT_EQ(sink.text, "\t genCustomId\n" + why + "\t Generated custom ID '" + format + "'.\n");
    }
}

TEST_F(CustomIdTest, TraceGoesToStandardOutput)
{
    const auto traced = [&](bool on) {
        DebugChannels::Switch trace{on};
        testing::internal::CaptureStdout();
        std::string id;
        genCustomId(source, {sink, trace}, {}, "$PORT", id, bin);
        return testing::internal::GetCapturedStdout();
    };
    EXPECT_EQ(traced(false), "");
    const std::string lines = traced(true);
    EXPECT_TRUE(lines.starts_with("\tDHCPRA_DEBUG:nextMacro,")) << lines;
    EXPECT_NE(lines.find("\nDHCPRA_DEBUG:genCustomId,"), std::string::npos) << lines;
    EXPECT_TRUE(lines.ends_with(": genId='7' \n")) << lines;
}

} // namespace
