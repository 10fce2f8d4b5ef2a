#include "relay/ids/CustomIds.h"
#include "unit/relay_id/IdBench.h"

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

    FixedValues source;
    TextSink sink{true};
    Bytes bin;
};

TEST_F(CustomIdTest, ExpandsToText)
{
    const std::pair<const char*, const char*> cases[] = {
        // literal text
        {"", ""},
        {"plain", "plain"},
        {"costs 5$", "costs 5$"},
        {"PORT", "PORT"},
        {"a PORT and $PORT", "a PORT and $PORT"},
        // macros between text
        {"$SYSNAME $z3PORT:$VLAN", "olt 007:100"},
        {"<$PORT>", "<7>"},
        {"$$PORT", "$7"},
        {"$x $PORT", "$x 7"},
        // the longest word at the first place
        {"$PORT_REM_ID", "remote"},
        {"$VLAN_NAME", "internet"},
        {"$INTF_TYPE", "gem"},
        {"$PVC_INTF", "3"},
        {"$INTF_", "0/2/5_"},
        // a word right behind a macro
        {"$PORTVLAN", "7100"},
        {"$PORT5VLAN", "7100"},
        {"$PORT$VLAN", "7100"},
        {"$PORTxVLAN", "7xVLAN"},
        {"$PORTVLANPANEL", "7100ANEL"},
        {"$PORTTCONT", "7TTCONT"},
        // length and padding
        {"$z5VLAN", "00100"},
        {"$s5VLAN", "  100"},
        {"$2VLAN", "10"},
        {"$3VLAN", "100"},
        {"$9VLAN", "100"},
        {"$z2VLAN", "10"},
        {"$2SHELF", "sh"},
        {"$5BOARD", ""},
        {"$z5BOARD", "00000"},
        {"$s2BOARD.", "  ."},
        {"$99PORT", "7"},
        {"$100PORT", "$100PORT"},
        {"$z100PORT", "$z100PORT"},
        {"$0PORT", "$0PORT"},
        {"$zPORT", "$zPORT"},
        {"$z5VLAN$zPORT", "001007"}, // the number carries over, without its flag
        {"$9VLAN$zPORT", "1007"},
        {"$z5VLAN$zd-PORT", "00100$zd-PORT"},
        // parsing ends the expansion
        {"$VLAN $zs5PORT $VLAN", "100 $zs5PORT $VLAN"},
        {"$sPORT $VLAN", "$sPORT $VLAN"},
        {"$a PORT", "$a PORT"},
        // delimiters
        {"$d-CLNT_MAC", "11-22-33-44-55-AA"},
        {"$dCLNT_MAC", "1122334455AA"},
        {"$d.AGENT_IPV4", "10.1.2.3"},
        {"$d AGENT_IPV4", "10 1 2 3"},
        {"$dAGENT_IPV4", "10123"},
        {"$d-AGENT_IPV6", "2001-DB8--1F"},
        {"$dAGENT_IPV6", "20010DB800000000000000000000001F"},
        {"$d-VLAN", "$d-VLAN"},
        {"$d-5CLNT_MAC", "11-22"},
        {"$8CLNT_MAC", "11:22:33"},
        // addresses in full width
        {"$zAGENT_IPV4", "010.001.002.003"},
        {"$zd-AGENT_IPV4", "010-001-002-003"},
        {"$zdAGENT_IPV4", "010001002003"},
        {"$zAGENT_IPV6", "2001:0DB8:0000:0000:0000:0000:0000:001F"},
        {"$zd-AGENT_IPV6", "2001-0DB8-0000-0000-0000-0000-0000-001F"},
        {"$z15AGENT_IPV4", "$z15AGENT_IPV4"},
        {"$s15AGENT_IPV6", "$s15AGENT_IPV6"},
        {"$z17CLNT_MAC", "$z17CLNT_MAC"},
        {"$zCLNT_MAC", "$zCLNT_MAC"},
        // macros without a value, and without a rule
        {"[$AGENT_MAC]", "[]"},
        {"$TCONT", "$TCONT"},
        {"$hTCONT-$PORT", "$hTCONT-7"},
        {"$HEX", "$HEX"},
        {"$XYHEX", "$XYHEX"},
        {"$ABG1HEX", "$ABG1HEX"},
        {"$hSHELF", "$hSHELF"},
    };
    for (const auto& [format, id] : cases) {
        EXPECT_EQ(expand(format), id) << format;
        EXPECT_EQ(bin, Bytes{}) << format;
    }
}

