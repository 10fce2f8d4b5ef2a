#include "support/NodeBuilder.h"

#include "common/Clock.h"
#include "platform/Interfaces.h"
#include "platform/Node.h"
#include "platform/driver.h"
#include "platform/zobridge.h"
#include "platform/zomacTable.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <fcntl.h>

namespace {

using namespace Interfaces;
using Ids = std::vector<std::uint32_t>;
using enum interfaceType;
using vnode::Operation;

constexpr vnode::MacAddress nodeMac{2, 0, 0, 0, 0, 1};
constexpr std::uint16_t dataVlan = 100;
constexpr unsigned long attachRequest = 0x40047AC8;

/// The output of a platform call, which stands last among its arguments and has to succeed.
template <typename Value, typename... Arguments>
Value output(auto call, const Arguments&... arguments)
{
    Value value{};
    EXPECT_EQ(call(arguments..., value), 0);
    return value;
}

/// A platform call that has to fail and to leave its output alone.
template <typename Value, typename... Arguments>
void expectFailure(auto call, const Value& before, const Arguments&... arguments)
{
    Value value = before;
    EXPECT_NE(call(arguments..., value), 0);
    EXPECT_EQ(value, before);
}

class Platform : public testing::Test
{
protected:
    /// The driver refuses the call with this errno.
    static void expectError(long answer, int error)
    {
        EXPECT_EQ(answer, -1);
        EXPECT_EQ(errno, error);
        errno = 0;
    }

