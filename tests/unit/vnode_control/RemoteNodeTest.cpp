#include "ForkedNode.h"

#include "common/Clock.h"
#include "platform/virtual/RemoteNode.h"
#include "support/NodeBuilder.h"
#include "vnode/model/DriverRequests.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <rpc/rpc.h>
#include <thread>

namespace {

using Interfaces::interfaceType;
using platform::virtualNode::RemoteNode;
using test::ForkedNode;
using test::NodeBuilder;

constexpr vnode::MacAddress nodeMac{0x02, 0, 0x5E, 0, 0, 0x01};

/// Large enough for several pages of interfaces and of VLAN members.
vnode::NodeDescription largeNode()
{
    NodeBuilder node;
    node.mac(nodeMac)
        .ipv4(0xC0000201)
        .ipv6("2001:db8::1", "fe80::1")
        .boardType(3)
        .slot(7)
        .option(5)
        .option(13);
    for (std::uint16_t id = 100; id < 140; ++id)
        node.vlan(id, "vlan" + std::to_string(id));
    node.eth(1, "0/0").linuxName("up0").at(0, 9).trunk("up0", 1, {100, 101, 102});
    for (std::uint32_t id = 1000; id < 2500; ++id)
        node.subscriber(id, "0/" + std::to_string(id))
            .linuxName("s" + std::to_string(id))
            .description(std::string(id % 50, 'd'))
            .at(1, id, 2, 3)
            .access("s" + std::to_string(id), id, static_cast<std::uint16_t>(100 + id % 2));
    return node.describe();
}

vnode::NodeDescription smallNode()
{
    return NodeBuilder().mac(nodeMac).vlan(100).eth(1, "0/0").trunk("up0", 1, {100}).describe();
}

void expectSameRow(const Interfaces::Interface& left, const Interfaces::Interface& right)
{
    EXPECT_EQ(left.id, right.id);
    EXPECT_EQ(left.name, right.name);
    EXPECT_EQ(left.linuxName, right.linuxName);
    EXPECT_EQ(left.type, right.type);
    EXPECT_EQ(left.flag1, right.flag1);
    EXPECT_EQ(left.flag2, right.flag2);
    EXPECT_EQ(left.flag3, right.flag3);
    EXPECT_EQ(left.flag4, right.flag4);
    EXPECT_EQ(left.phySpeed.speed, right.phySpeed.speed);
    EXPECT_EQ(left.phySpeed.second, right.phySpeed.second);
    EXPECT_EQ(left.dslSpeed.first, right.dslSpeed.first);
    EXPECT_EQ(left.dslSpeed.second, right.dslSpeed.second);
    EXPECT_EQ(left.description, right.description);
    EXPECT_EQ(left.value1, right.value1);
    EXPECT_EQ(left.parentId, right.parentId);
    EXPECT_STREQ(left.position.slot.text, right.position.slot.text);
    EXPECT_EQ(left.position.slot.number, right.position.slot.number);
    EXPECT_EQ(left.position.port, right.position.port);
    EXPECT_EQ(left.position.intf, right.position.intf);
    EXPECT_EQ(left.position.gem, right.position.gem);
}

std::string nameOf(RemoteNode& node, std::uint32_t id)
{
    const auto picture = node.picture();
    const Interfaces::Interface* row = picture ? picture->interfaces.find(id) : nullptr;
    return row != nullptr ? row->name : "";
}

/// Attach record of filter "dhcp" and device "br0_dhcp".
std::array<std::uint8_t, 36> attachRecord()
{
    std::array<std::uint8_t, 36> record{'d', 'h', 'c', 'p'};
    std::ranges::copy(std::string_view("br0_dhcp"), record.begin() + 17);
    return record;
}

class RemoteNodeTest : public testing::Test
{
protected:
    ~RemoteNodeTest() override { Clock::reset(); }

