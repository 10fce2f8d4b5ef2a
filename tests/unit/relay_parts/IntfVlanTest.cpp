#include "relay/model/dhcpraInterface.h"

#include <gtest/gtest.h>

namespace {

template <class Record>
class IntfVlanTest : public testing::Test
{
protected:
    static constexpr auto custom = typename Record::Mode{2}; ///< any that is not noMode

    /// The record as text, "none" without one.
    std::string record(std::uint16_t vid)
    {
        const Record* const found = records.find(vid);
        if (found == nullptr)
            return "none";
        Record copy = *found;
        return std::to_string(copy.mode()) + "|" + copy.idFormat() + "|" + copy.remoteIdFormat;
    }

    IntfVlanRecords<Record> records;
};

using Families = testing::Types<dhcpraInterface::intfVlan, dhcpraInterface::intfVlanV6>;
TYPED_TEST_SUITE(IntfVlanTest, Families);

TYPED_TEST(IntfVlanTest, ARecordIsMadeByItsFirstMemberAndKeptByAnAdd)
{
    auto& kept = this->records;
    EXPECT_TRUE(kept.setIdFormat(100, "x") && kept.add(100) && kept.add(0));
    EXPECT_EQ(this->record(100) + this->record(0), "-1|x|-1||");
    kept.remove(100);
    EXPECT_EQ(this->record(100) + this->record(0), "none-1||");
    for (const std::uint16_t vid : std::initializer_list<std::uint16_t>{0x0FFF, 0x1FFF, 0xFFFF}) {
        EXPECT_FALSE(kept.add(vid) || kept.setMode(vid, this->custom) || kept.setIdFormat(vid, "x") ||
                     kept.setRemoteIdFormat(vid, "x"));
        EXPECT_TRUE(kept.setIdFormat(vid, ""));
    }
}

TYPED_TEST(IntfVlanTest, FormatsAreLimitedTo128Characters)
{
    auto& kept = this->records;
    const std::string longest(128, 'f');
    EXPECT_FALSE(kept.setIdFormat(5, longest + "f") || kept.setRemoteIdFormat(5, longest + "f"));
    EXPECT_EQ(this->record(5), "none");
    EXPECT_TRUE(kept.setIdFormat(5, longest) && kept.setRemoteIdFormat(5, longest));
}

TYPED_TEST(IntfVlanTest, ARecordThatSaysNothingAnyMoreGoes)
{
    const auto after = [this](bool set) { return set ? this->record(5) : "refused"; };
    auto& kept = this->records;
    EXPECT_EQ(after(kept.setRemoteIdFormat(5, "") && kept.setMode(5, TypeParam::noMode)), "none");
    EXPECT_EQ(after(kept.setIdFormat(5, "a") && kept.setRemoteIdFormat(5, "b")), "-1|a|b");
    EXPECT_EQ(after(kept.setIdFormat(5, "")), "-1||b");
    EXPECT_EQ(after(kept.setMode(5, this->custom) && kept.setRemoteIdFormat(5, "")), "2||");
    EXPECT_EQ(after(kept.setIdFormat(5, "a") && kept.setMode(5, TypeParam::noMode)), "-1|a|");
    EXPECT_EQ(after(kept.setIdFormat(5, "")), "none");
    EXPECT_EQ(after(kept.setRemoteIdFormat(5, "b") && kept.setRemoteIdFormat(5, "")), "none");
    EXPECT_EQ(after(kept.setMode(5, this->custom) && kept.setMode(5, TypeParam::noMode)), "none");
}

} // namespace
