#include "vnode/model/NodeFile.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string_view>
#include <utility>

namespace vnode {
namespace {

using enum Interfaces::interfaceType;

TEST(NodeFile, ReadsEverythingItDescribes)
{
    const NodeDescription node = parseNode(R"(<?xml version="1.0"?>
<node mac="02:00:00:00:00:0A" ipv4="10.1.2.3" ipv6="2001:DB8::1" ipv6Gateway="2001:db8::ff" boardType="5"
      boardName="QXB4" slot="3" options="5, 12" macAging="60" macLimit="1000">
    <!-- comments are welcome -->
    <vlan id="10" name="management"/>
    <vlan id="100-102"/>
    <port device="up0" interface="1" tagged="100 101-102" untagged="10"/>
    <port device="pon0" tpid="0x88A8">
        <carries interface="21" tagged="100"/>
        <carries interface="22" tagged="101"/>
    </port>
    <port device="stack" interface="9" untagged="10" internal="yes"/>
    <interface id="1" name="0/1" linux="eth0" type="eth" description="uplink" panel="1" port="4"/>
    <interface id="3" name="0/2" type="pon" panel="10" port="2" slotText="front">
        <interface id="20" name="0/2/7" type="onu" onu="7">
            <interface id="21" name="0/2/7/1" type="gem" gem="1"/>
        </interface>
    </interface>
    <interface id="22" name="0/2/7/2" type="gem" parent="20"/>
    <interface id="9" name="mng" type="management"/>
</node>)",
                                           "good.xml");
    const NodeFacts facts{.mac = MacAddress{2, 0, 0, 0, 0, 10},
                          .ipv4 = 0x0A010203U,
                          .ipv6 = "2001:DB8::1", // as the operator wrote it
                          .ipv6Gateway = "2001:db8::ff",
                          .boardType = 5,
                          .boardName = "QXB4",
                          .slot = 3,
                          .options = {5, 12}};
    EXPECT_EQ(node.facts, facts);
    EXPECT_EQ(node.macAging, std::chrono::seconds(60));
    EXPECT_EQ(node.macLimit, 1000U);

    ASSERT_EQ(node.vlans.size(), 4U);
    EXPECT_EQ(node.vlans[0].name, "management");
    EXPECT_EQ(node.vlans[3].id, 102);

    ASSERT_EQ(node.interfaces.size(), 6U);
    EXPECT_EQ(node.interfaces[0].linuxName, "eth0");
    EXPECT_EQ(node.interfaces[0].description, "uplink");
    EXPECT_EQ(node.interfaces[0].position.slot.number, 1U);
    EXPECT_EQ(node.interfaces[1].linuxName, "0/2") << "the name, where the file gives no other";
    const Interfaces::Interface& gemPort = node.interfaces[3];
    EXPECT_EQ(gemPort.id, 21U);
    EXPECT_EQ(gemPort.type, gem);
    EXPECT_EQ(gemPort.parentId, 20U);
    EXPECT_EQ(gemPort.position, (Interfaces::slot_port_s{{"front", 10}, 2, 7, 1}))
        << "also from those around it";
    EXPECT_EQ(node.interfaces[4].parentId, 20U);

