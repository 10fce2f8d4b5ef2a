#include "support/NodeBuilder.h"

#include "common/Clock.h"
#include "platform/Interfaces.h"
#include "platform/Node.h"
#include "platform/driver.h"
#include "platform/zobridge.h"
#include "platform/zomacTable.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <thread>

namespace {

using Ids = std::vector<std::uint32_t>;
using enum Interfaces::interfaceType;
using vnode::Operation;

constexpr vnode::MacAddress nodeMac{2, 0, 0, 0, 0, 1};

class Platform : public testing::Test
{
protected:
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
    std::vector<Interfaces::Interface> list;
    ASSERT_EQ(Interfaces::interfaceListGet(list), 0);
    Ids ids;
    for (const Interfaces::Interface& row : list)
        ids.push_back(row.id);
    EXPECT_EQ(ids, (Ids{1, 3, 20, 21}));

    Interfaces::Interface row;
    EXPECT_EQ(Interfaces::interfaceGet(21, row), 0);
    EXPECT_EQ(row.linuxName, "if21");
    Interfaces::interfaceType type = eth;
    EXPECT_EQ(Interfaces::interfaceGetTypeById(21, type), 0);
    EXPECT_EQ(type, gem);
    std::string text;
    EXPECT_EQ(Interfaces::interfaceGetNameById(20, text), 0);
    EXPECT_EQ(text, "0/2/1");
    EXPECT_EQ(Interfaces::interfaceGetDescription(21, text), 0);
    EXPECT_EQ(text, "a subscriber");
    std::uint32_t number = 0;
    EXPECT_EQ(Interfaces::interfaceGetIdByName("0/2", number), 0);
    EXPECT_EQ(number, 3U);
    Interfaces::slot_port_s position;
    EXPECT_EQ(Interfaces::interfaceSlotPortIntfGet(21, position), 0);
    EXPECT_EQ(position.slot.number, 10U);
    EXPECT_EQ(position.gem, 1U);
    EXPECT_EQ(Interfaces::interfaceParentGet(21, row), 0);
    EXPECT_EQ(row.id, 20U);
    Ids children{99};
    EXPECT_EQ(Interfaces::interfaceAllChildrenGet(3, children), 0);
    EXPECT_EQ(children, Ids{20});
    EXPECT_EQ(Interfaces::interfaceGetCountByType(gem, number), 0);
    EXPECT_EQ(number, 1U);
    EXPECT_EQ(Interfaces::interfaceGetCountByType(Interfaces::allInterfaceTypes, number), 0);
    EXPECT_EQ(number, 21U) << "the highest id, not the number of rows";
    number = 0;
    EXPECT_EQ(Interfaces::boardPortCountGet(Interfaces::allInterfaceTypes, number), 0);
    EXPECT_EQ(number, 21U);
    EXPECT_EQ(Interfaces::interfaceGetNameBySlotnumPortIntfGem(10, 2, 1, 1, text), 0);
    EXPECT_EQ(text, "0/2/1/1");
}

TEST_F(Platform, FailsForWhatIsNotThereAndLeavesTheOutputsAlone)
{
    Interfaces::Interface row;
    row.name = "kept";
    EXPECT_NE(Interfaces::interfaceGet(99, row), 0);
    EXPECT_NE(Interfaces::interfaceParentGet(1, row), 0) << "has none";
    EXPECT_EQ(row.name, "kept");
    std::uint32_t number = 77;
    EXPECT_NE(Interfaces::interfaceGetIdByName("0/9", number), 0);
    EXPECT_NE(Interfaces::interfaceGetCountByType(static_cast<Interfaces::interfaceType>(9), number), 0);
    EXPECT_NE(Interfaces::interfaceGetNameBySlotnumPortIntfGem(10, 2, 1, 2, row.name), 0);
    EXPECT_EQ(number, 77U);
    Ids children{5};
    EXPECT_NE(Interfaces::interfaceAllChildrenGet(99, children), 0);
    EXPECT_EQ(children, Ids{5});
}

TEST_F(Platform, ChangesTheRegistry)
{
    Interfaces::Interface row;
    row.id = 50;
    row.name = "0/5";
    EXPECT_EQ(Interfaces::interfaceMapAdd(row), 0);
    EXPECT_NE(Interfaces::interfaceMapAdd(row), 0);
    EXPECT_EQ(Interfaces::interfaceSetName(50, "0/6"), 0);
    EXPECT_EQ(Interfaces::interfaceParentIdSet(50, 3), 0);
    Interfaces::slot_port_s position;
    position.port = 6;
    EXPECT_EQ(Interfaces::interfaceSlotPortIntfSet(50, position), 0);
    EXPECT_EQ(Interfaces::interfaceUpdateDescription(50, "six"), 0);
    EXPECT_NE(Interfaces::interfaceSetName(51, "0/7"), 0);

    Interfaces::Interface now;
    ASSERT_EQ(Interfaces::interfaceGet(50, now), 0);
    EXPECT_EQ(now.name, "0/6");
    EXPECT_EQ(now.parentId, 3U);
    EXPECT_EQ(now.position.port, 6U);
    EXPECT_EQ(now.description, "six");
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
}

TEST(PlatformWithoutFacts, Fails)
{
    const auto node = test::NodeBuilder().use();
    Network::NetworkInfo info;
    EXPECT_NE(Network::getNetworkInfo(&info), 0);
    std::uint8_t slot = 9;
    EXPECT_NE(ncfmGetMyBoardPos(&slot), 0);
    EXPECT_EQ(slot, 9);
    ncfmIpv6 ipv6;
    EXPECT_NE(ncfmGetIpv6(&ipv6), 0);
    EXPECT_NE(zobridge::mngSystemMacGet("br0_dhcpv6", &slot), 0);
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
    bool member = false;
    EXPECT_EQ(zobridge::vlanGetMembership("", 100, 21, member), 0);
    EXPECT_TRUE(member);
    EXPECT_NE(zobridge::vlanGetMembership("", 300, 3, member), 0) << "no such VLAN";
    EXPECT_NE(zobridge::vlanGetMembership("", 100, 99, member), 0) << "no such interface";
    EXPECT_NE(zobridge::vlanGetMembership("br1", 100, 3, member), 0);
    EXPECT_TRUE(member) << "left alone";
    EXPECT_EQ(zobridge::vlanGetMembership("br0", 100, 3, member), 0);
    EXPECT_FALSE(member);
    std::string name;
    EXPECT_EQ(zobridge::bridgeNameGet(name), 0);
    EXPECT_EQ(name, "br0");
}

TEST_F(Platform, FindsTheVlansOfALearntMac)
{
    const vnode::MacAddress client{2, 0, 0, 0, 0, 0x11};
    std::vector<std::uint8_t> frame(60, 0);
    std::copy_n(client.begin(), client.size(), frame.begin() + 6);
    static_cast<void>(node->receive("sub0", frame));

    zomacTableVlanBitmap bitmap{};
    EXPECT_EQ(zomacTableGetVlanBitmapForMacPort("br0", {client, 21}, bitmap), 0);
    zomacTableVlanBitmap expected{};
    expected[3] = 1U << (31 - 4); // VLAN 100
    EXPECT_EQ(bitmap, expected);

    node->failing(Operation::macTableRead, EIO);
    EXPECT_NE(zomacTableGetVlanBitmapForMacPort("br0", {client, 21}, bitmap), 0);
    EXPECT_EQ(bitmap, expected);
    node->working();
    Clock::advance(std::chrono::seconds(300));
    bitmap = {};
    EXPECT_EQ(zomacTableGetVlanBitmapForMacPort("br0", {client, 21}, bitmap), 0);
    EXPECT_EQ(bitmap, zomacTableVlanBitmap{}) << "too old";
    Clock::reset();
}

TEST_F(Platform, BringsAPseudoDeviceAndAFilterUp)
{
    EXPECT_EQ(zobridge::mngCreate("br0_dhcp"), 0);
    EXPECT_NE(zobridge::mngCreate("br0_dhcp"), 0) << "it is there from an earlier run";
    EXPECT_EQ(zobridge::openFds(""), 0);

    char record[36] = "dhcp";
    std::strcpy(record + 17, "br0_dhcp");
    const int fd = driver::open("/proc/net/zobridge/br0/bridge", O_RDONLY);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(driver::ioctl(fd, 0x40047AC8, record), 0);
    EXPECT_EQ(driver::close(fd), 0);
    EXPECT_EQ(node->attached(), "br0_dhcp");
    ASSERT_EQ(node->driverCalls().size(), 2U);
    EXPECT_EQ(node->driverCalls()[1].data, std::vector<std::uint8_t>(record, record + sizeof(record)));
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
        {"ipsg", 8, {0x40047A03}},
        {"ipsg", 24, {0x40047A07}},
        {"ipsg", 28, {0x40047A05, 0xC0047A0D, 0xC0047A11}},
        {"ipsg", 60, {0x40047A0E, 0x40047A0F}},
        {"ipsg", 64, {0xC0047A10}},
    };
    for (const auto& row : rows)
        for (const unsigned long request : row.requests) {
            const int fd = zobridge::br_open("br0", row.node);
            ASSERT_GE(fd, 0);
            EXPECT_EQ(driver::ioctl(fd, request, record.data()), -1);
            EXPECT_EQ(errno, EOPNOTSUPP) << std::hex << request;
            const vnode::DriverCall told = node->driverCalls().back();
            EXPECT_EQ(told.path, std::string("/proc/net/zobridge/br0/") + row.node);
            EXPECT_EQ(told.request, request);
            EXPECT_EQ(told.data, std::vector<std::uint8_t>(record.data(), record.data() + row.recordSize));
            EXPECT_EQ(driver::close(fd), 0);
        }
    const int guard = zobridge::br_open("", "ipsg");
    EXPECT_EQ(driver::ioctl(guard, 0xC0047A12, nullptr), -1);
    EXPECT_EQ(errno, EOPNOTSUPP) << "a request without a record";
    EXPECT_EQ(driver::ioctl(guard, 0xC0047A13, record.data()), -1);
    EXPECT_EQ(errno, ENOTTY) << "a request of the other node";
    EXPECT_EQ(driver::write(guard, "x", 1), -1);
    EXPECT_EQ(errno, EINVAL);
    const int acl = zobridge::br_open("br0", "acl");
    EXPECT_EQ(driver::write(acl, "selector add S\n", 15), -1);
    EXPECT_EQ(errno, EOPNOTSUPP);
    EXPECT_EQ(node->driverCalls().back().data.size(), 15U);
    node->failing(Operation::driverWrite, EIO);
    EXPECT_EQ(driver::write(acl, "x", 1), -1);
    EXPECT_EQ(errno, EIO);

