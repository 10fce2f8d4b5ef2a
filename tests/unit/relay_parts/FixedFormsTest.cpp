#include "relay/ids/CircuitIds.h"
#include "relay/ids/InterfaceIds.h"
#include "unit/relay_parts/IdBench.h"

#include <gtest/gtest.h>

namespace {

using dhcpraTypes::idGenType;
using dhcpraTypes::threeStateBool;
using Bytes = std::vector<std::uint8_t>;

class CircuitIdTest : public testing::Test
{
protected:
    std::string circuitId(const char* name, std::uint16_t vid = 100, std::uint16_t cvid = 200)
    {
        return idOf(&CircuitIds::genCircuitIdByInterfaceName, name, vid, cvid);
    }
    std::string remoteId(const char* name, std::uint16_t vid = 100)
    {
        return idOf(&CircuitIds::genRemoteIdByInterfaceName, name, vid, 200);
    }
    std::string idOf(auto generate, const char* name, std::uint16_t vid, std::uint16_t cvid)
    {
        std::string id = "stale";
        bin = {0xEE};
        const CircuitIds ids(bench.context(), {cidFormat, ridFormat, cvlan});
        (ids.*generate)(name, vid, cvid, id, bin, idGenType::liveFrame);
        return id;
    }

    IdBench bench;
    std::string cidFormat;
    std::string ridFormat = "$PORT_REM_ID";
    bool cvlan = false;
    Bytes bin;
};

constexpr auto korvanel = dhcpraInterface::DHCPRA_INTF_CIRMODE_KORVANEL;
constexpr auto standard = dhcpraInterface::DHCPRA_INTF_CIRMODE_STANDARD;
constexpr auto atm = dhcpraInterface::DHCPRA_INTF_CIRMODE_ATM;
constexpr auto custom = dhcpraInterface::DHCPRA_INTF_CIRMODE_CUSTOM;

TEST_F(CircuitIdTest, FixedForms)
{
    using Case = std::tuple<std::uint32_t, const char*, dhcpraInterface::circuitIdMode_t, const char*>;
    for (const auto& [id, name, mode, text] : std::initializer_list<Case>{
             {10, "0/2/5", korvanel, "KORVANEL:sh1 eth 3/0/2/5:100"},
             {10, "0/2/5", standard, "node1 eth 1/3/2/5:100"},
             {10, "0/2/5", atm, ""},
             {10, "0/2/5", dhcpraInterface::circuitIdMode_t{17}, "node1 eth 1/3/2/5:100"},
             {21, "0/4.1", korvanel, "KORVANEL:sh1 eth 3/0/4.1:100"},
             {21, "0/4.1", atm, "KORVANEL:sh1 atm 3/4:8.35"},
             {32, "0/1/7/200", korvanel, "KORVANEL:sh1 eth 3/0/1/7/200:100"},
             {40, "uplink", standard, "node1 eth 1/3/uplink:100"},
             {60, "mng", korvanel, "KORVANEL:sh1 n/a 3/mng:100"},
         }) {
        bench.interface(id).setCircuitIdMode(mode);
        EXPECT_EQ(circuitId(name), text);
        EXPECT_EQ(bin, Bytes{});
    }
}

TEST_F(CircuitIdTest, VlansInFixedForms)
{
    EXPECT_EQ(circuitId("0/2/5", 0), "KORVANEL:sh1 eth 3/0/2/5:0");
    EXPECT_EQ(circuitId("0/2/5", 0xFFFF, 0xFFFF), "KORVANEL:sh1 eth 3/0/2/5:<vid>");
    cvlan = true;
    EXPECT_EQ(circuitId("0/2/5", 4095, 0xFFFF), "KORVANEL:sh1 eth 3/0/2/5:<vid>:<cvid>");
    EXPECT_EQ(circuitId("0/2/5", 100, 4094), "KORVANEL:sh1 eth 3/0/2/5:100:4094");
    bench.interface(10).setCircuitIdMode(standard);
    EXPECT_EQ(circuitId("0/2/5", 100, 4095), "node1 eth 1/3/2/5:100:<cvid>");
}

TEST_F(CircuitIdTest, NodeAndSlotHaveStandIns)
{
    bench.identity.nodeId.clear();
    bench.description.facts.slot.reset();
    bench.resetNode();
    bench.interface(10).setCircuitIdMode(standard);
    EXPECT_EQ(circuitId("0/2/5"), "sh1 eth 1/0/2/5:100");
    EXPECT_NE(bench.sink.text.find("\n\t DHCPRA: Get value for SlotID  FAILED.\n"), std::string::npos);
}

TEST_F(CircuitIdTest, AtmFormOnOtherTypesTakesTheOwnName)
{
    bench.interface(32).setCircuitIdMode(atm);
    const auto withCircuit = [&](std::uint32_t vpi, std::uint32_t vci) {
        bench.interfaces.setCircuitIdModeATMParams(32, 31, vpi, vci);
        return circuitId("0/1/7/200");
    };
    EXPECT_EQ(withCircuit(0, 9), "KORVANEL:sh1 atm 3/1/7/200:0.9");
    EXPECT_EQ(withCircuit(9, 0), "KORVANEL:sh1 atm 3/1/7/200:9.0");
    EXPECT_EQ(withCircuit(0, 0), "");
}

TEST_F(CircuitIdTest, OutputsStayUntouchedWithoutInterfaceOrParent)
{
    EXPECT_EQ(circuitId("0/2"), "stale");
    EXPECT_EQ(bin, Bytes{0xEE});
    EXPECT_EQ(bench.sink.text, "\n\t genCircuitIdByInterfaceName\n\t no interface configuration [0/2].\n");
    bench.sink.text.clear();
    EXPECT_EQ(remoteId("0/2"), "stale");
    EXPECT_EQ(bin, Bytes{0xEE});
    EXPECT_EQ(bench.sink.text, "\t genRemoteIdByInterfaceName: name='0/2', vid=100, cvid=200\n"
                               "\t no interface configuration [0/2].\n");
    bench.interface(21).setCircuitIdMode(atm);
    bench.fail(vnode::Operation::registryRead);
    EXPECT_EQ(circuitId("0/4.1"), "stale");
}

TEST_F(CircuitIdTest, ModeIsDecidedByRecordThenVlanThenInterface)
{
    const std::string vendorText = "KORVANEL:sh1 eth 3/0/2/5:100";
    const std::string standardText = "node1 eth 1/3/2/5:100";
    const auto decides = [&](const std::string& told, const std::string& expected, std::uint16_t vid = 100) {
        bench.sink.text.clear();
        EXPECT_EQ(circuitId("0/2/5", vid), expected);
        EXPECT_EQ(bench.sink.text.find("\n\t genCircuitIdByInterfaceName\n\n\t " + told), 0u)
            << bench.sink.text;
    };
    dhcpraInterface& line = bench.interface(10);
    decides("interface CID mode=0\n\t DHCPRA_INTF_CIRMODE_KORVANEL\n", vendorText);
    line.setCircuitIdMode(custom);
    decides("interface CID mode=3\n\t Custom CID mode for intf: 0/2/5, vid: 100\n"
            "\t No custom CID format configured for intf: 0/2/5, vid: 100. Return empty CID\n",
            "");
    dhcpraVlan& vlan = *bench.vlans.getVlanById(100, true);
    decides("interface CID mode=3\n", "");
    vlan.setCircuitId(threeStateBool::yes);
    decides("VLAN CID mode=0\n", vendorText);
    vlan.setCircuitId(threeStateBool::no);
    decides("VLAN CID mode=1\n\t DHCPRA_INTF_CIRMODE_STANDARD\n", standardText);
    decides("interface CID mode=3\n", "", 101);
    ASSERT_TRUE(line.setCircuitIdFormat(100, "$VLAN"));
    decides("interface-vlan CID mode=-1\n", standardText); // a record without a mode
    ASSERT_TRUE(line.setCircuitIdMode(100, korvanel));
    decides("interface-vlan CID mode=0\n", vendorText);
    ASSERT_TRUE(line.setCircuitIdMode(100, atm));
    decides("interface-vlan CID mode=2\n\t DHCPRA_INTF_CIRMODE_ATM\n", "");
    decides("interface CID mode=3\n", "", 4095);
}

TEST_F(CircuitIdTest, CustomFormatOfTheRecordComesBeforeTheGlobalOne)
{
    cidFormat = "all $hVLAN";
    bench.interface(10).setCircuitIdMode(custom);
    EXPECT_EQ(circuitId("0/2/5"), "all 64");
    EXPECT_EQ(bin, (Bytes{'a', 'l', 'l', ' ', 0x64}));
    EXPECT_EQ(bench.sink.text,
              "\n\t genCircuitIdByInterfaceName\n\n\t interface CID mode=3\n"
              "\t Custom CID mode for intf: 0/2/5, vid: 100\n\t Using global format='all $hVLAN' \n"
              "\t genCustomId\n\t Generated custom ID 'all 64'.\n\t Generating binary string \n"
              "\t Generated custom CID='all 64' \n");
    ASSERT_TRUE(bench.interface(10).setCircuitIdMode(100, custom));
    ASSERT_TRUE(bench.interface(10).setCircuitIdFormat(100, "own $PORT"));
    EXPECT_EQ(circuitId("0/2/5"), "own 5");
    EXPECT_EQ(bin, Bytes{});
    EXPECT_EQ(circuitId("0/2/5", 101), "all 65");
}

TEST_F(CircuitIdTest, RemoteIdIsAlwaysCustom)
{
    ASSERT_TRUE(bench.interface(10).setRemoteID("port5"));
    EXPECT_EQ(remoteId("0/2/5"), "port5");
    ASSERT_TRUE(bench.interface(10).setRemoteIdFormat(100, "$CVID"));
    EXPECT_EQ(remoteId("0/2/5"), "200");
    EXPECT_NE(bench.sink.text.find("\t Using custom format from intf-VLAN='$CVID' \n\t genCustomId\n"
                                   "\t Generated custom ID '200'.\n\t Generated custom RID='200' \n"),
              std::string::npos);
    EXPECT_EQ(remoteId("0/2/5", 101), "port5");
    ridFormat.clear();
    bench.sink.text.clear();
    EXPECT_EQ(remoteId("0/2/5", 101), "");
    EXPECT_EQ(bin, Bytes{});
    EXPECT_NE(bench.sink.text.find(
                  "\t No custom RID format configured for intf: 0/2/5, vid: 101. Return empty RID\n"),
              std::string::npos);
}

class InterfaceIdTest : public testing::Test
{
protected:
    InterfaceIdTest()
    {
        for (auto& [id, interface] : bench.interfaces)
            interface.setInterfaceIDV6(threeStateBool::yes);
        bench.identity.chassisId = 99;
    }

