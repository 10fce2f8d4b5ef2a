#include "support/DhcpFrame.h"
#include "vnode/model/Node.h"
#include "vnode/model/NodeFile.h"

#include <gtest/gtest.h>

#include <map>

namespace vnode {
namespace {

using test::broadcastMac;
using test::Bytes;
using test::DhcpFrame;
using test::discover;
using Kind = Decision::Kind;
using Sent = std::map<std::string, Bytes>; ///< what left, by device
using Tags = std::vector<std::pair<std::uint16_t, std::uint16_t>>;

constexpr MacAddress client = test::macOf(0x11);
constexpr MacAddress server = test::macOf(0x22);
constexpr MacAddress stack = test::macOf(1);

const Tags tag10{{0x8100, 10}};
const Tags tag100{{0x8100, 100}};
const Tags tag200{{0x8100, 200}};
const Tags tag300{{0x8100, 300}};
const Tags service100{{0x88A8, 100}};

Bytes tagged(DhcpFrame frame, const Tags& tags)
{
    for (const auto& [protocol, control] : tags)
        frame.tag(protocol, control);
    return frame.ethernetFrame();
}

/// Frames that no filter takes.
Bytes plain(const MacAddress& from, const MacAddress& to, const Tags& tags = {})
{
    return tagged(discover().sourceMac(from).to(to).etherType(0x0806), tags);
}
Bytes up(const Tags& tags = {}, const MacAddress& to = broadcastMac) { return plain(client, to, tags); }
Bytes down(const Tags& tags = {}, const MacAddress& to = client) { return plain(server, to, tags); }
Bytes request(const Tags& tags = {}) { return tagged(discover().from(client), tags); }
/// What the daemon sends for a client behind interface 1.
DhcpFrame reply(const MacAddress& to = broadcastMac) { return test::offer().sourceMac(server).to(to).on(1); }

/// Two uplinks, a subscriber in VLAN 100, a device with two GEM ports, a service-tagged trunk, the node's own
/// stack.
constexpr const char* sample = R"(<node mac="02:00:00:00:00:01">
<vlan id="10 100 200 300"/>
<interface id="1" name="if1" type="eth"/><port device="up0" interface="1" tagged="10 100 200 300"/>
<interface id="2" name="if2" type="eth"/><port device="up1" interface="2" tagged="100" untagged="10"/>
<interface id="11" name="sub1name" type="subscriber"/><port device="sub1" interface="11" untagged="100"/>
<interface id="21" name="if21" type="gem"/><interface id="22" name="if22" type="gem"/>
<port device="pon"><carries interface="21" tagged="200"/><carries interface="22" tagged="300"/></port>
<interface id="31" name="if31" type="eth"/><port device="svc" interface="31" tagged="100 200" tpid="0x88A8"/>
<interface id="40" name="mng" type="management"/><port device="stack" interface="40" untagged="10" internal="yes"/>
</node>)";

class Bridging : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(node.createPseudoDevice("br0_dhcp"), 0);
        ASSERT_EQ(node.filters().attach("dhcp", "br0_dhcp"), 0);
    }

    const Decision& receive(const std::string& device, Bytes frame)
    {
        bytes = std::move(frame);
        node.bridge().receive(node.bridge().ports().findDevice(device).value(), bytes, now, decision);
        return decision;
    }

    const Decision& inject(const DhcpFrame& frame)
    {
        bytes = frame.build();
        node.bridge().inject(bytes, now, decision);
        return decision;
    }

    [[nodiscard]] Sent sent() const
    {
        Sent all;
        for (const Egress& egress : decision.outputs)
            decision.compose(egress, all[node.bridge().ports().devices().at(egress.device).name]);
        return all;
    }

    Node node{parseNode(sample, "sample")};
    Time now;
    Decision decision;
    Bytes bytes;
};

