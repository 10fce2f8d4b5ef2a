#include "vnode/model/Node.h"

#include "support/NodeBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

namespace vnode {
namespace {

constexpr const char* bridgePath = "/proc/net/zobridge/br0/bridge";

/// The attach record: 17 bytes of filter name, 15 of device name, 4 zero.
std::vector<std::uint8_t> attachRecord(std::string_view filter, std::string_view device)
{
    std::vector<std::uint8_t> record(36, 0);
    std::ranges::copy(filter, record.begin());
    std::ranges::copy(device, record.begin() + 17);
    return record;
}

class Driver : public testing::Test
{
protected:
    int open(int flags = O_RDONLY) { return static_cast<int>(node.driver().open(bridgePath, flags).value); }

    Node node{test::NodeBuilder().describe()};
};

TEST_F(Driver, AnswersWithTheErrnoOfTheFault)
{
    ASSERT_EQ(node.createPseudoDevice("br0_dhcp"), 0);
    const auto ioctlError = [&](unsigned long request, std::vector<std::uint8_t> record) {
        const int handle = open();
        const DriverReply reply = node.driver().ioctl(handle, request, record);
        node.driver().close(handle);
        return reply.value == -1 ? reply.error : 0;
    };
    EXPECT_EQ(ioctlError(0x40047AC8, attachRecord("unknown", "br0_dhcp")), EINVAL);
    EXPECT_EQ(ioctlError(0x40047AC8, attachRecord("dhcp", "gone")), ENODEV);
    EXPECT_EQ(ioctlError(0x40047AC8, std::vector<std::uint8_t>(35)), EFAULT);
    EXPECT_EQ(ioctlError(0x40047AC8, std::vector<std::uint8_t>(36, 'x')), EINVAL) << "names without an end";
    EXPECT_EQ(ioctlError(0x40047AC9, {}), ENOTTY);
    const int closed = open();
    EXPECT_EQ(node.driver().close(closed).value, 0);
    EXPECT_EQ(node.driver().close(closed).error, EBADF);
    auto record = attachRecord("dhcp", "br0_dhcp");
    EXPECT_EQ(node.driver().ioctl(closed, requestAttachFilter, record).error, EBADF);
    EXPECT_EQ(node.driver().open("/proc/net/zobridge/br1/bridge", O_RDONLY).error, ENOENT);
    EXPECT_EQ(node.driver().write(open(O_WRONLY), std::vector<std::uint8_t>{'x'}).error, EINVAL);
    EXPECT_EQ(node.driver().write(open(O_RDONLY), std::vector<std::uint8_t>{'x'}).error, EBADF);
}

TEST_F(Driver, FailsOnDemand)
{
    node.faults().add({Operation::driverIoctl, EPERM, 1, 1, "", requestAttachFilter});
    ASSERT_EQ(node.createPseudoDevice("br0_dhcp"), 0);
    auto record = attachRecord("dhcp", "br0_dhcp");
    const int handle = open();
    EXPECT_EQ(node.driver().ioctl(handle, requestAttachFilter, record).value, 0)
        << "the first one is skipped";
    EXPECT_EQ(node.driver().ioctl(handle, requestAttachFilter, record).error, EPERM);
    EXPECT_EQ(node.driver().ioctl(handle, requestAttachFilter, record).value, 0) << "used up";

    node.faults().add({Operation::driverOpen, ENODEV, 0, Fault::always, bridgePath, 0});
    EXPECT_EQ(node.driver().open(bridgePath, O_RDONLY).error, ENODEV);
    EXPECT_EQ(node.driver().open("/elsewhere", O_RDONLY).error, ENOENT);
    node.faults().clear();
    EXPECT_GE(open(), 0);
}

TEST(Faults, NamesGoBothWays)
{
    for (int i = 0; i <= static_cast<int>(Operation::serviceProfile); ++i) {
        const auto operation = static_cast<Operation>(i);
        EXPECT_EQ(findOperation(operationName(operation)), operation);
    }
    EXPECT_EQ(findOperation("nonsense"), std::nullopt);
}

TEST(NodeChanges, MakeANewGeneration)
{
    Node node(test::NodeBuilder().vlan(5, "five").eth(1, "0/1").describe());
    EXPECT_EQ(node.picture().generation, 1U);
    EXPECT_EQ(node.renameInterface(1, "0/9"), 0);
    EXPECT_EQ(node.picture().generation, 2U);
    EXPECT_EQ(node.renameInterface(7, "0/9"), ENOENT);
    EXPECT_EQ(node.picture().generation, 2U) << "nothing changed";
    Interfaces::Interface row;
    EXPECT_EQ(node.addInterface(row), EINVAL);
    row.id = 1;
    EXPECT_EQ(node.addInterface(row), EEXIST);
    EXPECT_EQ(node.nameVlan(5, "cinq"), 0);
    EXPECT_EQ(node.picture().findVlan(5)->name, "cinq");
    EXPECT_EQ(node.picture().generation, 3U);
}

} // namespace
} // namespace vnode