    EXPECT_EQ(zobridge::br_open("br0", "nothing"), -1);
    EXPECT_EQ(zobridge::br_open("br1", "acl"), -1);
    EXPECT_EQ(zobridge::br_open(nullptr, "acl"), -1);
}

TEST_F(Platform, AnswersDriverFaultsAsSystemCallsDo)
{
    errno = 0;
    EXPECT_EQ(driver::open("/proc/net/nothing", O_RDONLY), -1);
    EXPECT_EQ(errno, ENOENT);
    const int fd = driver::open("/proc/net/zobridge/br0/bridge", O_RDONLY);
    EXPECT_EQ(driver::ioctl(fd, 0x1234, nullptr), -1);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(driver::ioctl(fd, 0x40047AC8, nullptr), -1);
    EXPECT_EQ(errno, EFAULT);
    EXPECT_EQ(driver::write(fd, "x", 1), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(driver::close(fd), 0);
    EXPECT_EQ(driver::close(fd), -1);
    EXPECT_EQ(errno, EBADF);

    node->failing(Operation::driverOpen, EMFILE, 1);
    EXPECT_EQ(driver::open("/proc/net/zobridge/br0/bridge", O_RDONLY), -1);
    EXPECT_EQ(errno, EMFILE);
    EXPECT_GE(driver::open("/proc/net/zobridge/br0/bridge", O_RDONLY), 0);
}

TEST_F(Platform, FailsOnDemand)
{
    node->failing(Operation::registryRead, EIO, 1);
    Interfaces::interfaceType type = eth;
    EXPECT_NE(Interfaces::interfaceGetTypeById(21, type), 0);
    EXPECT_EQ(Interfaces::interfaceGetTypeById(21, type), 0);

    node->failing(Operation::registryWrite, EIO);
    EXPECT_NE(Interfaces::interfaceSetName(21, "x"), 0);
    node->failing(Operation::createPseudoDevice, EPERM);
    EXPECT_NE(zobridge::mngCreate("br0_dhcp"), 0);
    node->failing(Operation::networkInfo, EIO);
    Network::NetworkInfo info;
    EXPECT_NE(Network::getNetworkInfo(&info), 0);
    node->failing(Operation::serviceProfile, EIO);
    EXPECT_NE(servprofile::servProfileOnDhcpraPvcCidModeChange(7, 2), 0);
}

TEST_F(Platform, IsReadWhileAnotherThreadChangesIt)
{
    std::atomic<bool> stop{false};
    std::jthread writer([&] {
        for (int i = 0; i < 500; ++i)
            static_cast<void>(
                Interfaces::interfaceSetName(21, i % 2 == 0 ? "a fairly long name, even" : "odd"));
        stop = true;
    });
    std::string name;
    while (!stop) {
        ASSERT_EQ(Interfaces::interfaceGetNameById(21, name), 0);
        ASSERT_TRUE(name == "0/2/1/1" || name == "odd" || name == "a fairly long name, even") << name;
    }
}

TEST_F(Platform, RemembersWhatTheDaemonToldPartsThatAreNotModelled)
{
    EXPECT_EQ(zobridge::instance().lagTest(2), 0);
    EXPECT_EQ(zobridge::instance().issLaDebugMask(3), 0);
    Syslogger::debugMessage("hello", 1);
    EXPECT_EQ(servprofile::servProfileOnDhcpraPvcCidModeChange(7, 2), 0);
    EXPECT_EQ(node->notes(), (std::vector<std::string>{"lagTest 2", "issLaDebugMask 3",
                                                       "debugMessage 1 hello", "pvcCidMode 7 2"}));
}

} // namespace
