#include "support/NodeBuilder.h"

#include "platform/Interfaces.h"
#include "platform/Node.h"
#include "platform/driver.h"
#include "platform/zobridge.h"
#include "platform/zomacTable.h"
#include "vnode/model/NodeFile.h"

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

    test::TestNode node{vnode::parseNode(
        R"(<node mac="02:00:00:00:00:01" ipv4="10.0.0.1" ipv6="2001:db8::1" boardType="7" slot="3" options="5">
<vlan id="100" name="data"/><vlan id="200"/>
<interface id="1" name="0/1" type="eth"/><port device="up0" interface="1" tagged="100 200"/>
<interface id="3" name="0/2" type="pon"/><interface id="20" name="0/2/1" type="onu" parent="3"/>
<interface id="21" name="0/2/1/1" type="gem" parent="20" description="a subscriber" panel="10" port="2" onu="1"
 gem="1"/><port device="sub0" interface="21" untagged="100"/>
</node>)",
        "node")};
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
    static_cast<void>(node.receive("sub0", frame));
    zomacTableVlanBitmap expected{};
    expected[3] = 1U << (31 - 4); // VLAN 100
    const zomacTableMacPort key{client, 21};
    EXPECT_EQ(output<zomacTableVlanBitmap>(zomacTableGetVlanBitmapForMacPort, "br0", key), expected);
    node.failing(Operation::macTableRead, EIO, 1);
    expectFailure(zomacTableGetVlanBitmapForMacPort, expected, "br0", key);
}

TEST_F(Platform, KnowsTheNodesOfGuardAndInspectionButHasNoEngineForThem)
{
    std::array<char, 64> record{"21"};
    const int guard = zobridge::br_open("", "ipsg");
    const int acl = zobridge::br_open("br0", "acl");
    expectError(driver::ioctl(guard, 0xC0047A12, nullptr), EOPNOTSUPP);
    expectError(driver::ioctl(guard, 0xC0047A10, record.data()), EOPNOTSUPP);
    const vnode::DriverCall told = node.driverCalls().back();
    EXPECT_EQ(told.path, "/proc/net/zobridge/br0/ipsg");
    EXPECT_EQ(told.request, 0xC0047A10);
    EXPECT_EQ(told.data, std::vector<std::uint8_t>(record.begin(), record.end()));
    expectError(driver::ioctl(acl, 0xC0047A13, record.data()), EOPNOTSUPP);
    EXPECT_EQ(node.driverCalls().back().data.size(), 44U);
    expectError(driver::ioctl(guard, 0xC0047A13, record.data()), ENOTTY); // the other node's
    expectError(driver::write(guard, "x", 1), EINVAL);
    expectError(driver::write(acl, "selector add S\n", 15), EOPNOTSUPP);
    EXPECT_EQ(node.driverCalls().back().data.size(), 15U);
    node.failing(Operation::driverWrite, EIO);
    expectError(driver::write(acl, "x", 1), EIO);
    EXPECT_EQ(driver::close(guard), 0);

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
    std::array<char, 36> record;
    record.fill('x');
    expectError(driver::ioctl(fd, attachRequest, record.data()), EINVAL); // names without an end
    expectError(driver::write(fd, "x", 1), EBADF);
    EXPECT_EQ(driver::close(fd), 0);
    expectError(driver::close(fd), EBADF);
    expectError(driver::ioctl(fd, attachRequest, record.data()), EBADF);

    node.failing({Operation::driverOpen, EMFILE, 1, 1, path, 0});
    EXPECT_GE(driver::open(path, O_RDONLY), 0) << "the first one is skipped";
    expectError(driver::open("/proc/net/nothing", O_RDONLY), ENOENT); // not of that path
    expectError(driver::open(path, O_RDONLY), EMFILE);
    const int again = driver::open(path, O_RDONLY);
    EXPECT_GE(again, 0) << "used up";
    node.failing({Operation::driverIoctl, EPERM, 0, 1, "", attachRequest});
    expectError(driver::ioctl(again, 0x1234, nullptr), ENOTTY); // not that request
    expectError(driver::ioctl(again, attachRequest, record.data()), EPERM);
}

TEST_F(Platform, FailsOnDemand)
{
    node.failing(Operation::registryRead, EIO, 1);
    expectFailure(interfaceGetTypeById, eth, 21);
    EXPECT_EQ(output<interfaceType>(interfaceGetTypeById, 21), gem);
    node.failing(Operation::registryWrite, EIO);
    EXPECT_NE(interfaceSetName(21, "x"), 0);
    EXPECT_EQ(zobridge::mngCreate("br0_dhcp"), 0);
    EXPECT_NE(zobridge::mngCreate("br0_dhcp"), 0) << "it is there from an earlier run";
    EXPECT_EQ(zobridge::openFds(""), 0);
    node.failing(Operation::createPseudoDevice, EPERM);
    EXPECT_NE(zobridge::mngCreate("br1_dhcp"), 0);
    node.failing(Operation::networkInfo, EIO);
    Network::NetworkInfo info;
    EXPECT_NE(Network::getNetworkInfo(&info), 0);
}

TEST_F(Platform, RemembersWhatTheDaemonToldPartsThatAreNotModelled)
{
    Syslogger::debugMessage("hello", 1);
    EXPECT_EQ(servprofile::servProfileOnDhcpraPvcCidModeChange(7, 2), 0);
    EXPECT_EQ(node.notes(), (std::vector<std::string>{"debugMessage 1 hello", "pvcCidMode 7 2"}));
    node.failing(Operation::serviceProfile, EIO);
    EXPECT_NE(servprofile::servProfileOnDhcpraPvcCidModeChange(7, 2), 0);
}

} // namespace
