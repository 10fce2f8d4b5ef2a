#include "support/NodeBuilder.h"
#include "vnode/model/Node.h"

#include "Frames.h"

#include <gtest/gtest.h>

#include <map>

namespace vnode {
namespace {

using frames::Bytes;
using Kind = Decision::Kind;
using Sent = std::map<std::string, Bytes>; ///< what left, by device

const Bytes tag100{0x81, 0x00, 0x00, 0x64};
const Bytes tag200{0x81, 0x00, 0x00, 0xC8};

/// Two uplinks, a subscriber in VLAN 100, a device with two GEM ports, a service-tagged trunk, the node's own
/// stack.
NodeDescription sample()
{
    return test::NodeBuilder()
        .mac(frames::node)
        .vlan(10)
        .vlan(100)
        .vlan(200)
        .vlan(300)
        .eth(1, "0/1")
        .linuxName("up0name")
        .trunk("up0", 1, {10, 100, 200, 300})
        .eth(2, "0/2")
        .trunk("up1", 2, {100})
        .untagged(10)
        .subscriber(11, "0/3")
        .linuxName("sub1name")
        .access("sub1", 11, 100)
        .subscriber(21, "0/4/1")
        .subscriber(22, "0/4/2")
        .trunk("pon", 21, {200})
        .sharing(22, {300})
        .eth(31, "0/5")
        .trunk("svc", 31, {100, 200})
        .tpid(0x88A8)
        .interface(40, Interfaces::interfaceType::management, "mng")
        .access("stack", 40, 10)
        .internal()
        .describe();
}

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

    const Decision& inject(const FrameRecord& record, const Bytes& frame)
    {
        bytes.assign(frameRecordSize, 0);
        writeFrameRecord(record, bytes);
        bytes.insert(bytes.end(), frame.begin(), frame.end());
        node.bridge().inject(bytes, now, decision);
        return decision;
    }

    /// A record as it comes with a frame of that size.
    static FrameRecord recordFor(const Bytes& frame, std::uint16_t vlan = recordNoTag)
    {
        FrameRecord record;
        record.tag1 = vlan;
        record.fullSize = static_cast<std::uint32_t>(frameRecordSize + frame.size());
        return record;
    }

    [[nodiscard]] Sent sent() const
    {
        Sent all;
        for (const Egress& egress : decision.outputs)
            decision.compose(egress, all[node.bridge().ports().devices().at(egress.device).name]);
        return all;
    }

