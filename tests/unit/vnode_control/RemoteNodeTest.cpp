#include "ForkedNode.h"

#include "common/Clock.h"
#include "platform/virtual/RemoteNode.h"
#include "support/NodeBuilder.h"
#include "vnode/control/Xdr.h"
#include "vnode/model/DriverRequests.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <thread>

namespace {

using Interfaces::interfaceType;
using platform::virtualNode::RemoteNode;
using test::ForkedNode;
using test::NodeBuilder;
using vnode::control::Decoded;

constexpr vnode::MacAddress nodeMac{0x02, 0, 0x5E, 0, 0, 0x01};

/// Large enough for several pages of interfaces and of VLAN members.
vnode::NodeDescription largeNode()
{
    NodeBuilder node;
    node.mac(nodeMac).ipv4(0xC0000201).ipv6("2001:db8::1", "fe80::1");
    node.boardType(3).slot(7).option(5).option(13);
    for (std::uint16_t id = 100; id < 140; ++id)
        node.vlan(id, "vlan" + std::to_string(id));
    node.eth(1, "0/0").linuxName("up0").at(0, 9).trunk("up0", 1, {100, 101, 102});
    for (std::uint32_t id = 1000; id < 2500; ++id) {
        const std::string name = "s" + std::to_string(id);
        node.subscriber(id, "0/" + name).linuxName(name).description(std::string(id % 50, 'd'));
        node.at(1, id, 2, 3).access(name, id, static_cast<std::uint16_t>(100 + id % 2));
    }
    return node.describe();
}

vnode::NodeDescription smallNode()
{
    return NodeBuilder().mac(nodeMac).vlan(100).eth(1, "0/0").trunk("up0", 1, {100}).describe();
}

std::string nameOf(RemoteNode& node, std::uint32_t id)
{
    const auto picture = node.picture();
    const Interfaces::Interface* row = picture ? picture->interfaces.find(id) : nullptr;
    return row != nullptr ? row->name : "";
}

/// A handle on the driver's bridge node.
int bridgeOf(RemoteNode& node)
{
    return static_cast<int>(node.driverOpen("/proc/net/zobridge/br0/bridge", O_RDONLY).value);
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

TEST_F(RemoteNodeTest, ReadsThePictureOverManyPagesAndSeesChangesAtOnce)
{
    const vnode::NodeDescription description = largeNode();
    const vnode::Picture expected = vnode::makePicture(description);
    const ForkedNode process(description);
    RemoteNode own(process.socket());
    RemoteNode other(process.socket());
    for (RemoteNode* node : {&own, &other}) {
        const auto picture = node->picture();
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->interfaces.list(), expected.interfaces.list());
        EXPECT_EQ(picture->vlans, expected.vlans);
        EXPECT_EQ(picture->facts, expected.facts);
    }

    // A row with all its members.
    const Interfaces::Interface row{
        70000, "0/7", "l7", interfaceType::gem,    true, false, true, {-1, true}, {11, 12}, "text",
        13,    true,  1,    {{"slot", 2}, 3, 4, 5}};
    EXPECT_EQ(own.addInterface(row), 0);
    EXPECT_EQ(own.addInterface(row), EEXIST);
    for (RemoteNode* node : {&own, &other})
        EXPECT_EQ(*node->picture()->interfaces.find(70000), row);

    EXPECT_EQ(own.renameInterface(1000, "a"), 0);
    EXPECT_EQ(nameOf(other, 1000), "a");
    EXPECT_EQ(other.renameInterface(1000, "b"), 0);
    EXPECT_EQ(own.setInterfaceParent(1001, 1), 0);
    EXPECT_EQ(own.describeInterface(1001, "new"), 0);
    EXPECT_EQ(own.setInterfacePosition(1001, {{"x", 1}, 2, 3, 4}), 0);
    EXPECT_EQ(nameOf(own, 1000), "b");
    for (RemoteNode* node : {&own, &other}) {
        const auto picture = node->picture();
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->interfaces.childrenOf(1), (std::vector<std::uint32_t>{1001, 70000}));
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
}

TEST_F(RemoteNodeTest, AttachedFiltersSurviveTheDaemonAndItsHandlesDoNot)
{
    const ForkedNode process(smallNode());
    auto record = attachRecord();
    {
        RemoteNode daemon(process.socket());
        EXPECT_EQ(daemon.createPseudoDevice("br0_dhcp"), 0);
        const int handle = bridgeOf(daemon);
        EXPECT_EQ(daemon.driverIoctl(handle, vnode::requestAttachFilter, record).value, 0);
    } // ends without closing

    RemoteNode restarted(process.socket());
    EXPECT_EQ(restarted.createPseudoDevice("br0_dhcp"), EEXIST);
    vnode::control::ControlClient client(process.socket());
    Decoded<vnodeFilterList, xdr_vnodeFilterList> filters;
    ASSERT_EQ(client.call([&](CLIENT* rpc) { return vnode_filters_1(filters.get(), rpc); }), 0);
    ASSERT_GE(filters->rows.rows_len, 1u);
    EXPECT_STREQ(filters->rows.rows_val[0].name, "dhcp");
    EXPECT_STREQ(filters->rows.rows_val[0].device, "br0_dhcp");
    Decoded<vnodeStatus, xdr_vnodeStatus> status;
    ASSERT_EQ(client.call([&](CLIENT* rpc) { return vnode_status_1(status.get(), rpc); }), 0);
    EXPECT_EQ(status->driverHandles, 0u);
}

TEST_F(RemoteNodeTest, AHandleIsGoodOnItsOwnConnectionOnly)
{
    ForkedNode process(smallNode());
    RemoteNode node(process.socket());
    RemoteNode stranger(process.socket());
    auto record = attachRecord();
    EXPECT_EQ(node.driverOpen("/proc/no/such", O_RDONLY).error, ENOENT);
    const int handle = bridgeOf(node);
    EXPECT_EQ(node.driverIoctl(handle, vnode::requestAttachFilter, record).error, ENODEV);
    EXPECT_EQ(node.driverIoctl(handle, vnode::requestAttachFilter, std::span(record).first(35)).error,
              EFAULT);
    EXPECT_EQ(node.driverWrite(handle, record).error, EBADF) << "it was opened for reading";
    EXPECT_EQ(stranger.driverIoctl(handle, vnode::requestAttachFilter, record).error, EBADF);
    EXPECT_EQ(node.driverClose(handle).value, 0);
    EXPECT_EQ(node.driverClose(handle).error, EBADF);

    // A handle of an earlier connection is not the one that has its number now.
    const int earlier = bridgeOf(node);
    process.kill();
    process.start();
    const int fresh = bridgeOf(node);
    EXPECT_EQ(node.driverIoctl(earlier, vnode::requestAttachFilter, record).error, EBADF);
    EXPECT_EQ(node.driverIoctl(fresh, vnode::requestAttachFilter, record).error, ENODEV);
    EXPECT_EQ(node.driverClose(earlier).error, EBADF);
    EXPECT_EQ(node.driverClose(fresh).value, 0);
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
