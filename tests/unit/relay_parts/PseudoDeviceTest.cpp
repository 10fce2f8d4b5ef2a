#include "relay/io/PseudoDevice.h"

#include "platform/zobridge.h"
#include "support/CapturedLog.h"
#include "support/NodeBuilder.h"

#include <algorithm>
#include <gtest/gtest.h>

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
    EXPECT_TRUE(BridgeNode("/proc/net/zobridge/br0/bridge").attach("dhcp", "br0_dhcp"));
    const std::vector<vnode::DriverCall> calls = node->driverCalls();
    EXPECT_TRUE(std::ranges::any_of(calls, [](const vnode::DriverCall& call) {
        return call.request == 0x40047AC8 && call.data.size() == 36;
    }));
}

// The model makes no Linux device, so the second step finds none.
TEST(PseudoDevice, ANewDeviceThatDoesNotComeUpIsAFailure)
{
    const CapturedLog log;
    const auto node = test::NodeBuilder().use();
    EXPECT_FALSE(makePseudoDevice("no_such_device"));
    EXPECT_TRUE(log.has(LogImpl::critical, "DHCPRA: Unable to get flags (rv=-1).\n"));
}
