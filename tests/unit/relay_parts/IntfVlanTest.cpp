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
    EXPECT_TRUE(kept.add(100));
    EXPECT_EQ(this->record(100), "-1||");
    EXPECT_EQ(kept.all().at(100).vlan, 100);
    EXPECT_TRUE(kept.setIdFormat(100, "x"));
    EXPECT_TRUE(kept.add(100));
    EXPECT_EQ(this->record(100), "-1|x|");
    EXPECT_TRUE(kept.add(0));
    kept.remove(100);
    EXPECT_EQ(this->record(100), "none");
    EXPECT_EQ(this->record(0), "-1||");
    kept.clear();
    EXPECT_TRUE(kept.all().empty());

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
    EXPECT_FALSE(kept.setIdFormat(5, longest + "f"));
    EXPECT_EQ(this->record(5), "-1|" + longest + "|" + longest);
}

TYPED_TEST(IntfVlanTest, ARecordThatSaysNothingAnyMoreGoes)
{
    const auto mode = [this](auto value) { return this->records.setMode(5, value) ? this->record(5) : ""; };
    const auto id = [this](const char* f) { return this->records.setIdFormat(5, f) ? this->record(5) : ""; };
    const auto remote = [this](const char* f) {
        return this->records.setRemoteIdFormat(5, f) ? this->record(5) : "";
    };
    EXPECT_EQ(remote(""), "none");
    EXPECT_EQ(mode(TypeParam::noMode), "none");
    EXPECT_EQ(id("a"), "-1|a|");
    EXPECT_EQ(remote("b"), "-1|a|b");
    EXPECT_EQ(id(""), "-1||b");
    EXPECT_EQ(remote(""), "none");
    EXPECT_EQ(mode(this->custom), "2||");
    EXPECT_EQ(id("a"), "2|a|");
    EXPECT_EQ(id(""), "2||");
    EXPECT_EQ(remote("b"), "2||b");
    EXPECT_EQ(mode(TypeParam::noMode), "-1||b");
    EXPECT_EQ(mode(this->custom), "2||b");
    EXPECT_EQ(remote(""), "2||");
    EXPECT_EQ(mode(TypeParam::noMode), "none");
}

} // namespace
