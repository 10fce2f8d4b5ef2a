#include "relay/io/PseudoDevice.h"

#include "platform/zobridge.h"
#include "support/CapturedLog.h"
#include "support/NodeBuilder.h"

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>

namespace {

constexpr const char* bridgeFile = "/proc/net/zobridge/br0/bridge";

} // namespace

// The driver reads fixed offsets: filter name at 0, device name at 17, four zero bytes at 32. Long names keep
// their terminating zeros.
TEST(PseudoDevice, AttachRecordHasTheDriversLayout)
{
    BridgeAttachRecord expected{};
    std::fill_n(expected.begin(), 16, 'f');
    std::fill_n(expected.begin() + 17, 14, 'd');
    EXPECT_EQ(bridgeAttachRecord(std::string(40, 'f'), std::string(40, 'd')), expected);
    expected = {'d', 'h', 'c', 'p'};
    std::fill_n(expected.begin() + 17, 3, 'b');
    EXPECT_EQ(bridgeAttachRecord("dhcp", "bbb"), expected);
}

TEST(PseudoDevice, AttachesThroughTheDriverNode)
{
    const auto node = test::NodeBuilder().use();
    ASSERT_EQ(zobridge::mngCreate("br0_dhcp"), 0);
    {
        const BridgeNode bridge(bridgeFile);
        ASSERT_TRUE(bridge.isOpen());
        EXPECT_TRUE(bridge.attach("dhcp", "br0_dhcp"));
    }
    EXPECT_EQ(node->attached(), "br0_dhcp");
    bool asked = false;
    for (const vnode::DriverCall& call : node->driverCalls())
        asked |= call.request == 0x40047AC8 && call.data.size() == 36;
    EXPECT_TRUE(asked);
}

TEST(PseudoDevice, SaysThatTheBridgeCannotBeOpened)
{
    const CapturedLog log;
    const auto node = test::NodeBuilder().use();
    node->failing(vnode::Operation::driverOpen, ENOENT);
    EXPECT_FALSE(BridgeNode(bridgeFile).isOpen());
    EXPECT_EQ(log.text(), "DHCPRA: Cannot open bridge.\n");
}

TEST(PseudoDevice, ADeviceThatIsThereAlreadyIsOnlyLogged)
{
    const CapturedLog log;
    const auto node = test::NodeBuilder().use();
    node->failing(vnode::Operation::createPseudoDevice, EEXIST);
    EXPECT_TRUE(makePseudoDevice("br0_dhcp"));
    EXPECT_EQ(log.text(), "DHCPRA: Unable to create pseudo device (rv=0).\n");
}

// The model makes no Linux device, so the second step finds none.
TEST(PseudoDevice, ANewDeviceThatDoesNotComeUpIsAFailure)
{
    const CapturedLog log;
    const auto node = test::NodeBuilder().use();
    EXPECT_FALSE(makePseudoDevice("no_such_device"));
    EXPECT_TRUE(log.has(LogImpl::critical, "DHCPRA: Unable to get flags (rv=-1).\n"));
}