    Node node{sample()};
    Time now;
    Decision decision;
    Bytes bytes;
};

TEST_F(Bridging, FloodsInTheVlanWithThePortsTags)
{
    receive("sub1", frames::plain(frames::everyone, frames::client));
    ASSERT_EQ(decision.kind, Kind::forward);
    EXPECT_EQ(decision.ingress, 11U);
    EXPECT_EQ(sent(),
              (Sent{{"up0", frames::tagged(frames::everyone, frames::client, tag100)},
                    {"up1", frames::tagged(frames::everyone, frames::client, tag100)},
                    {"svc", frames::tagged(frames::everyone, frames::client, {0x88, 0xA8, 0x00, 0x64})}}));
}

TEST_F(Bridging, LearnsAndSendsAKnownMacToItsPortOnly)
{
    receive("sub1", frames::plain(frames::everyone, frames::client));
    receive("up0", frames::tagged(frames::client, frames::server, tag100));
    EXPECT_EQ(sent(), (Sent{{"sub1", frames::plain(frames::client, frames::server)}}));
    receive("sub1", frames::plain(frames::server, frames::client));
    EXPECT_EQ(sent(), (Sent{{"up0", frames::tagged(frames::server, frames::client, tag100)}}));

    receive("up0", frames::tagged(frames::client, frames::server, tag200));
    EXPECT_GT(decision.outputs.size(), 1U) << "learnt in another VLAN";
    now += std::chrono::seconds(300);
    receive("up0", frames::tagged(frames::client, frames::server, tag100));
    EXPECT_GT(decision.outputs.size(), 1U) << "too old";
}

TEST_F(Bridging, DoesNotSendAFrameBackWhereItCameFrom)
{
    receive("up1", frames::tagged(frames::everyone, frames::server, tag100));
    EXPECT_EQ(receive("up1", frames::tagged(frames::server, frames::client, tag100)).reason,
              Drop::sameInterface);
}

TEST_F(Bridging, DistinguishesInterfacesOfOneDeviceByVlan)
{
    EXPECT_EQ(receive("pon", frames::tagged(frames::everyone, frames::client, tag200)).ingress, 21U);
    EXPECT_EQ(receive("pon", frames::tagged(frames::everyone, frames::client, {0x81, 0, 0x01, 0x2C})).ingress,
              22U);
    EXPECT_EQ(receive("pon", frames::tagged(frames::everyone, frames::client, tag100)).reason, Drop::vlan);
    EXPECT_EQ(receive("pon", frames::plain(frames::everyone, frames::client)).reason, Drop::vlan);
}

TEST_F(Bridging, GivesPriorityTaggedAndUntaggedFramesTheAccessVlan)
{
    receive("sub1", frames::tagged(frames::everyone, frames::client, {0x81, 0x00, 0xA0, 0x00}));
    EXPECT_EQ(sent().at("up0"), frames::tagged(frames::everyone, frames::client, {0x81, 0x00, 0xA0, 0x64}));
    receive("sub1", frames::tagged(frames::everyone, frames::client, tag100));
    EXPECT_EQ(sent().at("up0"), frames::tagged(frames::everyone, frames::client, tag100)) << "its own VLAN";
    EXPECT_EQ(receive("sub1", frames::tagged(frames::everyone, frames::client, tag200)).reason, Drop::vlan);
    receive("up1", frames::plain(frames::everyone, frames::server)); // native VLAN of a trunk
    EXPECT_EQ(sent().at("up0"), frames::tagged(frames::everyone, frames::server, {0x81, 0, 0, 0x0A}));
}

TEST_F(Bridging, CarriesTheOtherTagProtocolAsPayload)
{
    receive("svc", frames::tagged(frames::everyone, frames::client, {0x88, 0xA8, 0, 0x64, 0x81, 0, 0, 0x05}));
    EXPECT_EQ(sent().at("sub1"), frames::tagged(frames::everyone, frames::client, {0x81, 0, 0, 0x05}));
    EXPECT_EQ(sent().at("up0"),
              frames::tagged(frames::everyone, frames::client, {0x81, 0, 0, 0x64, 0x81, 0, 0, 0x05}));
    EXPECT_EQ(receive("svc", frames::tagged(frames::everyone, frames::client, tag100)).reason, Drop::vlan);
}

TEST_F(Bridging, LeadsTheNodesOwnMacToItsStackOnly)
{
    receive("up1", frames::plain(frames::node, frames::server));
    EXPECT_EQ(sent(), (Sent{{"stack", frames::plain(frames::node, frames::server)}}));
    // Nobody takes that MAC over by sending from it.
    receive("up1", frames::plain(frames::everyone, frames::node));
    receive("up0", frames::tagged(frames::node, frames::server, {0x81, 0, 0, 0x0A}));
    EXPECT_EQ(sent(), (Sent{{"stack", frames::plain(frames::node, frames::server)}}));
    receive("stack", frames::plain(frames::server, frames::node));
    EXPECT_EQ(sent().size(), 1U);
}

TEST_F(Bridging, DivertsDhcpBehindARecord)
{
    receive("sub1", frames::dhcp(frames::everyone, frames::client));
    ASSERT_EQ(decision.kind, Kind::divert);
    EXPECT_EQ(decision.device, "br0_dhcp");
    const Bytes expected = frames::dhcp(frames::everyone, frames::client, tag100);
    EXPECT_EQ(Bytes(decision.diverted.begin() + frameRecordSize, decision.diverted.end()), expected);
    const auto record = readFrameRecord(decision.diverted);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->tag1, 0x0064);
    EXPECT_EQ(record->tag2, 0x0FFF);
    EXPECT_EQ(record->fullSize, 107 + expected.size());
    EXPECT_EQ(record->inputIndex, 11);
    EXPECT_EQ(record->inputName, "sub1name");
    EXPECT_EQ(record->outputIndex, 0);
    EXPECT_EQ(record->outputName, "");
    EXPECT_EQ(node.bridge().macs().find(100, frames::client, now), 11U) << "learnt all the same";
}

TEST_F(Bridging, DivertsRepliesToTheNodeButNotWhatItsStackSends)
{
    EXPECT_EQ(receive("up1", frames::dhcp(frames::node, frames::server)).kind, Kind::divert);
    EXPECT_EQ(receive("stack", frames::dhcp(frames::server, frames::node)).kind, Kind::forward);
    ASSERT_TRUE(node.filters().detach("dhcp"));
    receive("up1", frames::dhcp(frames::node, frames::server));
    EXPECT_EQ(sent(), (Sent{{"stack", frames::dhcp(frames::node, frames::server)}}));
}

