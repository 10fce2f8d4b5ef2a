#include "vnode/model/FrameRecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <vector>

namespace vnode {
namespace {

std::vector<std::uint8_t> hostOrder(std::initializer_list<std::uint8_t> littleEndian)
{
    std::vector<std::uint8_t> bytes(littleEndian);
    if constexpr (std::endian::native == std::endian::big)
        std::ranges::reverse(bytes);
    return bytes;
}

void place(std::vector<std::uint8_t>& target, std::size_t offset, const std::vector<std::uint8_t>& bytes)
{
    std::ranges::copy(bytes, target.begin() + static_cast<std::ptrdiff_t>(offset));
}

std::vector<std::uint8_t> sampleBytes()
{
    std::vector<std::uint8_t> bytes(107, 0);
    place(bytes, 4, {0x60, 0x64});                         // outer tag: priority 3, VLAN 100
    place(bytes, 6, {0x0F, 0xFF});                         // no inner tag
    place(bytes, 48, hostOrder({0x21, 0x01, 0x00, 0x00})); // 289
    place(bytes, 52, hostOrder({0x34, 0x12}));
    place(bytes, 54, hostOrder({0x02, 0x01}));
    place(bytes, 74, {'g', 'e', 'm', '1'});
    place(bytes, 90, {'u', 'p', '0'});
    return bytes;
}

TEST(FrameRecord, StandsAtItsOffsets)
{
    std::vector<std::uint8_t> bytes(110, 0xEE);
    const FrameRecord record{0x6064, recordNoTag, 289, 0x1234, 0x0102, "gem1", "up0"};
    ASSERT_TRUE(writeFrameRecord(record, bytes));
    auto expected = sampleBytes();
    expected.insert(expected.end(), 3, 0xEE);
    EXPECT_EQ(bytes, expected);

    std::vector<std::uint8_t> small(106, 0xEE);
    EXPECT_FALSE(writeFrameRecord(record, small));
    EXPECT_EQ(small, std::vector<std::uint8_t>(106, 0xEE));
}

TEST(FrameRecord, IsReadBack)
{
    const auto bytes = sampleBytes();
    const auto record = readFrameRecord(bytes);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->tag1, 0x6064);
    EXPECT_EQ(record->tag2, recordNoTag);
    EXPECT_EQ(record->fullSize, 289U);
    EXPECT_EQ(record->inputIndex, 0x1234);
    EXPECT_EQ(record->outputIndex, 0x0102);
    EXPECT_EQ(record->inputName, "gem1");
    EXPECT_EQ(record->outputName, "up0");
    EXPECT_FALSE(readFrameRecord(std::span(bytes).first(106)));
}

TEST(FrameRecord, KeepsNamesInsideTheirSixteenBytes)
{
    std::vector<std::uint8_t> bytes(107);
    FrameRecord record;
    record.inputName = "0123456789abcdefghij";
    ASSERT_TRUE(writeFrameRecord(record, bytes));
    EXPECT_EQ(bytes[74 + 14], 'e');
    EXPECT_EQ(bytes[74 + 15], 0);

    // A peer that forgets the terminator: sixteen bytes, and not the neighbour's.
    std::fill(bytes.begin() + 74, bytes.begin() + 106, std::uint8_t{'x'});
    EXPECT_EQ(readFrameRecord(bytes)->inputName, std::string(16, 'x'));
    EXPECT_EQ(readFrameRecord(bytes)->outputName, std::string(16, 'x'));
}

} // namespace
} // namespace vnode