    std::string interfaceId(const char* name, std::uint16_t vid = 100, std::uint16_t cvid = 200)
    {
        std::string id = "stale";
        bin = {0xEE};
        InterfaceIds(bench.context(), {iidFormat, ridFormat, global, cvlan})
            .genInterfaceIdByInterfaceName(name, vid, cvid, id, bin, idGenType::liveFrame);
        return id;
    }

    IdBench bench;
    std::string iidFormat;
    std::string ridFormat = "$PORT_REM_ID";
    bool global = true;
    bool cvlan = false;
    Bytes bin;
};

TEST_F(InterfaceIdTest, WordByType)
{
    EXPECT_EQ(interfaceId("uplink"), "sh1 eth 99/3/uplink:100");
    EXPECT_EQ(interfaceId("lag1"), "sh1 eth 99/3/lag1:100");
    for (const std::string tail : {"4.1", "1", "1/7", "1/7/200"})
        EXPECT_EQ(interfaceId(("0/" + tail).c_str()), "sh1 n/a 99/3/" + tail + ":100");
    EXPECT_EQ(interfaceId("mng"), "sh1 n/a 99/3/mng:100");
    EXPECT_EQ(interfaceId("none"), "stale");
    EXPECT_EQ(bin, Bytes{0xEE});
}

TEST_F(InterfaceIdTest, AnyLevelVetoesTheStandardForm)
{
    const std::string standardText = "sh1 eth 99/3/2/5:100";
    const std::string vendorText = "KORVANEL:sh1 eth 3/0/2/5:100";
    const auto decides = [&](const std::string& told, const std::string& expected, std::uint16_t vid = 100) {
        bench.sink.text.clear();
        EXPECT_EQ(interfaceId("0/2/5", vid), expected);
        EXPECT_EQ(bench.sink.text, told);
    };
    decides("\n\t interface Interface ID mode=0\n", standardText);
    global = false;
    decides("\n\t interface Interface ID mode=0\n", vendorText);
    global = true;
    bench.interface(10).setInterfaceIDV6(threeStateBool::no);
    decides("\n\t interface Interface ID mode=1\n", vendorText);
    dhcpraVlan& vlan = *bench.vlans.getVlanById(100, true);
    vlan.setInterfaceIdV6(threeStateBool::yes);
    decides("\n\t VLAN Interface ID mode=0\n", vendorText);
    bench.interface(10).setInterfaceIDV6(threeStateBool::notSet);
    decides("\n\t VLAN Interface ID mode=0\n", standardText);
    vlan.setInterfaceIdV6(threeStateBool::no);
    decides("\n\t VLAN Interface ID mode=1\n", vendorText);
    decides("", "sh1 eth 99/3/2/5:101", 101);
    decides("", "sh1 eth 99/3/2/5:<vid>", 4095);
}

TEST_F(InterfaceIdTest, CustomerVlanSuffix)
{
    cvlan = true;
    EXPECT_EQ(interfaceId("0/2/5", 100, 200), "sh1 eth 99/3/2/5:100:200");
    EXPECT_EQ(interfaceId("0/2/5", 100, 4095), "sh1 eth 99/3/2/5:100");
    EXPECT_EQ(interfaceId("0/2/5", 4095, 4095), "sh1 eth 99/3/2/5:<vid>:<cvid>");
    EXPECT_EQ(interfaceId("0/2/5", 0xFFFF, 0xFFFF), "sh1 eth 99/3/2/5:<vid>:<cvid>");
    global = false;
    EXPECT_EQ(interfaceId("0/2/5", 100, 4094), "KORVANEL:sh1 eth 3/0/2/5:100:4094");
    EXPECT_EQ(interfaceId("0/2/5", 4095, 4095), "KORVANEL:sh1 eth 3/0/2/5:<vid>");
}

TEST_F(InterfaceIdTest, CustomModeOfARecord)
{
    dhcpraInterface& line = bench.interface(10);
    ASSERT_TRUE(line.setInterfaceIdModeV6(100, dhcpraInterface::DHCPRA_INTF_IIDMODE_CUSTOM));
    EXPECT_EQ(interfaceId("0/2/5"), "");
    EXPECT_EQ(bin, Bytes{});
    EXPECT_EQ(bench.sink.text, "\n\t interface-vlan Interface ID mode=2\n"
                               "\t Custom Interface ID mode for intf: 0/2/5, vid: 100\n"
                               "\t No custom Interface ID format configured for intf: 0/2/5, vid: 100. "
                               "Return empty Interface ID\n");
    iidFormat = "$PORT";
    EXPECT_EQ(interfaceId("0/2/5"), "5");
    ASSERT_TRUE(line.setInterfaceIdFormatV6(100, "$AB12HEX"));
    EXPECT_EQ(interfaceId("0/2/5"), "AB12");
    EXPECT_EQ(bin, (Bytes{0xAB, 0x12}));
    ASSERT_TRUE(line.setInterfaceIdModeV6(100, dhcpraInterface::DHCPRA_INTF_IIDMODE_NONE));
    EXPECT_EQ(interfaceId("0/2/5"), "sh1 eth 99/3/2/5:100");
}

TEST_F(InterfaceIdTest, RemoteIdUsesTheRecordsFormatThenTheGlobalOne)
{
    const auto remoteId = [&](std::uint16_t vid) {
        std::string id = "stale";
        InterfaceIds(bench.context(), {iidFormat, ridFormat})
            .genRemoteIdByInterfaceName("0/2/5", vid, 200, id, bin, idGenType::liveFrame);
        return id;
    };
    ASSERT_TRUE(bench.interface(10).setRemoteIdValV6("value"));
    ASSERT_TRUE(bench.interface(10).setRemoteIdFormatV6(100, "six $VLAN"));
    ASSERT_TRUE(bench.interface(10).setRemoteIdFormat(101, "four"));
    EXPECT_EQ(remoteId(100), "six 100");
    EXPECT_EQ(remoteId(101), "value");
}

} // namespace