struct TagCase
{
    const char* device;
    Bytes tags;
    std::uint16_t outer;
    std::uint16_t inner;
};

class DivertedTags : public Bridging, public testing::WithParamInterface<TagCase>
{};

TEST_P(DivertedTags, StandInTheRecord)
{
    const TagCase& row = GetParam();
    receive(row.device, frames::dhcp(frames::everyone, frames::client, row.tags));
    ASSERT_EQ(decision.kind, Kind::divert);
    const auto record = readFrameRecord(decision.diverted);
    EXPECT_EQ(record->tag1, row.outer);
    EXPECT_EQ(record->tag2, row.inner);
}

INSTANTIATE_TEST_SUITE_P(
    Frames, DivertedTags,
    testing::Values(TagCase{"up0", {0x81, 0, 0x60, 0x64}, 0x6064, 0x0FFF},
                    TagCase{"up0", {0x81, 0, 0, 0x64, 0x81, 0, 0x20, 0x05}, 0x0064, 0x2005},
                    TagCase{"svc", {0x88, 0xA8, 0, 0x64, 0x81, 0, 0x20, 0x05}, 0x0064, 0x2005},
                    TagCase{
                        "sub1", {0x88, 0xA8, 0, 0x05}, 0x0064, 0x0005}, // payload of a customer-tagged port
                    TagCase{"sub1", {0x81, 0, 0xE0, 0x00}, 0xE064, 0x0FFF}));

TEST_F(Bridging, KeepsADivertedFrameInsideTheDaemonsBuffer)
{
    Bytes frame = frames::dhcp(frames::everyone, frames::client, tag100);
    frame.resize(divertedFrameMax);
    EXPECT_EQ(receive("up0", frame).diverted.size(), 2048U);
    frame.push_back(0);
    EXPECT_EQ(receive("up0", frame).reason, Drop::oversize);
}

TEST_F(Bridging, SendsWhatTheDaemonReturnsByNameThenIndexThenMacThenEverywhere)
{
    const Bytes frame = frames::dhcp(frames::client, frames::server, tag100);
    receive("sub1", frames::plain(frames::everyone, frames::client));
    FrameRecord record = recordFor(frame, 100);
    record.inputIndex = 1;
    const Bytes untagged = frames::dhcp(frames::client, frames::server);

    record.outputName = "sub1name";
    record.outputIndex = 2;
    EXPECT_EQ((inject(record, frame), sent()), (Sent{{"sub1", untagged}})) << "name before index";
    record.outputName.clear();
    EXPECT_EQ((inject(record, frame), sent()), (Sent{{"up1", frame}})) << "index before MAC";
    record.outputIndex = 0;
    EXPECT_EQ((inject(record, frame), sent()), (Sent{{"sub1", untagged}})) << "MAC";

    const Bytes broadcast = frames::dhcp(frames::everyone, frames::server, tag100);
    record = recordFor(broadcast, 100);
    record.inputIndex = 1;
    EXPECT_EQ((inject(record, broadcast), sent()),
              (Sent{{"up1", broadcast},
                    {"sub1", frames::dhcp(frames::everyone, frames::server)},
                    {"svc", frames::dhcp(frames::everyone, frames::server, {0x88, 0xA8, 0, 0x64})}}))
        << "not where it came from";
}

TEST_F(Bridging, TakesTheVlanFromTheFrameElseFromTheRecord)
{
    const Bytes untagged = frames::dhcp(frames::everyone, frames::server);
    FrameRecord record = recordFor(untagged, 0x2064);
    record.outputIndex = 2;
    inject(record, untagged);
    EXPECT_EQ(sent(), (Sent{{"up1", frames::dhcp(frames::everyone, frames::server, {0x81, 0, 0x20, 0x64})}}));
    EXPECT_EQ(inject(recordFor(untagged), untagged).reason, Drop::noVlan);
}

TEST_F(Bridging, NeverFloodsAFrameThatWasMeantForOneOutput)
{
    const Bytes frame = frames::dhcp(frames::everyone, frames::server, tag100);
    FrameRecord record = recordFor(frame, 100);
    record.outputName = "nobody";
    record.outputIndex = 11;
    EXPECT_EQ(inject(record, frame).reason, Drop::noOutput);
    record.outputName.clear();
    record.outputIndex = 999;
    EXPECT_EQ(inject(record, frame).reason, Drop::noOutput);
    record.outputIndex = 21;
    EXPECT_EQ(inject(record, frame).reason, Drop::vlan) << "not a member of VLAN 100";
}