    ASSERT_EQ(node.ports.size(), 3U);
    EXPECT_EQ(node.ports[0].attachments[0].untagged, 10);
    EXPECT_EQ(node.ports[0].attachments[0].tagged.count(), 3U);
    EXPECT_EQ(node.ports[1].tpid, 0x88A8);
    EXPECT_EQ(node.ports[1].attachments[1].interfaceId, 22U);
    EXPECT_TRUE(node.ports[2].internal);
}

#define ONE_INTERFACE "<vlan id='5-6'/><interface id='1' name='a' type='eth'/>\n"
#define TWO_INTERFACES ONE_INTERFACE "<interface id='2' name='b' type='eth'/>\n"
#define VLAN_RULE ", but needs a VLAN id from 1 to 4094, or a range such as 20-29"
#define ID_RULE ", but needs a number from 1 to 4294967295"

std::string complaintOf(const std::string& text)
{
    try {
        static_cast<void>(parseNode(text, "bad.xml"));
    } catch (const NodeFileError& error) {
        EXPECT_TRUE(std::string_view(error.what()).starts_with("bad.xml:" + std::to_string(error.line)))
            << error.what();
        return error.what();
    }
    return "was taken";
}

TEST(NodeFile, RefusesWhatIsWrongInsideWithLineAndReason)
{
    const std::pair<const char*, const char*> rows[] = {
        {"<bridge/>", "2: <node> holds <vlan>, <interface> and <port>, no <bridge>"},
        {"stray words", "1: <node> holds text or the like, only elements belong there"},
        {"<vlan id='5' nmae='x'/>", "2: <vlan> knows no \"nmae\""},
        {"<vlan name='x'/>", "2: <vlan> lacks \"id\""},
        {"<vlan id='5'/>\n<vlan id='4-6'/>", "3: VLAN 5 is there twice"},
        {"<vlan id='4095'/>", "2: \"id\" is \"4095\"" VLAN_RULE},
        {"<vlan id='9-5'/>", "2: \"id\" is \"9-5\"" VLAN_RULE},
        {"<vlan id=''/>", "2: \"id\" is \"\", but needs at least one VLAN id"},
        {"<vlan id='1-2' name='x'/>", "2: a name belongs to a single VLAN"},
        {"<vlan id='1'><vlan id='2'/></vlan>", "2: <vlan> holds no elements"},
        {"<interface id='0' name='a' type='eth'/>", "2: \"id\" is \"0\"" ID_RULE},
        {"<interface id='1x' name='a' type='eth'/>", "2: \"id\" is \"1x\"" ID_RULE},
        {"<interface id='1' name='a' type='dsl'/>",
         "2: \"dsl\" is no interface type (eth, subscriber, pvc, pon, onu, gem, management, lag)"},
        {"<interface id='1' name='a' type='gem' onu='1' pvc='2'/>",
         "2: \"onu\" and \"pvc\" are one number, so only one of them can be given"},
        {ONE_INTERFACE "<interface id='1' name='b' type='eth'/>", "3: interface 1 is there twice"},
        {ONE_INTERFACE "<interface id='2' name='a' type='eth'/>", "3: two interfaces have the name \"a\""},
        {ONE_INTERFACE "<interface id='2' name='x' linux='a' type='eth'/>",
         "3: two interfaces have the Linux name \"a\""},
        {"<interface id='1' name='a/very/long/name' type='eth'/>",
         "2: the Linux name \"a/very/long/name\" needs 1 to 15 characters"},
        {"<interface id='1' name='a' type='gem' parent='7'/>", "2: parent 7 is no interface"},
        {"<interface id='1' name='a' type='gem' parent='2'/>\n<interface id='2' name='b' type='gem' "
         "parent='1'/>",
         "2: interface 1 has too many ancestors, or is its own"},
        {"<interface id='1' name='a' type='pon'>\n<interface id='2' name='b' type='onu' "
         "parent='3'/></interface>",
         "3: \"parent\" is not the interface around this one"},
        {ONE_INTERFACE "<port device='p' interface='3' tagged='5'/>",
         "3: port \"p\" is for interface 3, which is not there"},
        {ONE_INTERFACE "<port device='p' interface='1'/>", "3: interface 1 has no VLAN on \"p\""},
        {ONE_INTERFACE "<port device='p' interface='1' tagged='5-7'/>", "3: VLAN 7 is not declared"},
        {ONE_INTERFACE "<port device='p' interface='1' untagged='7'/>", "3: VLAN 7 is not declared"},
        {ONE_INTERFACE "<port device='p' interface='1' tagged='5' untagged='5'/>",
         "3: VLAN 5 is both tagged and untagged"},
        {ONE_INTERFACE "<port device='p' interface='1' tagged='5' tpid='0x9100'/>",
         "3: \"tpid\" is \"0x9100\", but needs 0x8100 or 0x88A8"},
        {ONE_INTERFACE "<port device='p' interface='1' tagged='5' internal='1'/>",
         "3: \"internal\" is \"1\", but needs \"yes\" or \"no\""},
        {ONE_INTERFACE "<port device='a b' interface='1' tagged='5'/>",
         "3: \"a b\" is no name for a Linux device"},
        {ONE_INTERFACE "<port device='p' interface='1' tagged='5'><carries interface='1' tagged='6'/></port>",
         "3: <port> knows no \"interface\""},
        {TWO_INTERFACES
         "<port device='p' interface='1' tagged='5'/>\n<port device='p' interface='2' tagged='5'/>",
         "5: device \"p\" has two ports"},
        {TWO_INTERFACES
         "<port device='p' interface='1' tagged='5'/>\n<port device='q' interface='1' tagged='5'/>",
         "5: interface 1 is on two ports"},
        {TWO_INTERFACES "<port device='p' interface='1' untagged='5' internal='yes'/>\n"
                        "<port device='q' interface='2' untagged='5' internal='yes'/>",
         "5: a second internal port"},
        {TWO_INTERFACES "<port device='p'>\n<carries interface='1' tagged='5-6'/><carries interface='2' "
                        "untagged='6'/></port>",
         "4: VLAN 6 belongs to two interfaces of \"p\""},
        {TWO_INTERFACES
         "<port device='p'><carries interface='1' untagged='5'/><carries interface='2' untagged='6'/></port>",
         "4: two interfaces of \"p\" take untagged frames"},
    };
    for (const auto& [inside, complaint] : rows)
        EXPECT_EQ(complaintOf("<node mac=\"02:00:00:00:00:01\">\n" + std::string(inside) + "\n</node>"),
                  std::string("bad.xml:") + complaint);
}
#undef ONE_INTERFACE
#undef TWO_INTERFACES
#undef VLAN_RULE
#undef ID_RULE

TEST(NodeFile, RefusesWhatIsNoNodeAndNeverExpandsEntitiesOrFetchesAnything)
{
    const TemporaryFolder folder;
    const std::string external =
        "<!DOCTYPE node [<!ENTITY e SYSTEM \"file://" + folder.file("secret", "secret") + "\">]>";
    constexpr const char* typeRefused = "1: a document type declaration has no place in a node file";
    const std::pair<std::string, const char*> rows[] = {
        {"<olt/>", "1: the root element is <olt>, not <node>"},
        {"<node mac='02:00:00:00:00'/>",
         "1: \"02:00:00:00:00\" is no MAC, which looks like 02:00:00:00:00:01"},
        {"<node mac='01:00:00:00:00:00'/>", "1: the node's MAC is a group address"},
        {"<node ipv4='10.0.0'/>", "1: \"10.0.0\" is no IPv4 address"},
        {"<node ipv6='10.0.0.1'/>", "1: \"10.0.0.1\" is no IPv6 address"},
        {"<node options='5 x'/>", "1: \"x\" is no number of a deployment option"},
        // The first of the parser's complaints; later ones name the end of the file.
        {"<node>\n<vlan id='1'>\n</node>\n", "3: Opening and ending tag mismatch: vlan line 2 and node"},
        {"", "1: Document is empty"},
        {external + "\n<node>&e;</node>", typeRefused},
        {"<!DOCTYPE node [<!ENTITY e \"x\">]>\n<node boardName='&e;'/>", typeRefused},
    };
    for (const auto& [text, complaint] : rows)
        EXPECT_EQ(complaintOf(text), std::string("bad.xml:") + complaint);
}

TEST(NodeFile, IsAnExistingFile)
{
    for (const char* path : {"absent.xml", ""})
        try {
            static_cast<void>(readNodeFile(path));
            FAIL() << "was taken: " << path;
        } catch (const NodeFileError& error) {
            EXPECT_EQ(error.what(), std::string(path) + ": is not there, or is no file");
        }
}

} // namespace
} // namespace vnode