TEST_F(Bridging, FloodsInTheVlanOfThePortWithTheTagsOfTheOthers)
{
    const Tags inner{{0x8100, 5}}, both{tag100[0], inner[0]};
    const Tags priority{{0x8100, 0xA000}}, urgent{{0x8100, 0xA064}}, urgentService{{0x88A8, 0xA064}};
    struct
    {
        const char* what;
        const char* device;
        Tags tags;
        std::uint32_t ingress; ///< 0: dropped for its VLAN
        std::map<std::string, Tags> sent;
    } const rows[] = {
        {"access", "sub1", {}, 11, {{"up0", tag100}, {"up1", tag100}, {"svc", service100}}},
        {"its own VLAN", "sub1", tag100, 11, {{"up0", tag100}, {"up1", tag100}, {"svc", service100}}},
        {"priority tag", "sub1", priority, 11, {{"up0", urgent}, {"up1", urgent}, {"svc", urgentService}}},
        {"another VLAN", "sub1", tag200, 0, {}},
        {"native VLAN of a trunk", "up1", {}, 2, {{"up0", tag10}, {"stack", {}}}},
        {"customer tag",
         "svc",
         {service100[0], inner[0]},
         31,
         {{"sub1", inner}, {"up0", both}, {"up1", both}}},
        {"the other tag protocol", "svc", tag100, 0, {}},
        {"first GEM port", "pon", tag200, 21, {{"up0", tag200}, {"svc", {{0x88A8, 200}}}}},
        {"second GEM port", "pon", tag300, 22, {{"up0", tag300}}},
        {"no GEM port's VLAN", "pon", tag100, 0, {}},
        {"no native VLAN", "pon", {}, 0, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Sent expected;
        for (const auto& [device, tags] : row.sent)
            expected[device] = up(tags);
        receive(row.device, up(row.tags));
        EXPECT_EQ(decision.ingress, row.ingress);
        EXPECT_EQ(decision.reason, row.ingress == 0 ? Drop::vlan : Drop::none);
        EXPECT_EQ(sent(), expected);
    }
}

TEST_F(Bridging, LearnsAndSendsAKnownMacToItsPortOnly)
{
    receive("sub1", up());
    receive("up0", down(tag100));
    EXPECT_EQ(sent(), (Sent{{"sub1", down()}}));
    receive("sub1", up({}, server));
    EXPECT_EQ(sent(), (Sent{{"up0", up(tag100, server)}}));
    EXPECT_EQ(receive("up0", up(tag100, server)).reason, Drop::sameInterface);
    EXPECT_EQ(node.bridge().macs().find(100, client, now), 1U) << "it has moved";

    receive("up0", down(tag200));
    EXPECT_GT(decision.outputs.size(), 1U) << "learnt in another VLAN";
    now += std::chrono::seconds(300);
    receive("up0", down(tag100));
    EXPECT_GT(decision.outputs.size(), 1U) << "too old";
}

TEST_F(Bridging, LeadsTheNodesOwnMacToItsStackOnly)
{
    receive("up1", plain(stack, broadcastMac)); // nobody takes that MAC over by sending from it
    receive("up0", down(tag10, stack));
    EXPECT_EQ(sent(), (Sent{{"stack", down({}, stack)}}));
    receive("stack", plain(stack, server));
    EXPECT_EQ(sent().size(), 1U);
    EXPECT_EQ(node.bridge().macs().find(10, stack, now), std::nullopt);
}

TEST_F(Bridging, DivertsDhcpBehindARecordButNotWhatTheOwnStackSends)
{
    // Priority tags, tags of the other protocol and customer tags too: the record names both.
    struct
    {
        const char* device;
        Tags tags;
        DhcpFrame diverted;
    } const rows[] = {
        {"sub1", {}, discover().on(11, "sub1name").vlan(100)},
        {"sub1", {{0x8100, 0xE000}}, discover().on(11, "sub1name").vlan(100, 7)},
        {"sub1", {{0x88A8, 5}}, discover().on(11, "sub1name").vlan(100).cvlan(5, 0, 0x88A8)},
        {"up0", {{0x8100, 0x6064}}, discover().on(1, "if1").vlan(100, 3)},
        {"up0", {{0x8100, 100}, {0x8100, 0x2005}}, discover().on(1, "if1").vlan(100).cvlan(5, 1)},
        {"svc", {{0x88A8, 100}, {0x8100, 5}}, discover().on(31, "if31").vlan(100, 0, 0x88A8).cvlan(5)},
    };
    for (const auto& row : rows) {
        receive(row.device, request(row.tags));
        EXPECT_EQ(decision.kind, Kind::divert);
        EXPECT_EQ(decision.device, "br0_dhcp");
        EXPECT_EQ(decision.diverted, DhcpFrame(row.diverted).from(client).build());
    }
    EXPECT_EQ(node.bridge().macs().find(100, client, now), 31U) << "learnt all the same";

    const Bytes toStack = reply(stack).ethernetFrame();
    EXPECT_EQ(receive("up1", toStack).kind, Kind::divert);
    EXPECT_EQ(receive("stack", tagged(test::request().sourceMac(stack), {})).kind, Kind::forward);
    ASSERT_TRUE(node.filters().detach("dhcp"));
    receive("up1", toStack);
    EXPECT_EQ(sent(), (Sent{{"stack", toStack}}));
}

TEST_F(Bridging, KeepsADivertedFrameInsideTheDaemonsBuffer)
{
    Bytes frame = request(tag100);
    frame.resize(2048 - 107);
    EXPECT_EQ(receive("up0", frame).diverted.size(), 2048U);
    frame.push_back(0);
    EXPECT_EQ(receive("up0", frame).reason, Drop::oversize);
}

TEST_F(Bridging, SendsWhatTheDaemonReturnsByNameThenIndexThenMacThenEverywhere)
{
    const Bytes toClient = reply(client).ethernetFrame();
    receive("sub1", up());
    DhcpFrame frame = reply(client).vlan(100);
    EXPECT_EQ((inject(DhcpFrame(frame).outputName("sub1name").outputIndex(2)), sent()),
              (Sent{{"sub1", toClient}}))
        << "name before index";
    EXPECT_EQ((inject(DhcpFrame(frame).outputIndex(2)), sent()), (Sent{{"up1", frame.ethernetFrame()}}))
        << "index before MAC";
    EXPECT_EQ((inject(frame), sent()), (Sent{{"sub1", toClient}})) << "MAC";
    EXPECT_EQ((inject(reply().vlan(100)), sent()), (Sent{{"up1", tagged(reply(), tag100)},
                                                         {"sub1", tagged(reply(), {})},
                                                         {"svc", tagged(reply(), service100)}}))
        << "not where it came from";
    // Without a tag in the frame, the one in the record counts.
    EXPECT_EQ((inject(reply().recordTags(0x2064, 0x0FFF).outputIndex(2)), sent()),
              (Sent{{"up1", tagged(reply(), {{0x8100, 0x2064}})}}));
    EXPECT_EQ(inject(reply()).reason, Drop::noVlan);
    // What was meant for one output is never flooded.
    frame = reply().vlan(100);
    EXPECT_EQ(inject(DhcpFrame(frame).outputName("nobody").outputIndex(11)).reason, Drop::noOutput);
    EXPECT_EQ(inject(DhcpFrame(frame).outputIndex(999)).reason, Drop::noOutput);
    EXPECT_EQ(inject(DhcpFrame(frame).outputIndex(21)).reason, Drop::vlan) << "not a member of VLAN 100";
}

TEST_F(Bridging, RefusesDamagedFramesOfTheDaemon)
{
    const DhcpFrame frame = reply().vlan(100).outputIndex(2);
    const auto size = static_cast<std::uint32_t>(frame.size());
    EXPECT_EQ(inject(DhcpFrame(frame).fullSize(size + 1)).reason, Drop::badRecord) << "claims more than came";
    EXPECT_EQ(inject(DhcpFrame(frame).fullSize(106)).reason, Drop::badRecord);
    EXPECT_EQ(inject(DhcpFrame(frame).fullSize(107 + 13)).reason, Drop::runt);
    EXPECT_EQ((inject(DhcpFrame(frame).ethernetPadding(5).fullSize(size)), sent()),
              (Sent{{"up1", frame.ethernetFrame()}}))
        << "what is behind the size does not leave";
    // A daemon's buffer holds 2048 bytes; its frame may claim more.
    const DhcpFrame full = DhcpFrame(frame).ethernetPadding(2048 - size).fullSize(3000);
    EXPECT_EQ((inject(full), sent()), (Sent{{"up1", full.ethernetFrame()}}));
    EXPECT_EQ(inject(DhcpFrame(frame).cutTo(106)).reason, Drop::badRecord);
    EXPECT_EQ(decision.outputs.size(), 0U) << "nothing left of the frame before";
}

TEST_F(Bridging, CountsWhatBecomesOfAFrame)
{
    receive("sub1", up());
    receive("sub1", request());
    for (const std::size_t runt : {0U, 13U, 17U}) {
        Bytes frame = up(tag100);
        frame.resize(runt);
        receive("sub1", frame);
    }
    inject(reply().cutTo(107));
    const Counters& counters = node.bridge().counters();
    const auto& line = counters.interfaces.at(11);
    EXPECT_EQ(std::pair(line.received, line.diverted), std::pair(2UL, 1UL));
    EXPECT_EQ(counters.interfaces.at(1).sent, 1U);
    EXPECT_EQ(std::pair(counters.diverted, counters.injected), std::pair(1UL, 1UL));
    EXPECT_EQ(counters.drops[static_cast<std::size_t>(Drop::runt)], 4U);
}

} // namespace
} // namespace vnode