TEST_F(CustomIdTest, ExpandsToBytes)
{
    struct Case
    {
        const char* format;
        const char* id;
        Bytes bytes;
    };
    for (const Case& row : std::initializer_list<Case>{
             {"$hVLAN", "64", {0x64}},
             {"$hz3VLAN", "000064", {0, 0, 0x64}},
             {"$hs3VLAN", "000064", {0, 0, 0x64}},
             {"$h3VLAN", "64", {0x64}},
             {"$hCVID", "0FA0", {0x0F, 0xA0}},
             {"$h1CVID", "0F", {0x0F}},
             {"$hz1CVID", "0F", {0x0F}},
             {"$hz2CVID", "0FA0", {0x0F, 0xA0}},
             {"a$hVLAN.$hPORTb", "a64.07b", {'a', 0x64, '.', 0x07, 'b'}},
             {"$hBOARD", "00", {0}},
             {"$hd-CLNT_MAC", "1122334455AA", {0x11, 0x22, 0x33, 0x44, 0x55, 0xAA}},
             {"$h2CLNT_MAC", "1122", {0x11, 0x22}},
             {"$hAGENT_IPV4", "0A010203", {10, 1, 2, 3}},
             {"$hzAGENT_IPV4", "0A010203", {10, 1, 2, 3}},
             {"$h4AGENT_IPV6", "20010DB8", {0x20, 0x01, 0x0D, 0xB8}},
             {"$AB12HEX", "AB12", {0xAB, 0x12}},
             {"$ab1HEX", "AB10", {0xAB, 0x10}},
             {"$ABCHEX", "ABC0", {0xAB, 0xC0}},
             {"$ABHEX$CDHEX", "ABCD", {0xAB, 0xCD}},
             {"$hAGENT_MACtail", "tail", {'t', 'a', 'i', 'l'}},
             // an empty part holds its place, so the next one stays text
             {"$hAGENT_MAC$hVLAN", "64", {'6', '4'}},
             {"$h100PORT$hPORT", "$h100PORT07", {'$', 'h', '1', '0', '0', 'P', 'O', 'R', 'T', 0x07}},
             {"$hPORT $zs5PORT", "07 $zs5PORT", {0x07, ' ', '$', 'z', 's', '5', 'P', 'O', 'R', 'T'}},
         }) {
        EXPECT_EQ(expand(row.format), row.id) << row.format;
        EXPECT_EQ(bin, row.bytes) << row.format;
    }
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
    sink.texts.clear();
    EXPECT_EQ(expand("$zAGENT_IPV6 $hAGENT_IPV6 $AGENT_IPV6"), "$zAGENT_IPV6 $hAGENT_IPV6 NOT:AN:ADDRESS");
    EXPECT_NE(sink.texts.find("\t ERROR: ipv6AddrStrToVector failed for: NOT:AN:ADDRESS\n"),
              std::string::npos);
}

TEST_F(CustomIdTest, TextIsCutAt253Characters)
{
    EXPECT_EQ(expand(std::string(253, 'x')), std::string(253, 'x'));
    EXPECT_EQ(sink.texts.find("Cutting"), std::string::npos);
    EXPECT_EQ(expand(std::string(252, 'x') + "$VLAN"), std::string(252, 'x') + "1");
    EXPECT_NE(sink.texts.find("\t Cutting CHAR string from 255 to 253 chars \n"), std::string::npos);
}

TEST_F(CustomIdTest, BytesAreCutAt253AndTheirTextIsNot)
{
    EXPECT_EQ(expand(std::string(253, 'x') + "$hVLAN"), std::string(253, 'x') + "64");
    EXPECT_EQ(bin, Bytes(253, 'x'));
    EXPECT_NE(sink.texts.find("\t Cutting BIN string from 254 to 253 bytes \n"), std::string::npos);

    EXPECT_EQ(expand(std::string(252, 'x') + "$hVLAN").size(), 254U);
    EXPECT_EQ(bin.size(), 253U);
    EXPECT_EQ(bin.back(), 0x64);
}

TEST_F(CustomIdTest, SaysWhatItDoes)
{
    expand("$hVLAN$TCONT");
    EXPECT_EQ(sink.texts, "\t genCustomId\n"
                          "\t Error reading macro TCONT. Appending macro string.\n"
                          "\t Generated custom ID '64$TCONT'.\n"
                          "\t Generating binary string \n");
    sink.texts.clear();
    expand("$hSHELF");
    EXPECT_EQ(sink.texts, "\t genCustomId\n"
                          "\t ERROR: macro not supported for HEX format\n"
                          "\t ERROR: invalid flags\n"
                          "\t Generated custom ID '$hSHELF'.\n");
    sink.texts.clear();
    expand("$d-VLAN $z17CLNT_MAC");
    EXPECT_EQ(sink.texts, "\t genCustomId\n"
                          "\t ERROR: macro not supported for delimiter\n"
                          "\t ERROR: MAC/IP is not allowed for padding with specified number of characters\n"
                          "\t Generated custom ID '$d-VLAN $z17CLNT_MAC'.\n");
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