    const std::unique_ptr<test::TestNode> node = test::NodeBuilder()
                                                     .mac(nodeMac)
                                                     .ipv4(0x0A000001)
                                                     .ipv6("2001:db8::1", "2001:db8::ff")
                                                     .boardType(7)
                                                     .slot(3)
                                                     .option(5)
                                                     .vlan(100, "data")
                                                     .vlan(200)
                                                     .eth(1, "0/1")
                                                     .trunk("up0", 1, {100, 200})
                                                     .interface(3, pon, "0/2")
                                                     .interface(20, onu, "0/2/1", 3)
                                                     .interface(21, gem, "0/2/1/1", 20)
                                                     .description("a subscriber")
                                                     .at(10, 2, 1, 1)
                                                     .access("sub0", 21, 100)
                                                     .use();
};

TEST_F(Platform, ReadsTheRegistry)
{
    const auto list = output<std::vector<Interface>>(interfaceListGet);
    ASSERT_EQ(list.size(), 4U);
    EXPECT_EQ(list[2].id, 20U) << "ascending ids";
    EXPECT_EQ(output<Interface>(interfaceGet, 21), list[3]);
    EXPECT_EQ(output<Interface>(interfaceParentGet, 21), list[2]);
    EXPECT_EQ(output<interfaceType>(interfaceGetTypeById, 21), gem);
    EXPECT_EQ(output<std::string>(interfaceGetNameById, 20), "0/2/1");
    EXPECT_EQ(output<std::string>(interfaceGetDescription, 21), "a subscriber");
    EXPECT_EQ(output<std::uint32_t>(interfaceGetIdByName, "0/2"), 3U);
    EXPECT_EQ(output<slot_port_s>(interfaceSlotPortIntfGet, 21), (slot_port_s{{"", 10}, 2, 1, 1}));
    EXPECT_EQ(output<std::string>(interfaceGetNameBySlotnumPortIntfGem, 10, 2, 1, 1), "0/2/1/1");
    EXPECT_EQ(output<Ids>(interfaceAllChildrenGet, 3), Ids{20});
    EXPECT_EQ(output<std::uint32_t>(interfaceGetCountByType, gem), 1U);
    EXPECT_EQ(output<std::uint32_t>(interfaceGetCountByType, allInterfaceTypes), 21U) << "the highest id";
    EXPECT_EQ(output<std::uint32_t>(boardPortCountGet, allInterfaceTypes), 21U);

    expectFailure(interfaceGet, list[0], 99);
    expectFailure(interfaceParentGet, list[0], 1);
    expectFailure(interfaceGetIdByName, std::uint32_t{77}, "0/9");
    expectFailure(interfaceGetNameBySlotnumPortIntfGem, std::string("kept"), 10, 2, 1, 2);
    expectFailure(interfaceGetCountByType, std::uint32_t{77}, static_cast<interfaceType>(9));
    expectFailure(interfaceAllChildrenGet, Ids{5}, 99);
}

TEST_F(Platform, ChangesTheRegistry)
{
    Interface row;
    row.id = 50;
    row.name = "0/5";
    EXPECT_EQ(interfaceMapAdd(row), 0);
    EXPECT_NE(interfaceMapAdd(row), 0);
    row.name = "0/6";
    row.parentId = 3;
    row.position.port = 6;
    row.description = "six";
    EXPECT_EQ(interfaceSetName(50, row.name), 0);
    EXPECT_EQ(interfaceParentIdSet(50, row.parentId), 0);
    EXPECT_EQ(interfaceSlotPortIntfSet(50, row.position), 0);
    EXPECT_EQ(interfaceUpdateDescription(50, row.description), 0);
    EXPECT_EQ(output<Interface>(interfaceGet, 50), row);
    EXPECT_NE(interfaceSetName(51, "0/7"), 0);
}

TEST_F(Platform, KnowsItsNode)
{
    Network::NetworkInfo info;
    ASSERT_EQ(Network::getNetworkInfo(&info), 0);
    EXPECT_EQ(info.mac, nodeMac);
    EXPECT_EQ(info.ip, 0x0A000001U);
    vnode::MacAddress mac{};
    EXPECT_EQ(zobridge::mngSystemMacGet("br0_dhcpv6", mac.data()), 0);
    EXPECT_EQ(mac, nodeMac);
    EXPECT_EQ(Ports::getBoardType(), 7);
    std::uint8_t slot = 0;
    EXPECT_EQ(ncfmGetMyBoardPos(&slot), 0);
    EXPECT_EQ(slot, 3);
    ncfmIpv6 ipv6;
    EXPECT_EQ(ncfmGetIpv6(&ipv6), 0);
    EXPECT_EQ(ipv6.address, "2001:db8::1");
    EXPECT_TRUE(isActive(5));
    EXPECT_FALSE(isActive(12));

    const auto withoutFacts = test::NodeBuilder().use();
    EXPECT_NE(Network::getNetworkInfo(&info), 0);
    EXPECT_NE(ncfmGetMyBoardPos(&slot), 0);
    EXPECT_EQ(slot, 3);
    EXPECT_NE(ncfmGetIpv6(&ipv6), 0);
    EXPECT_NE(zobridge::mngSystemMacGet("br0_dhcpv6", mac.data()), 0);
}

TEST_F(Platform, ReadsVlansOfTheOneBridge)
{
    zobridge::VlanInfo info;
    EXPECT_EQ(zobridge::vlanGetInfoId("", 100, info), 0);
    EXPECT_EQ(info.name, "data");
    EXPECT_EQ(info.vid, 100);
    EXPECT_NE(zobridge::vlanGetInfoId("", 300, info), 0);
    EXPECT_NE(zobridge::vlanGetInfoId("br1", 100, info), 0);
    EXPECT_NE(zobridge::vlanGetInfoId(nullptr, 100, info), 0);
    EXPECT_TRUE(output<bool>(zobridge::vlanGetMembership, "", dataVlan, 21));
    EXPECT_FALSE(output<bool>(zobridge::vlanGetMembership, "br0", dataVlan, 3));
    expectFailure(zobridge::vlanGetMembership, true, "", std::uint16_t{300}, 3);
    expectFailure(zobridge::vlanGetMembership, true, "", dataVlan, 99);
    expectFailure(zobridge::vlanGetMembership, true, "br1", dataVlan, 3);
    EXPECT_EQ(output<std::string>(zobridge::bridgeNameGet), "br0");
}

TEST_F(Platform, FindsTheVlansOfALearntMac)
{
    const vnode::MacAddress client{2, 0, 0, 0, 0, 0x11};
    std::vector<std::uint8_t> frame(60, 0);
    std::copy_n(client.begin(), client.size(), frame.begin() + 6);
    static_cast<void>(node->receive("sub0", frame));
    zomacTableVlanBitmap expected{};
    expected[3] = 1U << (31 - 4); // VLAN 100
    const zomacTableMacPort key{client, 21};
    EXPECT_EQ(output<zomacTableVlanBitmap>(zomacTableGetVlanBitmapForMacPort, "br0", key), expected);
    node->failing(Operation::macTableRead, EIO, 1);
    expectFailure(zomacTableGetVlanBitmapForMacPort, expected, "br0", key);
    Clock::advance(std::chrono::seconds(300));
    EXPECT_EQ(output<zomacTableVlanBitmap>(zomacTableGetVlanBitmapForMacPort, "br0", key),
              zomacTableVlanBitmap{})
        << "too old";
    Clock::reset();
}

TEST_F(Platform, KnowsTheNodesOfGuardAndInspectionButHasNoEngineForThem)
{
    std::array<char, 64> record{"21"};
    struct
    {
        const char* node;
        std::size_t recordSize;
        std::vector<unsigned long> requests;
    } const rows[] = {
        {"acl", 44, {0xC0047A13}},
        {"ipsg", 0, {0xC0047A12}},
        {"ipsg", 8, {0x40047A03}},
        {"ipsg", 24, {0x40047A07}},
        {"ipsg", 28, {0x40047A05, 0xC0047A0D, 0xC0047A11}},
        {"ipsg", 60, {0x40047A0E, 0x40047A0F}},
        {"ipsg", 64, {0xC0047A10}},
    };
    for (const auto& row : rows)
        for (const unsigned long request : row.requests) {
            const int fd = zobridge::br_open("br0", row.node);
            expectError(driver::ioctl(fd, request, row.recordSize != 0 ? record.data() : nullptr),
                        EOPNOTSUPP);
            const vnode::DriverCall told = node->driverCalls().back();
            EXPECT_EQ(told.path, std::string("/proc/net/zobridge/br0/") + row.node);
            EXPECT_EQ(told.request, request);
            EXPECT_EQ(told.data, std::vector<std::uint8_t>(record.data(), record.data() + row.recordSize));
            EXPECT_EQ(driver::close(fd), 0);
        }
    const int guard = zobridge::br_open("", "ipsg");
    expectError(driver::ioctl(guard, 0xC0047A13, record.data()), ENOTTY); // the other node's
    expectError(driver::write(guard, "x", 1), EINVAL);
    const int acl = zobridge::br_open("br0", "acl");
    expectError(driver::write(acl, "selector add S\n", 15), EOPNOTSUPP);
    EXPECT_EQ(node->driverCalls().back().data.size(), 15U);
    node->failing(Operation::driverWrite, EIO);
    expectError(driver::write(acl, "x", 1), EIO);

    EXPECT_EQ(zobridge::br_open("br0", "nothing"), -1);
    EXPECT_EQ(zobridge::br_open("br1", "acl"), -1);
    EXPECT_EQ(zobridge::br_open(nullptr, "acl"), -1);
}

TEST_F(Platform, AnswersDriverFaultsAsSystemCallsDo)
{
    constexpr const char* path = "/proc/net/zobridge/br0/bridge";
    expectError(driver::open("/proc/net/nothing", O_RDONLY), ENOENT);
    const int fd = driver::open(path, O_RDONLY);
    expectError(driver::ioctl(fd, 0x1234, nullptr), ENOTTY);
    expectError(driver::ioctl(fd, attachRequest, nullptr), EFAULT);
    expectError(driver::write(fd, "x", 1), EBADF);
    EXPECT_EQ(driver::close(fd), 0);
    expectError(driver::close(fd), EBADF);

    node->failing({Operation::driverOpen, EMFILE, 1, 1, path, 0});
    EXPECT_GE(driver::open(path, O_RDONLY), 0) << "the first one is skipped";
    expectError(driver::open("/proc/net/nothing", O_RDONLY), ENOENT); // not of that path
    expectError(driver::open(path, O_RDONLY), EMFILE);
    const int again = driver::open(path, O_RDONLY);
    EXPECT_GE(again, 0) << "used up";
    node->failing({Operation::driverIoctl, EPERM, 0, 1, "", attachRequest});
    std::array<char, 36> record{};
    expectError(driver::ioctl(again, 0x1234, nullptr), ENOTTY); // not that request
    expectError(driver::ioctl(again, attachRequest, record.data()), EPERM);
}

TEST_F(Platform, FailsOnDemand)
{
    node->failing(Operation::registryRead, EIO, 1);
    expectFailure(interfaceGetTypeById, eth, 21);
    EXPECT_EQ(output<interfaceType>(interfaceGetTypeById, 21), gem);
    node->failing(Operation::registryWrite, EIO);
    EXPECT_NE(interfaceSetName(21, "x"), 0);
    EXPECT_EQ(zobridge::mngCreate("br0_dhcp"), 0);
    EXPECT_NE(zobridge::mngCreate("br0_dhcp"), 0) << "it is there from an earlier run";
    EXPECT_EQ(zobridge::openFds(""), 0);
    node->failing(Operation::createPseudoDevice, EPERM);
    EXPECT_NE(zobridge::mngCreate("br1_dhcp"), 0);
    node->failing(Operation::networkInfo, EIO);
    Network::NetworkInfo info;
    EXPECT_NE(Network::getNetworkInfo(&info), 0);
}

TEST_F(Platform, RemembersWhatTheDaemonToldPartsThatAreNotModelled)
{
    EXPECT_EQ(zobridge::instance().lagTest(2), 0);
    EXPECT_EQ(zobridge::instance().issLaDebugMask(3), 0);
    Syslogger::debugMessage("hello", 1);
    EXPECT_EQ(servprofile::servProfileOnDhcpraPvcCidModeChange(7, 2), 0);
    EXPECT_EQ(node->notes(), (std::vector<std::string>{"lagTest 2", "issLaDebugMask 3",
                                                       "debugMessage 1 hello", "pvcCidMode 7 2"}));
    node->failing(Operation::serviceProfile, EIO);
    EXPECT_NE(servprofile::servProfileOnDhcpraPvcCidModeChange(7, 2), 0);
}

} // namespace
