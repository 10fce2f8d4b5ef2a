#include "relay/model/dhcpraInterface.h"

#include <gtest/gtest.h>

namespace {

/// The operations of one family under common names: both follow the same rules.
struct FamilyV4
{
    using Mode = dhcpraInterface::circuitIdMode_t;
    static constexpr Mode none = dhcpraInterface::DHCPRA_INTF_CIRMODE_NONE;
    static constexpr Mode custom = dhcpraInterface::DHCPRA_INTF_CIRMODE_CUSTOM;

    static bool add(dhcpraInterface& i, std::uint16_t vid) { return i.vlanAdd(vid); }
    static bool remove(dhcpraInterface& i, std::uint16_t vid) { return i.vlanDel(vid); }
    static bool removeAll(dhcpraInterface& i) { return i.vlanDelAll(); }
    static bool setMode(dhcpraInterface& i, std::uint16_t vid, Mode mode)
    {
        return i.setCircuitIdMode(vid, mode);
    }
    static bool setId(dhcpraInterface& i, std::uint16_t vid, const std::string& f)
    {
        return i.setCircuitIdFormat(vid, f);
    }
    static bool setRemote(dhcpraInterface& i, std::uint16_t vid, const std::string& f)
    {
        return i.setRemoteIdFormat(vid, f);
    }
    static bool mode(const dhcpraInterface& i, std::uint16_t vid, Mode& m)
    {
        return i.getCircuitIdMode(vid, m);
    }
    static bool id(const dhcpraInterface& i, std::uint16_t vid, std::string& f)
    {
        return i.getCircuitIdFormat(vid, f);
    }
    static bool remote(const dhcpraInterface& i, std::uint16_t vid, std::string& f)
    {
        return i.getRemoteIdFormat(vid, f);
    }
    static std::size_t count(const dhcpraInterface& i) { return i.getIntfVlanMap().size(); }
    static std::size_t otherCount(const dhcpraInterface& i) { return i.getIntfVlanMapV6().size(); }
};

struct FamilyV6
{
    using Mode = dhcpraInterface::interfaceIdModeV6_t;
    static constexpr Mode none = dhcpraInterface::DHCPRA_INTF_IIDMODE_NONE;
    static constexpr Mode custom = dhcpraInterface::DHCPRA_INTF_IIDMODE_CUSTOM;

    static bool add(dhcpraInterface& i, std::uint16_t vid) { return i.vlanAddV6(vid); }
    static bool remove(dhcpraInterface& i, std::uint16_t vid) { return i.vlanDelV6(vid); }
    static bool removeAll(dhcpraInterface& i) { return i.vlanDelAllV6(); }
    static bool setMode(dhcpraInterface& i, std::uint16_t vid, Mode mode)
    {
        return i.setInterfaceIdModeV6(vid, mode);
    }
    static bool setId(dhcpraInterface& i, std::uint16_t vid, const std::string& f)
    {
        return i.setInterfaceIdFormatV6(vid, f);
    }
    static bool setRemote(dhcpraInterface& i, std::uint16_t vid, const std::string& f)
    {
        return i.setRemoteIdFormatV6(vid, f);
    }
    static bool mode(const dhcpraInterface& i, std::uint16_t vid, Mode& m)
    {
        return i.getInterfaceIdModeV6(vid, m);
    }
    static bool id(const dhcpraInterface& i, std::uint16_t vid, std::string& f)
    {
        return i.getInterfaceIdFormatV6(vid, f);
    }
    static bool remote(const dhcpraInterface& i, std::uint16_t vid, std::string& f)
    {
        return i.getRemoteIdFormatV6(vid, f);
    }
    static std::size_t count(const dhcpraInterface& i) { return i.getIntfVlanMapV6().size(); }
    static std::size_t otherCount(const dhcpraInterface& i) { return i.getIntfVlanMap().size(); }
};

template <class Family>
class IntfVlanTest : public testing::Test
{
protected:
    using Mode = typename Family::Mode;

    /// The record as text, "none" without one.
    std::string record(std::uint16_t vid) const
    {
        Mode mode{};
        std::string idFormat;
        std::string remoteFormat;
        const bool present = Family::mode(interface, vid, mode);
        EXPECT_EQ(Family::id(interface, vid, idFormat), present);
        EXPECT_EQ(Family::remote(interface, vid, remoteFormat), present);
        return present ? std::to_string(mode) + "|" + idFormat + "|" + remoteFormat : "none";
    }