TEST_F(Bridging, RefusesDamagedFramesOfTheDaemon)
{
    const Bytes frame = frames::dhcp(frames::everyone, frames::server, tag100);
    FrameRecord record = recordFor(frame, 100);
    record.fullSize += 1;
    EXPECT_EQ(inject(record, frame).reason, Drop::badRecord) << "claims more than came";
    record.fullSize = 106;
    EXPECT_EQ(inject(record, frame).reason, Drop::badRecord);
    record.fullSize = 107 + 13;
    EXPECT_EQ(inject(record, frame).reason, Drop::runt);
    record = recordFor(frame, 100);
    record.outputIndex = 2;
    Bytes padded = frame;
    padded.resize(frame.size() + 5);
    EXPECT_EQ((inject(record, padded), sent()), (Sent{{"up1", frame}}))
        << "what is behind the size does not leave";
    // A daemon's buffer holds 2048 bytes; its frame may claim more.
    padded.resize(2048 - 107);
    record.fullSize = 3000;
    EXPECT_EQ((inject(record, padded), sent()), (Sent{{"up1", padded}}));

    bytes.assign(106, 0);
    node.bridge().inject(bytes, now, decision);
    EXPECT_EQ(decision.reason, Drop::badRecord);
    EXPECT_EQ(decision.outputs.size(), 0U) << "nothing left of the frame before";
}

TEST_F(Bridging, Counts)
{
    receive("sub1", frames::plain(frames::everyone, frames::client));
    receive("sub1", frames::dhcp(frames::everyone, frames::client));
    receive("sub1", {1, 2, 3});
    receive("sub1", frames::tagged(frames::everyone, frames::client, tag200));
    inject(recordFor({}), {});
    const Counters& counters = node.bridge().counters();
    EXPECT_EQ(counters.interfaces.at(11).received, 2U);
    EXPECT_EQ(counters.interfaces.at(11).diverted, 1U);
    EXPECT_EQ(counters.interfaces.at(1).sent, 1U);
    EXPECT_EQ(counters.diverted, 1U);
    EXPECT_EQ(counters.injected, 1U);
    EXPECT_EQ(counters.drops[static_cast<std::size_t>(Drop::runt)], 2U);
    EXPECT_EQ(counters.drops[static_cast<std::size_t>(Drop::vlan)], 1U);
}

TEST_F(Bridging, FollowsARenamedInterface)
{
    Interfaces::Interface row = *node.picture().interfaces.find(11);
    row.linuxName = "fresh";
    ASSERT_EQ(node.removeInterface(11), 0);
    ASSERT_EQ(node.addInterface(row), 0);
    receive("sub1", frames::dhcp(frames::everyone, frames::client));
    EXPECT_EQ(readFrameRecord(decision.diverted)->inputName, "fresh");
}

TEST(BridgeSize, HandlesEveryVlanOnOnePortAndThousandsOfInterfaces)
{
    NodeDescription description = test::NodeBuilder().eth(1, "up").vlan(1).trunk("up", 1, {1}).describe();
    for (std::uint16_t vlan = 2; vlan <= 4094; ++vlan) {
        description.vlans.push_back({vlan, ""});
        description.ports[0].attachments[0].tagged.set(vlan);
    }
    description.ports.push_back({"pon", 0x8100, false, {}});
    for (std::uint32_t id = 2; id <= 4095; ++id) {
        Interfaces::Interface row;
        row.id = id;
        row.name = row.linuxName = "g" + std::to_string(id);
        description.interfaces.push_back(row);
        Attachment attachment{id, std::nullopt, {}};
        attachment.tagged.set(id - 1);
        description.ports[1].attachments.push_back(attachment);
    }
    ASSERT_FALSE(findProblem(description));
    Node node(description);
    Decision decision;
    const Bytes frame = frames::tagged(frames::everyone, frames::client, {0x81, 0, 0x0F, 0xFE});
    node.bridge().receive(1, frame, {}, decision);
    EXPECT_EQ(decision.ingress, 4095U);
    ASSERT_EQ(decision.outputs.size(), 1U);
    EXPECT_EQ(decision.outputs[0].interfaceId, 1U);
    node.bridge().receive(0, frame, {}, decision);
    ASSERT_EQ(decision.outputs.size(), 1U);
    EXPECT_EQ(decision.outputs[0].interfaceId, 4095U);
}

} // namespace
} // namespace vnode