    /// Long enough for the death of a node to be noticed.
    static void letTimePass() { Clock::advance(std::chrono::seconds(2)); }
};

TEST_F(RemoteNodeTest, PictureIsTheNodesAcrossManyPages)
{
    const vnode::NodeDescription description = largeNode();
    const vnode::Picture expected = vnode::makePicture(description);
    const ForkedNode process(description);
    RemoteNode node(process.socket());

    const auto picture = node.picture();
    ASSERT_TRUE(picture);
    const auto rows = picture->interfaces.list();
    const auto expectedRows = expected.interfaces.list();
    ASSERT_EQ(rows.size(), expectedRows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        expectSameRow(rows[i], expectedRows[i]);
    ASSERT_EQ(picture->vlans.size(), expected.vlans.size());
    for (const auto& [id, vlan] : expected.vlans) {
        const vnode::Vlan* found = picture->findVlan(id);
        ASSERT_NE(found, nullptr) << id;
        EXPECT_EQ(found->name, vlan.name);
        EXPECT_EQ(found->members, vlan.members);
    }
    EXPECT_EQ(picture->facts.mac, nodeMac);
    EXPECT_EQ(picture->facts.ipv4, 0xC0000201);
    EXPECT_EQ(picture->facts.ipv6, "2001:db8::1");
    EXPECT_EQ(picture->facts.ipv6Gateway, "fe80::1");
    EXPECT_EQ(picture->facts.boardType, 3);
    EXPECT_EQ(picture->facts.slot, 7);
    EXPECT_EQ(picture->facts.options, (std::set<int>{5, 13}));
}

TEST_F(RemoteNodeTest, ARowTravelsWithAllItsMembers)
{
    const ForkedNode process(smallNode());
    RemoteNode writer(process.socket());
    RemoteNode reader(process.socket());
    Interfaces::Interface row;
    row.id = 70000;
    row.name = "0/7";
    row.linuxName = "l7";
    row.type = interfaceType::gem;
    row.flag1 = row.flag3 = true;
    row.phySpeed = {-1, true};
    row.dslSpeed = {11, 12};
    row.description = "text";
    row.value1 = 13;
    row.flag4 = true;
    row.parentId = 1;
    row.position = {{"slot", 2}, 3, 4, 5};

    EXPECT_EQ(writer.addInterface(row), 0);

    for (RemoteNode* node : {&writer, &reader}) {
        const auto picture = node->picture();
        ASSERT_TRUE(picture);
        const Interfaces::Interface* found = picture->interfaces.find(70000);
        ASSERT_NE(found, nullptr);
        expectSameRow(*found, row);
    }
    EXPECT_EQ(writer.addInterface(row), EEXIST);
}

TEST_F(RemoteNodeTest, ChangesAreSeenByTheNextRead)
{
    const ForkedNode process(largeNode());
    RemoteNode own(process.socket());
    RemoteNode other(process.socket());
    EXPECT_EQ(nameOf(own, 1000), "0/1000");
    EXPECT_EQ(nameOf(other, 1000), "0/1000");

    EXPECT_EQ(own.renameInterface(1000, "a"), 0);
    EXPECT_EQ(nameOf(own, 1000), "a");
    EXPECT_EQ(nameOf(other, 1000), "a");

    EXPECT_EQ(other.renameInterface(1000, "b"), 0);
    EXPECT_EQ(own.setInterfaceParent(1001, 1), 0);
    EXPECT_EQ(own.describeInterface(1001, "new"), 0);
    EXPECT_EQ(own.setInterfacePosition(1001, {{"x", 1}, 2, 3, 4}), 0);
    EXPECT_EQ(nameOf(own, 1000), "b");
    for (RemoteNode* node : {&own, &other}) {
        const auto picture = node->picture();
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->interfaces.childrenOf(1), std::vector<std::uint32_t>{1001});
        EXPECT_EQ(picture->interfaces.find(1001)->description, "new");
        EXPECT_EQ(picture->interfaces.find(1001)->position.gem, 4u);
    }
    EXPECT_EQ(own.renameInterface(999, "x"), ENOENT);
    EXPECT_EQ(own.renameInterface(1000, std::string(5000, 'x')), EINVAL);
}

TEST_F(RemoteNodeTest, ReadsDoNotAskTheNodeWhileNothingChanges)
{
    const ForkedNode process(smallNode());
    RemoteNode node(process.socket());
    EXPECT_EQ(node.renameInterface(1, "before"), 0);
    EXPECT_EQ(nameOf(node, 1), "before");
    EXPECT_EQ(node.renameInterface(1, "after"), 0); // repeated on the copy, not fetched

    process.freeze(); // whoever asks now waits
    EXPECT_EQ(nameOf(node, 1), "after");
    letTimePass();
    EXPECT_EQ(nameOf(node, 1), "after");
    process.thaw();
}

TEST_F(RemoteNodeTest, ANodeThatIsGoneIsNoticedAndFoundAgain)
{
    ForkedNode process(smallNode());
    RemoteNode node(process.socket());
    EXPECT_EQ(nameOf(node, 1), "0/0");

    process.end();
    EXPECT_FALSE(node.picture());
    EXPECT_EQ(node.openControl(), ECONNREFUSED);
    EXPECT_EQ(node.renameInterface(1, "x"), ECONNREFUSED);
    process.start();
    EXPECT_EQ(nameOf(node, 1), "0/0");

    EXPECT_EQ(node.renameInterface(1, "changed"), 0);
    process.kill();
    letTimePass();
    EXPECT_FALSE(node.picture());
    process.start();
    EXPECT_EQ(nameOf(node, 1), "0/0") << "the new node's registry, not the copy of the old one's";
}

TEST_F(RemoteNodeTest, ANodeThatDiesUnderACallCostsNoSignal)
{
    ASSERT_NE(::signal(SIGPIPE, SIG_DFL), SIG_ERR);
    ForkedNode process(smallNode());
    RemoteNode node(process.socket());
    EXPECT_EQ(node.openControl(), 0);
    process.freeze();
    // The request is accepted by the socket, and the answer never comes.
    std::thread killer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        process.kill();
    });
    EXPECT_EQ(node.openControl(), ECONNREFUSED);
    killer.join();
    EXPECT_EQ(node.openControl(), ECONNREFUSED);
}

