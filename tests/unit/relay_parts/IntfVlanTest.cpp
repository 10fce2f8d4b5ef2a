#include "relay/model/dhcpraInterface.h"

#include <gtest/gtest.h>

namespace {

/// The operations of one family under common names: both follow the same rules.
template <typename ModeType>
struct Operations
{
    using Mode = ModeType;
    template <typename... Arguments>
    using Setter = bool (dhcpraInterface::*)(std::uint16_t, Arguments...);
    template <typename Value>
    using Getter = bool (dhcpraInterface::*)(std::uint16_t, Value&) const;

    Mode none, custom;
    Setter<> add, remove;
    bool (dhcpraInterface::*removeAll)();
    Setter<Mode> setMode;
    Setter<const std::string&> setId, setRemote;
    Getter<Mode> mode;
    Getter<std::string> id, remote;
};

using I = dhcpraInterface;
struct V4 : Operations<I::circuitIdMode_t>
{
    V4()
        : Operations{I::DHCPRA_INTF_CIRMODE_NONE,
                     I::DHCPRA_INTF_CIRMODE_CUSTOM,
                     &I::vlanAdd,
                     &I::vlanDel,
                     &I::vlanDelAll,
                     &I::setCircuitIdMode,
                     &I::setCircuitIdFormat,
                     &I::setRemoteIdFormat,
                     &I::getCircuitIdMode,
                     &I::getCircuitIdFormat,
                     &I::getRemoteIdFormat}
    {}
};
struct V6 : Operations<I::interfaceIdModeV6_t>
{
    V6()
        : Operations{I::DHCPRA_INTF_IIDMODE_NONE,
                     I::DHCPRA_INTF_IIDMODE_CUSTOM,
                     &I::vlanAddV6,
                     &I::vlanDelV6,
                     &I::vlanDelAllV6,
                     &I::setInterfaceIdModeV6,
                     &I::setInterfaceIdFormatV6,
                     &I::setRemoteIdFormatV6,
                     &I::getInterfaceIdModeV6,
                     &I::getInterfaceIdFormatV6,
                     &I::getRemoteIdFormatV6}
    {}
};

template <class Family>
class IntfVlanTest : public testing::Test, protected Family
{
protected:
    /// The record as text, "none" without one.
    std::string record(std::uint16_t vid) const
    {
        typename Family::Mode recorded{};
        std::string idFormat;
        std::string remoteFormat;
        const bool present = (interface.*this->mode)(vid, recorded);
        EXPECT_EQ((interface.*this->id)(vid, idFormat), present);
        EXPECT_EQ((interface.*this->remote)(vid, remoteFormat), present);
        return present ? std::to_string(recorded) + "|" + idFormat + "|" + remoteFormat : "none";
    }
    template <typename... Parameters, typename... Arguments>
    bool may(bool (I::*operation)(std::uint16_t, Parameters...), int vid, const Arguments&... arguments)
    {
        return (interface.*operation)(static_cast<std::uint16_t>(vid), arguments...);
    }

    I interface {
        1, "0/1", "eth1", Interfaces::interfaceType::subscriber
    };
};

using Families = testing::Types<V4, V6>;
TYPED_TEST_SUITE(IntfVlanTest, Families);

TYPED_TEST(IntfVlanTest, ARecordIsMadeByItsFirstMemberAndKeptByAnAdd)
{
    EXPECT_EQ(this->record(100), "none");
    EXPECT_TRUE(this->may(this->add, 100));
    EXPECT_EQ(this->record(100), "-1||");
    EXPECT_TRUE(this->may(this->setId, 100, "x"));
    EXPECT_TRUE(this->may(this->add, 100));
    EXPECT_EQ(this->record(100), "-1|x|");
    EXPECT_EQ(this->interface.getIntfVlanMap().size() + this->interface.getIntfVlanMapV6().size(), 1U);
    EXPECT_TRUE(this->may(this->add, 0));
    EXPECT_TRUE(this->may(this->remove, 100));
    EXPECT_TRUE(this->may(this->remove, 100)) << "deleting is always well done";
    EXPECT_EQ(this->record(100), "none");
    EXPECT_EQ(this->record(0), "-1||");
    EXPECT_TRUE((this->interface.*this->removeAll)());
    EXPECT_EQ(this->record(0), "none");

    for (const int vid : {0x0FFF, 0x1FFF, 0xFFFF}) {
        EXPECT_FALSE(this->may(this->add, vid));
        EXPECT_FALSE(this->may(this->setMode, vid, this->custom));
        EXPECT_FALSE(this->may(this->setId, vid, "x"));
        EXPECT_FALSE(this->may(this->setRemote, vid, "x"));
        EXPECT_TRUE(this->may(this->setId, vid, ""));
    }
}

TYPED_TEST(IntfVlanTest, FormatsAreLimitedTo128Characters)
{
    const std::string longest(128, 'f');
    EXPECT_FALSE(this->may(this->setId, 5, longest + "f"));
    EXPECT_FALSE(this->may(this->setRemote, 5, longest + "f"));
    EXPECT_EQ(this->record(5), "none");
    EXPECT_TRUE(this->may(this->setId, 5, longest));
    EXPECT_TRUE(this->may(this->setRemote, 5, longest));
    EXPECT_FALSE(this->may(this->setId, 5, longest + "f"));
    EXPECT_EQ(this->record(5), "-1|" + longest + "|" + longest);
}

TYPED_TEST(IntfVlanTest, ARecordThatSaysNothingAnyMoreGoes)
{
    const std::string customMode = std::to_string(this->custom);
    const auto after = [this](auto operation, auto value) {
        EXPECT_TRUE(this->may(operation, 5, value));
        return this->record(5);
    };
    EXPECT_EQ(after(this->setRemote, ""), "none");
    EXPECT_EQ(after(this->setMode, this->none), "none");
    EXPECT_EQ(after(this->setId, "a"), "-1|a|");
    EXPECT_EQ(after(this->setRemote, "b"), "-1|a|b");
    EXPECT_EQ(after(this->setId, ""), "-1||b");
    EXPECT_EQ(after(this->setRemote, ""), "none");
    EXPECT_EQ(after(this->setMode, this->custom), customMode + "||");
    EXPECT_EQ(after(this->setId, "a"), customMode + "|a|");
    EXPECT_EQ(after(this->setId, ""), customMode + "||");
    EXPECT_EQ(after(this->setRemote, "b"), customMode + "||b");
    EXPECT_EQ(after(this->setMode, this->none), "-1||b");
    EXPECT_EQ(after(this->setMode, this->custom), customMode + "||b");
    EXPECT_EQ(after(this->setRemote, ""), customMode + "||");
    EXPECT_EQ(after(this->setMode, this->none), "none");
}

} // namespace
