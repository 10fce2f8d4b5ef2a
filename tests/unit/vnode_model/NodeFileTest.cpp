#include "vnode/model/NodeFile.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

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
    EXPECT_EQ(node.facts.mac, (MacAddress{2, 0, 0, 0, 0, 10}));
    EXPECT_EQ(node.facts.ipv4, 0x0A010203U);
    EXPECT_EQ(node.facts.ipv6, "2001:DB8::1") << "as the operator wrote it";
    EXPECT_EQ(node.facts.ipv6Gateway, "2001:db8::ff");
    EXPECT_EQ(node.facts.boardType, 5);
    EXPECT_EQ(node.facts.boardName, "QXB4");
    EXPECT_EQ(node.facts.slot, 3);
    EXPECT_EQ(node.facts.options, (std::set<int>{5, 12}));
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
    EXPECT_EQ(gemPort.position.slot.number, 10U) << "from the interface around it";
    EXPECT_STREQ(gemPort.position.slot.text, "front");
    EXPECT_EQ(gemPort.position.port, 2U);
    EXPECT_EQ(gemPort.position.intf, 7U);
    EXPECT_EQ(gemPort.position.gem, 1U);
    EXPECT_EQ(node.interfaces[4].parentId, 20U);

    ASSERT_EQ(node.ports.size(), 3U);
    EXPECT_EQ(node.ports[0].attachments[0].untagged, 10);
    EXPECT_EQ(node.ports[0].attachments[0].tagged.count(), 3U);
    EXPECT_EQ(node.ports[1].tpid, 0x88A8);
    EXPECT_EQ(node.ports[1].attachments[1].interfaceId, 22U);
    EXPECT_TRUE(node.ports[2].internal);
}

TEST(NodeFile, LetsFactsBeAbsent)
{
    const NodeDescription node = parseNode("<node/>", "empty.xml");
    EXPECT_FALSE(node.facts.mac || node.facts.ipv4 || node.facts.ipv6 || node.facts.slot);
    EXPECT_EQ(node.macAging, std::chrono::seconds(300));
}

struct BadFile
{
    const char* inside; ///< from line 2 on, inside <node mac=...>
    long line;
    const char* reason;
};

class BadNodeFile : public testing::TestWithParam<BadFile>
{};