    dhcpraInterface interface {
        1, "0/1", "eth1", Interfaces::interfaceType::subscriber
    };
};

using Families = testing::Types<FamilyV4, FamilyV6>;
TYPED_TEST_SUITE(IntfVlanTest, Families);

TYPED_TEST(IntfVlanTest, RecordStartsSilentAndIsKeptByASecondAdd)
{
    EXPECT_EQ(this->record(100), "none");
    EXPECT_TRUE(TypeParam::add(this->interface, 100));
    EXPECT_EQ(this->record(100), "-1||");
    EXPECT_TRUE(TypeParam::setId(this->interface, 100, "x"));
    EXPECT_TRUE(TypeParam::add(this->interface, 100));
    EXPECT_EQ(this->record(100), "-1|x|");
    EXPECT_EQ(TypeParam::otherCount(this->interface), 0U);
}

TYPED_TEST(IntfVlanTest, NoVlanHasNoRecord)
{
    for (const std::uint16_t vid : std::initializer_list<std::uint16_t>{0x0FFF, 0x1FFF, 0xFFFF}) {
        EXPECT_FALSE(TypeParam::add(this->interface, vid));
        EXPECT_FALSE(TypeParam::setMode(this->interface, vid, TypeParam::custom));
        EXPECT_FALSE(TypeParam::setId(this->interface, vid, "x"));
        EXPECT_FALSE(TypeParam::setRemote(this->interface, vid, "x"));
        EXPECT_TRUE(TypeParam::setId(this->interface, vid, ""));
    }
    EXPECT_TRUE(TypeParam::add(this->interface, 0));
    EXPECT_EQ(TypeParam::count(this->interface), 1U);
}

TYPED_TEST(IntfVlanTest, FormatsAreLimitedTo128Characters)
{
    const std::string longest(128, 'f');
    EXPECT_FALSE(TypeParam::setId(this->interface, 5, longest + "f"));
    EXPECT_FALSE(TypeParam::setRemote(this->interface, 5, longest + "f"));
    EXPECT_EQ(this->record(5), "none");
    EXPECT_TRUE(TypeParam::setId(this->interface, 5, longest));
    EXPECT_TRUE(TypeParam::setRemote(this->interface, 5, longest));
    EXPECT_FALSE(TypeParam::setId(this->interface, 5, longest + "f"));
    EXPECT_EQ(this->record(5), "-1|" + longest + "|" + longest);
}

TYPED_TEST(IntfVlanTest, RecordThatSaysNothingAnyMoreGoes)
{
    EXPECT_TRUE(TypeParam::setId(this->interface, 5, "a"));
    EXPECT_TRUE(TypeParam::setRemote(this->interface, 5, "b"));
    EXPECT_TRUE(TypeParam::setId(this->interface, 5, ""));
    EXPECT_EQ(this->record(5), "-1||b");
    EXPECT_TRUE(TypeParam::setRemote(this->interface, 5, ""));
    EXPECT_EQ(this->record(5), "none");
    EXPECT_TRUE(TypeParam::setRemote(this->interface, 5, ""));
    EXPECT_EQ(this->record(5), "none");
}

TYPED_TEST(IntfVlanTest, EmptyFormatKeepsARecordWithAMode)
{
    EXPECT_TRUE(TypeParam::setMode(this->interface, 5, TypeParam::custom));
    EXPECT_TRUE(TypeParam::setId(this->interface, 5, "a"));
    EXPECT_TRUE(TypeParam::setId(this->interface, 5, ""));
    EXPECT_EQ(this->record(5), std::to_string(TypeParam::custom) + "||");
}

TYPED_TEST(IntfVlanTest, TakingTheModeAway)
{
    EXPECT_TRUE(TypeParam::setMode(this->interface, 5, TypeParam::none));
    EXPECT_EQ(this->record(5), "none");
    EXPECT_TRUE(TypeParam::setMode(this->interface, 5, TypeParam::custom));
    EXPECT_TRUE(TypeParam::setRemote(this->interface, 5, "b"));
    EXPECT_TRUE(TypeParam::setMode(this->interface, 5, TypeParam::none));
    EXPECT_EQ(this->record(5), "-1||b");
    EXPECT_TRUE(TypeParam::setMode(this->interface, 6, TypeParam::custom));
    EXPECT_TRUE(TypeParam::setMode(this->interface, 6, TypeParam::none));
    EXPECT_EQ(this->record(6), "none");
}

TYPED_TEST(IntfVlanTest, DeletingIsAlwaysWellDone)
{
    EXPECT_TRUE(TypeParam::remove(this->interface, 5));
    EXPECT_TRUE(TypeParam::add(this->interface, 5));
    EXPECT_TRUE(TypeParam::add(this->interface, 6));
    EXPECT_TRUE(TypeParam::remove(this->interface, 5));
    EXPECT_EQ(this->record(5), "none");
    EXPECT_TRUE(TypeParam::removeAll(this->interface));
    EXPECT_EQ(TypeParam::count(this->interface), 0U);
}

} // namespace