TEST_F(RemoteNodeTest, AttachedFiltersSurviveTheDaemon)
{
    const ForkedNode process(smallNode());
    {
        RemoteNode daemon(process.socket());
        EXPECT_EQ(daemon.createPseudoDevice("br0_dhcp"), 0);
        const auto opened = daemon.driverOpen("/proc/net/zobridge/br0/bridge", O_RDONLY);
        ASSERT_GT(opened.value, 0);
        auto record = attachRecord();
        EXPECT_EQ(
            daemon.driverIoctl(static_cast<int>(opened.value), vnode::requestAttachFilter, record).value, 0);
    } // ends without closing

    RemoteNode restarted(process.socket());
    EXPECT_EQ(restarted.createPseudoDevice("br0_dhcp"), EEXIST);
    vnode::control::ControlClient client(process.socket());
    vnodeFilterList filters{};
    ASSERT_EQ(client.call([&](CLIENT* rpc) { return vnode_filters_1(&filters, rpc); }), 0);
    ASSERT_GE(filters.rows.rows_len, 1u);
    EXPECT_STREQ(filters.rows.rows_val[0].name, "dhcp");
    EXPECT_STREQ(filters.rows.rows_val[0].device, "br0_dhcp");
    xdr_free(
        reinterpret_cast<xdrproc_t>(static_cast<bool_t (*)(XDR*, vnodeFilterList*)>(xdr_vnodeFilterList)),
        &filters);
    vnodeStatus status{};
    ASSERT_EQ(client.call([&](CLIENT* rpc) { return vnode_status_1(&status, rpc); }), 0);
    EXPECT_EQ(status.driverHandles, 0u) << "a handle that the daemon left open is closed with its connection";
    xdr_free(reinterpret_cast<xdrproc_t>(static_cast<bool_t (*)(XDR*, vnodeStatus*)>(xdr_vnodeStatus)),
             &status);
}

TEST_F(RemoteNodeTest, DriverCallsHaveTheAnswersOfTheDriver)
{
    ForkedNode process(smallNode());
    RemoteNode node(process.socket());
    EXPECT_EQ(node.driverOpen("/proc/no/such", O_RDONLY).error, ENOENT);
    const int handle = static_cast<int>(node.driverOpen("/proc/net/zobridge/br0/bridge", O_RDONLY).value);

    auto record = attachRecord();
    EXPECT_EQ(node.driverIoctl(handle, vnode::requestAttachFilter, record).error, ENODEV);
    EXPECT_EQ(node.driverIoctl(handle, 1, {}).error, ENOTTY);
    EXPECT_EQ(node.driverWrite(handle, record).error, EBADF) << "it was opened for reading";

    const int guard = static_cast<int>(node.driverOpen("/proc/net/zobridge/br0/ipsg", O_RDWR).value);
    EXPECT_EQ(node.driverIoctl(guard, vnode::requestGuardClearVlans, {}).error, EOPNOTSUPP);

    RemoteNode stranger(process.socket());
    EXPECT_EQ(stranger.driverIoctl(handle, vnode::requestAttachFilter, record).error, EBADF);

    EXPECT_EQ(node.driverClose(handle).value, 0);
    EXPECT_EQ(node.driverClose(handle).error, EBADF);
}

TEST_F(RemoteNodeTest, AHandleOfAnEarlierConnectionIsNobodyElsesHandle)
{
    ForkedNode process(smallNode());
    RemoteNode node(process.socket());
    const int old = static_cast<int>(node.driverOpen("/proc/net/zobridge/br0/bridge", O_RDONLY).value);
    process.kill();
    process.start();
    const int fresh = static_cast<int>(node.driverOpen("/proc/net/zobridge/br0/bridge", O_RDONLY).value);
    auto record = attachRecord();
    EXPECT_EQ(node.driverIoctl(old, vnode::requestAttachFilter, record).error, EBADF);
    EXPECT_EQ(node.driverIoctl(fresh, vnode::requestAttachFilter, record).error, ENODEV);
    EXPECT_EQ(node.driverClose(old).error, EBADF);
    EXPECT_EQ(node.driverClose(fresh).value, 0);
}

TEST_F(RemoteNodeTest, LeavesTheProcessesOwnRpcServiceAlone)
{
    // The daemon serves RPC on another thread, with the library's descriptor set.
    const fd_set before = svc_fdset;
    const ForkedNode process(smallNode());
    RemoteNode node(process.socket());
    EXPECT_EQ(nameOf(node, 1), "0/0");
    EXPECT_EQ(node.openControl(), 0);
    EXPECT_EQ(std::memcmp(&before, &svc_fdset, sizeof before), 0);
}

TEST_F(RemoteNodeTest, MayBeAskedByManyThreads)
{
    const ForkedNode process(smallNode());
    RemoteNode node(process.socket());
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&node, number] {
            for (int i = 0; i < 100; ++i) {
                EXPECT_EQ(node.describeInterface(1, std::to_string(number)), 0);
                const auto picture = node.picture();
                EXPECT_TRUE(picture && picture->interfaces.find(1)->description.size() == 1);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