TEST_P(BadNodeFile, IsRefusedWithLineAndReason)
{
    const BadFile& row = GetParam();
    const std::string text = "<node mac=\"02:00:00:00:00:01\">\n" + std::string(row.inside) + "\n</node>";
    try {
        static_cast<void>(parseNode(text, "bad.xml"));
        FAIL() << "was taken: " << row.inside;
    } catch (const NodeFileError& error) {
        EXPECT_EQ(error.line, row.line);
        EXPECT_EQ(error.what(), "bad.xml:" + std::to_string(row.line) + ": " + row.reason);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Elements, BadNodeFile,
    testing::Values(
        BadFile{"<bridge/>", 2, "<node> holds <vlan>, <interface> and <port>, no <bridge>"},
        BadFile{"stray words", 1, "<node> holds text or the like, only elements belong there"},
        BadFile{"<vlan id='5' nmae='x'/>", 2, "<vlan> knows no \"nmae\""}, //
        BadFile{"<vlan name='x'/>", 2, "<vlan> lacks \"id\""},
        BadFile{"<vlan id='5'/>\n<vlan id='4-6'/>", 3, "VLAN 5 is there twice"},
        BadFile{"<vlan id='4095'/>", 2,
                "\"id\" is \"4095\", but needs a VLAN id from 1 to 4094, or a range such as 20-29"},
        BadFile{"<vlan id='9-5'/>", 2,
                "\"id\" is \"9-5\", but needs a VLAN id from 1 to 4094, or a range such as 20-29"},
        BadFile{"<vlan id=''/>", 2, "\"id\" is \"\", but needs at least one VLAN id"},
        BadFile{"<vlan id='1-2' name='x'/>", 2, "a name belongs to a single VLAN"},
        BadFile{"<vlan id='1'><vlan id='2'/></vlan>", 2, "<vlan> holds no elements"},
        BadFile{"<interface id='0' name='a' type='eth'/>", 2,
                "\"id\" is \"0\", but needs a number from 1 to 4294967295"},
        BadFile{"<interface id='1x' name='a' type='eth'/>", 2,
                "\"id\" is \"1x\", but needs a number from 1 to 4294967295"},
        BadFile{"<interface id='1' name='a' type='dsl'/>", 2,
                "\"dsl\" is no interface type (eth, subscriber, pvc, pon, onu, gem, management, lag)"},
        BadFile{"<interface id='1' name='a' type='gem' onu='1' pvc='2'/>", 2,
                "\"onu\" and \"pvc\" are one number, so only one of them can be given"}));

INSTANTIATE_TEST_SUITE_P(
    Interfaces, BadNodeFile,
    testing::Values(
        BadFile{"<interface id='1' name='a' type='eth'/>\n<interface id='1' name='b' type='eth'/>", 3,
                "interface 1 is there twice"},
        BadFile{"<interface id='1' name='a' type='eth'/>\n<interface id='2' name='a' type='eth'/>", 3,
                "two interfaces have the name \"a\""},
        BadFile{"<interface id='1' name='a' type='eth' linux='x'/>\n<interface id='2' name='x' type='eth'/>",
                3, "two interfaces have the Linux name \"x\""},
        BadFile{"<interface id='1' name='a/very/long/name' type='eth'/>", 2,
                "the Linux name \"a/very/long/name\" needs 1 to 15 characters"},
        BadFile{"<interface id='1' name='a' type='gem' parent='7'/>", 2, "parent 7 is no interface"},
        BadFile{"<interface id='1' name='a' type='gem' parent='2'/>\n<interface id='2' name='b' type='gem' "
                "parent='1'/>",
                2, "interface 1 has too many ancestors, or is its own"}));

#define ONE_INTERFACE "<vlan id='5-6'/><interface id='1' name='a' type='eth'/>\n"
#define TWO_INTERFACES ONE_INTERFACE "<interface id='2' name='b' type='eth'/>\n"
INSTANTIATE_TEST_SUITE_P(
    Ports, BadNodeFile,
    testing::Values(
        BadFile{ONE_INTERFACE "<port device='p' interface='3' tagged='5'/>", 3,
                "port \"p\" is for interface 3, which is not there"},
        BadFile{ONE_INTERFACE "<port device='p' interface='1'/>", 3, "interface 1 has no VLAN on \"p\""},
        BadFile{ONE_INTERFACE "<port device='p' interface='1' tagged='5-7'/>", 3, "VLAN 7 is not declared"},
        BadFile{ONE_INTERFACE "<port device='p' interface='1' untagged='7'/>", 3, "VLAN 7 is not declared"},
        BadFile{ONE_INTERFACE "<port device='p' interface='1' tagged='5' untagged='5'/>", 3,
                "VLAN 5 is both tagged and untagged"},
        BadFile{ONE_INTERFACE "<port device='p' interface='1' tagged='5' tpid='0x9100'/>", 3,
                "\"tpid\" is \"0x9100\", but needs 0x8100 or 0x88A8"},
        BadFile{ONE_INTERFACE "<port device='p' interface='1' tagged='5' internal='1'/>", 3,
                "\"internal\" is \"1\", but needs \"yes\" or \"no\""},
        BadFile{ONE_INTERFACE "<port device='a b' interface='1' tagged='5'/>", 3,
                "\"a b\" is no name for a Linux device"},
        BadFile{ONE_INTERFACE
                "<port device='p' interface='1' tagged='5'><carries interface='1' tagged='6'/></port>",
                3, "<port> knows no \"interface\""},
        BadFile{TWO_INTERFACES "<port device='p' interface='1' tagged='5'/>\n<port device='p' interface='2' "
                               "tagged='5'/>",
                5, "device \"p\" has two ports"},
        BadFile{TWO_INTERFACES "<port device='p' interface='1' tagged='5'/>\n<port device='q' interface='1' "
                               "tagged='5'/>",
                5, "interface 1 is on two ports"},
        BadFile{TWO_INTERFACES
                "<port device='p' interface='1' untagged='5' internal='yes'/>\n<port device='q' "
                "interface='2' untagged='5' internal='yes'/>",
                5, "a second internal port"},
        BadFile{TWO_INTERFACES
                "<port device='p'>\n<carries interface='1' tagged='5-6'/>\n<carries interface='2' "
                "untagged='6'/></port>",
                4, "VLAN 6 belongs to two interfaces of \"p\""},
        BadFile{TWO_INTERFACES "<port device='p'><carries interface='1' untagged='5'/><carries interface='2' "
                               "untagged='6'/></port>",
                4, "two interfaces of \"p\" take untagged frames"}));
#undef TWO_INTERFACES
#undef ONE_INTERFACE

std::string complaintOf(const std::string& text)
{
    try {
        static_cast<void>(parseNode(text, "bad.xml"));
    } catch (const NodeFileError& error) {
        return error.what();
    }
    return "";
}

TEST(NodeFile, RefusesWhatIsNoNode)
{
    EXPECT_EQ(complaintOf("<olt/>"), "bad.xml:1: the root element is <olt>, not <node>");
    EXPECT_EQ(complaintOf("<node mac='02:00:00:00:00'/>"),
              "bad.xml:1: \"02:00:00:00:00\" is no MAC, which looks like 02:00:00:00:00:01");
    EXPECT_EQ(complaintOf("<node mac='01:00:00:00:00:00'/>"), "bad.xml:1: the node's MAC is a group address");
    EXPECT_EQ(complaintOf("<node ipv4='10.0.0'/>"), "bad.xml:1: \"10.0.0\" is no IPv4 address");
    EXPECT_EQ(complaintOf("<node ipv6='10.0.0.1'/>"), "bad.xml:1: \"10.0.0.1\" is no IPv6 address");
    EXPECT_EQ(complaintOf("<node options='5 x'/>"), "bad.xml:1: \"x\" is no number of a deployment option");
    // The first of the parser's complaints; later ones name the end of the file.
    EXPECT_EQ(complaintOf("<node>\n<vlan id='1'>\n</node>\n"),
              "bad.xml:3: Opening and ending tag mismatch: vlan line 2 and node");
    EXPECT_NE(complaintOf(""), "");
}

TEST(NodeFile, NeverExpandsEntitiesOrFetchesAnything)
{
    const std::string path = testing::TempDir() + "vnode_secret";
    std::ofstream(path) << "secret";
    const std::string external =
        "<!DOCTYPE node [<!ENTITY e SYSTEM \"file://" + path + "\">]>\n<node>&e;</node>";
    EXPECT_EQ(complaintOf(external), "bad.xml:1: a document type declaration has no place in a node file");
    EXPECT_EQ(complaintOf("<!DOCTYPE node [<!ENTITY e \"x\">]>\n<node boardName='&e;'/>"),
              "bad.xml:1: a document type declaration has no place in a node file");
    std::remove(path.c_str());
}

TEST(NodeFile, ReadsFromAFile)
{
    const std::string path = testing::TempDir() + "vnode_file_test.xml";
    std::ofstream(path) << "<node slot='4'/>";
    EXPECT_EQ(readNodeFile(path).facts.slot, 4);
    std::remove(path.c_str());
    EXPECT_THROW(static_cast<void>(readNodeFile(path)), NodeFileError);
    try {
        static_cast<void>(readNodeFile(testing::TempDir()));
        FAIL() << "a folder was taken";
    } catch (const NodeFileError& error) {
        EXPECT_EQ(error.what(), testing::TempDir() + ": is not there, or is no file");
    }
}

} // namespace
} // namespace vnode
