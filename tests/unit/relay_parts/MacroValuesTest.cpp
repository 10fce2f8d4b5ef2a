#include "relay/ids/MacroValues.h"
#include "unit/relay_parts/IdBench.h"

#include <initializer_list>

#include <gtest/gtest.h>

namespace {

using dhcpraTypes::customIdFormat;
using dhcpraTypes::idGenType;
using enum dhcpraTypes::customIdFormat;

class MacroValuesTest : public testing::Test
{
protected:
    std::string read(customIdFormat macro, std::uint32_t intfId, const IdFamily& family = idFamilyV4)
    {
        std::string value = "stale";
        bench.sink.text.clear();
        EXPECT_TRUE(MacroValues(bench.context(), family)
                        .getMacroStringValue(macro, {intfId, vid, cvid, type}, value));
        return value;
    }

    std::string whyEmpty(customIdFormat macro, std::uint32_t intfId)
    {
        EXPECT_EQ(read(macro, intfId), "");
        return bench.sink.text;
    }

    IdBench bench;
    std::uint16_t vid = 100;
    std::uint16_t cvid = 200;
    idGenType type = idGenType::liveFrame;
};

TEST_F(MacroValuesTest, ReadsTheNodeAndItsRegistry)
{
    const auto readAll = [this](std::uint32_t intfId, std::initializer_list<customIdFormat> macros) {
        std::string values;
        for (const auto macro : macros)
            values += read(macro, intfId) + '|';
        return values;
    };
    EXPECT_EQ(readAll(10, {SHELF, CHASSIS, PANEL, AGENT_BOARD, PORT, INTF_DSCR, VLAN, VLAN_NAME, CVID,
                           SYSNAME, LOCATION, CONTACT}),
              "sh1|1|0|3|5|about 10|100|internet|200|olt|cellar|desk|");
    EXPECT_EQ(readAll(10, {AGENT_MAC, AGENT_IPV4, AGENT_IPV6}), "02:00:5E:AB:CD:EF|10.1.2.3|2001:DB8::1F|");
    EXPECT_EQ(readAll(20, {PANEL}), "1|");
    EXPECT_EQ(readAll(21, {PANEL, INTF, PVC_INTF, VPI, VCI}), "0|0/4.1|3|8|35|"); // panel 10
    EXPECT_EQ(readAll(31, {ONU}), "7|");
    // Description and equipment are those of the ONU.
    const std::uint8_t mac[] = {0xA0, 0xB1, 0xC2, 0xD3, 0xE4, 0xF5};
    bench.interface(31).setCpeSerialNumber("SN1");
    bench.interface(31).setCpeMac(mac);
    bench.interface(32).setCpeSerialNumber("not this one");
    EXPECT_EQ(readAll(32, {ONU, VGEM, INTF_DSCR, CPE_SERIAL, CPE_MAC}),
              "7|200|about 31|SN1|A0:B1:C2:D3:E4:F5|");
    EXPECT_EQ(bench.sink.text, "");
}

TEST_F(MacroValuesTest, NamesInterfaceTypes)
{
    const std::pair<std::uint32_t, const char*> words[] = {{10, "dsl"}, {21, "atm"}, {30, "olt"},
                                                           {31, "onu"}, {32, "gem"}, {40, "eth"},
                                                           {60, "mng"}, {70, "lag"}};
    for (const auto& [id, word] : words)
        EXPECT_EQ(read(INTF_TYPE, id), word);
    for (const int board : {0, 1, 2, 4, 6, 7, 8}) {
        bench.description.facts.boardType = board;
        bench.resetNode();
        EXPECT_EQ(read(INTF_TYPE, 10), board == 1 || board == 7 ? "dsl" : "eth") << board;
    }
}

TEST_F(MacroValuesTest, ValueThatCannotBeReadIsEmptyAndSaysWhy)
{
    using Read = std::pair<customIdFormat, std::uint32_t>;
    const auto allEmpty = [this](const char* why, std::initializer_list<Read> reads) {
        for (const auto& [macro, intfId] : reads)
            EXPECT_EQ(whyEmpty(macro, intfId), why) << static_cast<int>(macro);
    };
    allEmpty("\t Cannot read valid board type\n", {{BOARD, 10}});
    allEmpty("\t Cannot read valid panel\n", {{PANEL, 30}});
    allEmpty("\t Cannot read interfaceGetNameById\n", {{INTF, 99}});
    allEmpty("\t Cannot read interfaceSlotPortIntfGet\n", {{PANEL, 99}, {PORT, 99}});
    allEmpty("\t Cannot read interfaceGetTypeById\n",
             {{INTF_TYPE, 99}, {INTF_DSCR, 99}, {PVC_INTF, 99}, {VCI, 99}, {CPE_SERIAL, 99}});
    allEmpty("\t Cannot read interfaceSlotPortIntfGet or interfaceGetTypeById\n", {{ONU, 99}, {VGEM, 99}});
    allEmpty("\t Not pon_gem or pon_onu interface\n", {{ONU, 30}});
    allEmpty("\t Not pon_gem interface\n", {{VGEM, 31}});
    allEmpty("\t Non-PVC interface\n", {{PVC_INTF, 20}, {VPI, 20}});
    allEmpty("\t Invalid intf type\n", {{CPE_SERIAL, 31}, {CPE_MAC, 31}});
    allEmpty("\t MAC is NULL\n", {{CPE_MAC, 32}});
    allEmpty("\t Cannot read getInterfaceById\n", {{PORT_REM_ID, 99}});
    allEmpty("\t Cannot read msg.isValid()\n", {{CLNT_MAC, 10}});

    bench.interfaces.clear();
    EXPECT_EQ(whyEmpty(VPI, 21), "\t Cannot read getInterfaceById\n");
    EXPECT_EQ(whyEmpty(CPE_SERIAL, 32), "\t Cannot read getInterfaceById\n");

    bench.identity.localIp = 0;
    bench.identity.localMac = {};
    EXPECT_EQ(whyEmpty(AGENT_IPV4, 10), "\t localIpAddress is NULL\n");
    EXPECT_EQ(whyEmpty(AGENT_MAC, 10), "\t MAC is NULL\n");

    vid = 0xFFFF;
    cvid = 0x0FFF;
    EXPECT_EQ(whyEmpty(VLAN, 10), "\t Invalid VLAN\n");
    EXPECT_EQ(whyEmpty(VLAN_NAME, 10), "\t Invalid VLAN\n");
    EXPECT_EQ(whyEmpty(CVID, 10), "\t Invalid CVID \n");
    vid = 101;
    EXPECT_EQ(whyEmpty(VLAN_NAME, 10), "\t annot read VLAN name\n");

    bench.description.facts.slot.reset();
    bench.description.facts.ipv6 = "";
    bench.description.interfaces[5].parentId = 0; // the GEM port has lost its ONU
    bench.resetNode();
    EXPECT_EQ(whyEmpty(AGENT_BOARD, 10), "\t Cannot read ncfmGetMyBoardPos\n");
    EXPECT_EQ(whyEmpty(AGENT_IPV6, 10), "\t ipv6_addr is NULL\n");
    EXPECT_EQ(whyEmpty(CPE_SERIAL, 32), "\t Cannot read parent interface\n");
    EXPECT_EQ(whyEmpty(INTF_DSCR, 32), "\t Cannot read parent interface\n");
    EXPECT_EQ(whyEmpty(PORT_REM_ID, 32), "\t Cannot read parent interface\n");
    bench.fail(vnode::Operation::ipv6Info);
    EXPECT_EQ(whyEmpty(AGENT_IPV6, 10), "\t getIpv6Addr: ncfmGetIpv6 has failed\n");
}

TEST_F(MacroValuesTest, DescriptionOfTheOnuAndTheTypeMayBeMissing)
{
    // The GEM port's type and its ONU can still be read.
    vnode::Fault fault;
    fault.operation = vnode::Operation::registryRead;
    fault.error = EIO;
    fault.skip = 2;
    bench.node->failing(fault);
    EXPECT_EQ(whyEmpty(INTF_DSCR, 32), "\t Cannot read interfaceGetTypeById from parent\n");

    bench.description.interfaces[0].type = static_cast<Interfaces::interfaceType>(8);
    bench.resetNode();
    EXPECT_EQ(whyEmpty(INTF_TYPE, 10), "\t Cannot read valid intf type\n");
}

TEST_F(MacroValuesTest, MacrosWithoutARuleAreRefused)
{
    for (const customIdFormat macro : {TCONT, HEX, static_cast<customIdFormat>(29)}) {
        std::string value = "stale";
        bench.sink.text.clear();
        EXPECT_FALSE(
            MacroValues(bench.context(), idFamilyV4).getMacroStringValue(macro, {10, 1, 1, type}, value));
        EXPECT_EQ(value, "");
        EXPECT_EQ(bench.sink.text, "\t Unknown macro: " + std::to_string(static_cast<int>(macro)) + ".\n");
    }
}

TEST_F(MacroValuesTest, ClientMacComesFromTheFrameOrTheTestRecord)
{
    const std::uint8_t mac[] = {0x02, 0x11, 0x22, 0x33, 0x44, 0xFE};
    const std::uint8_t zero[6] = {};
    bench.frame = {true, nullptr};
    EXPECT_EQ(whyEmpty(CLNT_MAC, 10), "\t Cannot read msg.getEthHeader()\n");
    bench.frame = {true, zero};
    EXPECT_EQ(whyEmpty(CLNT_MAC, 10), "\t MAC is NULL\n");
    bench.frame = {true, mac};
    EXPECT_EQ(read(CLNT_MAC, 10), "02:11:22:33:44:FE");
    for (const idGenType other : {idGenType::managementQuery, idGenType::testData}) {
        type = other;
        EXPECT_EQ(read(CLNT_MAC, 10), "11:22:33:44:55:66");
    }
}

TEST_F(MacroValuesTest, TestRecordStandsInForInterfaceAndVlans)
{
    bench.testData.intfId = 20;
    bench.testData.vlan = 77;
    bench.testData.cvid = 88;
    const auto portAndVlans = [this] { return read(PORT, 10) + "|" + read(VLAN, 10) + "|" + read(CVID, 10); };
    type = idGenType::managementQuery;
    EXPECT_EQ(portAndVlans(), "5|100|88");
    type = idGenType::testData;
    EXPECT_EQ(portAndVlans(), "4|77|88");
    EXPECT_EQ(whyEmpty(VLAN_NAME, 10), "\t annot read VLAN name\n");
    ASSERT_TRUE(bench.interface(20).setRemoteID("of 77", 77));
    EXPECT_EQ(read(PORT_REM_ID, 10), "of 77");
}

TEST_F(MacroValuesTest, RemoteIdComesFromTheParentWhenTheClientSideHasNone)
{
    ASSERT_TRUE(bench.interface(31).setRemoteID("onu"));
    ASSERT_TRUE(bench.interface(31).setRemoteID("onu in 100", 100));
    EXPECT_EQ(read(PORT_REM_ID, 32), "onu in 100");
    EXPECT_EQ(bench.sink.text, "\t Adding PORT_REM_ID from parent id: 31.\n");
    ASSERT_TRUE(bench.interface(32).setRemoteID("gem"));
    EXPECT_EQ(read(PORT_REM_ID, 32), "gem");

    ASSERT_TRUE(bench.interface(20).setRemoteID("line"));
    EXPECT_EQ(read(PORT_REM_ID, 21), "line");
    ASSERT_TRUE(bench.interface(30).setRemoteID("pon"));
    EXPECT_EQ(read(PORT_REM_ID, 10), ""); // a line has no parent to ask
    EXPECT_EQ(bench.sink.text, "");
}

TEST_F(MacroValuesTest, FamiliesDifferInTheRemoteIdOnly)
{
    ASSERT_TRUE(bench.interface(10).setRemoteID("four") && bench.interface(10).setRemoteIdValV6("six"));
    ASSERT_TRUE(bench.interface(10).setRemoteIdValPerVlanV6("never in frames", 100));
    ASSERT_TRUE(bench.interface(31).setRemoteIdValV6("onu six"));
    EXPECT_EQ(read(PORT_REM_ID, 10, idFamilyV4), "four");
    EXPECT_EQ(read(PORT_REM_ID, 10, idFamilyV6), "six");
    EXPECT_EQ(read(PORT_REM_ID, 32, idFamilyV6), "onu six");

    bench.interfaces.clear();
    bench.interfaces.add(dhcpraInterface(32, "0/1/7/200", "dev32", Interfaces::interfaceType::gem));
    EXPECT_EQ(whyEmpty(PORT_REM_ID, 32),
              "\t Adding PORT_REM_ID from parent id: 31.\n\t No parent interface configuration\n");
}

} // namespace
