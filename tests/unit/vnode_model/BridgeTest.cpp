#include "support/NodeBuilder.h"
#include "vnode/model/Node.h"

#include "Frames.h"

#include <gtest/gtest.h>

#include <map>

namespace vnode {
namespace {

using frames::Bytes;
using frames::client;
using frames::everyone;
using frames::server;
using Kind = Decision::Kind;
using Sent = std::map<std::string, Bytes>; ///< what left, or its tags, by device

const Bytes tag10{0x81, 0, 0, 0x0A};
const Bytes tag100{0x81, 0, 0, 0x64};
const Bytes tag200{0x81, 0, 0, 0xC8};
const Bytes tag300{0x81, 0, 0x01, 0x2C};
const Bytes service100{0x88, 0xA8, 0, 0x64};

Bytes up(const Bytes& tags = {}, const MacAddress& to = everyone) { return frames::tagged(to, client, tags); }
Bytes down(const Bytes& tags = {}, const MacAddress& to = client) { return frames::tagged(to, server, tags); }
Bytes request(const Bytes& tags = {}) { return frames::dhcp(everyone, client, tags); }
Bytes reply(const Bytes& tags = {}, const MacAddress& to = everyone)
{
    return frames::dhcp(to, server, tags);
}

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

TEST_F(Bridging, FloodsInTheVlanOfThePortWithTheTagsOfTheOthers)
{
    struct
    {
        const char* what;
        const char* device;
        Bytes tags;
        std::uint32_t ingress; ///< 0: dropped for its VLAN
        Sent sent;             ///< tags by device
    } const rows[] = {
        {"access", "sub1", {}, 11, {{"up0", tag100}, {"up1", tag100}, {"svc", service100}}},
        {"its own VLAN", "sub1", tag100, 11, {{"up0", tag100}, {"up1", tag100}, {"svc", service100}}},
        {"priority tag",
         "sub1",
         {0x81, 0, 0xA0, 0},
         11,
         {{"up0", {0x81, 0, 0xA0, 0x64}}, {"up1", {0x81, 0, 0xA0, 0x64}}, {"svc", {0x88, 0xA8, 0xA0, 0x64}}}},
        {"another VLAN", "sub1", tag200, 0, {}},
        {"native VLAN of a trunk", "up1", {}, 2, {{"up0", tag10}, {"stack", {}}}},
        {"customer tag as payload",
         "svc",
         frames::join({service100, {0x81, 0, 0, 5}}),
         31,
         {{"sub1", {0x81, 0, 0, 5}},
          {"up0", frames::join({tag100, {0x81, 0, 0, 5}})},
          {"up1", frames::join({tag100, {0x81, 0, 0, 5}})}}},
        {"the other tag protocol", "svc", tag100, 0, {}},
        {"first GEM port", "pon", tag200, 21, {{"up0", tag200}, {"svc", {0x88, 0xA8, 0, 0xC8}}}},
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
    receive("up1", frames::plain(everyone, frames::node)); // nobody takes that MAC over by sending from it
    receive("up0", down(tag10, frames::node));
    EXPECT_EQ(sent(), (Sent{{"stack", down({}, frames::node)}}));
    receive("stack", frames::plain(server, frames::node));
    EXPECT_EQ(sent().size(), 1U);
    EXPECT_EQ(node.bridge().macs().find(10, frames::node, now), std::nullopt);
}

TEST_F(Bridging, DivertsDhcpBehindARecordButNotWhatTheOwnStackSends)
{
    receive("sub1", request());
    ASSERT_EQ(decision.kind, Kind::divert);
    EXPECT_EQ(decision.device, "br0_dhcp");
    EXPECT_EQ(Bytes(decision.diverted.begin() + frameRecordSize, decision.diverted.end()), request(tag100));
    const auto record = readFrameRecord(decision.diverted);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->fullSize, 107 + request(tag100).size());
    EXPECT_EQ(record->inputIndex, 11);
    EXPECT_EQ(record->inputName, "sub1name");
    EXPECT_EQ(record->outputIndex, 0);
    EXPECT_EQ(record->outputName, "");
    EXPECT_EQ(node.bridge().macs().find(100, client, now), 11U) << "learnt all the same";

    EXPECT_EQ(receive("up1", reply({}, frames::node)).kind, Kind::divert);
    EXPECT_EQ(receive("stack", frames::dhcp(server, frames::node)).kind, Kind::forward);
    ASSERT_TRUE(node.filters().detach("dhcp"));
    receive("up1", reply({}, frames::node));
    EXPECT_EQ(sent(), (Sent{{"stack", reply({}, frames::node)}}));
}

TEST_F(Bridging, TellsBothTagsOfADivertedFrameInItsRecord)
{
    struct
    {
        const char* device;
        Bytes tags;
        std::uint16_t outer;
        std::uint16_t inner;
    } const rows[] = {
        {"sub1", {}, 0x0064, 0x0FFF},
        {"up0", {0x81, 0, 0x60, 0x64}, 0x6064, 0x0FFF},
        {"up0", {0x81, 0, 0, 0x64, 0x81, 0, 0x20, 0x05}, 0x0064, 0x2005},
        {"svc", {0x88, 0xA8, 0, 0x64, 0x81, 0, 0x20, 0x05}, 0x0064, 0x2005},
        {"sub1", {0x88, 0xA8, 0, 0x05}, 0x0064, 0x0005}, // payload of a customer-tagged port
        {"sub1", {0x81, 0, 0xE0, 0x00}, 0xE064, 0x0FFF},
    };
    for (const auto& row : rows) {
        const auto record = readFrameRecord(receive(row.device, request(row.tags)).diverted);
        ASSERT_TRUE(record);
        EXPECT_EQ(record->tag1, row.outer);
        EXPECT_EQ(record->tag2, row.inner);
    }
}

TEST_F(Bridging, KeepsADivertedFrameInsideTheDaemonsBuffer)
{
    Bytes frame = request(tag100);
    frame.resize(divertedFrameMax);
    EXPECT_EQ(receive("up0", frame).diverted.size(), 2048U);
    frame.push_back(0);
    EXPECT_EQ(receive("up0", frame).reason, Drop::oversize);
}

TEST_F(Bridging, SendsWhatTheDaemonReturnsByNameThenIndexThenMacThenEverywhere)
{
    const Bytes frame = reply(tag100, client);
    receive("sub1", up());
    FrameRecord record = recordFor(frame, 100);
    record.inputIndex = 1;
    record.outputName = "sub1name";
    record.outputIndex = 2;
    EXPECT_EQ((inject(record, frame), sent()), (Sent{{"sub1", reply({}, client)}})) << "name before index";
    record.outputName.clear();
    EXPECT_EQ((inject(record, frame), sent()), (Sent{{"up1", frame}})) << "index before MAC";
    record.outputIndex = 0;
    EXPECT_EQ((inject(record, frame), sent()), (Sent{{"sub1", reply({}, client)}})) << "MAC";

    record = recordFor(reply(tag100), 100);
    record.inputIndex = 1;
    EXPECT_EQ((inject(record, reply(tag100)), sent()),
              (Sent{{"up1", reply(tag100)}, {"sub1", reply()}, {"svc", reply(service100)}}))
        << "not where it came from";
}

TEST_F(Bridging, TakesTheVlanFromTheFrameElseFromTheRecord)
{
    FrameRecord record = recordFor(reply(), 0x2064);
    record.outputIndex = 2;
    EXPECT_EQ((inject(record, reply()), sent()), (Sent{{"up1", reply({0x81, 0, 0x20, 0x64})}}));
    EXPECT_EQ(inject(recordFor(reply()), reply()).reason, Drop::noVlan);
}

TEST_F(Bridging, NeverFloodsAFrameThatWasMeantForOneOutput)
{
    const Bytes frame = reply(tag100);
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
    const Bytes frame = reply(tag100);
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

TEST_F(Bridging, CountsAndRefusesEveryFrameThatEndsInsideItsHeader)
{
    const Bytes whole = up({0x81, 0, 0, 0x64, 0x81, 0, 0, 6});
    constexpr std::size_t headerSize = 22;
    for (std::size_t size = 0; size <= whole.size(); ++size)
        EXPECT_EQ(
            receive("sub1", Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))).reason,
            size < headerSize ? Drop::runt : Drop::none)
            << size;
    node.bridge().clearCounters();
    receive("sub1", up());
    receive("sub1", request());
    receive("sub1", {1, 2, 3});
    receive("sub1", up(tag200));
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

} // namespace
} // namespace vnode
