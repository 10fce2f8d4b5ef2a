#include "vnode/model/FrameRecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <vector>

namespace vnode {
namespace {

/// The sample record as it stands in memory; @p littleEndian numbers are turned on a host of the other order.
std::vector<std::uint8_t> sampleBytes()
{
    std::vector<std::uint8_t> bytes(107, 0);
    const auto place = [&](std::size_t offset, std::vector<std::uint8_t> value, bool littleEndian = false) {
        if (littleEndian && std::endian::native == std::endian::big)
            std::ranges::reverse(value);
        std::ranges::copy(value, bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    };
    place(4, {0x60, 0x64});                    // outer tag: priority 3, VLAN 100
    place(6, {0x0F, 0xFF});                    // no inner tag
    place(48, {0x21, 0x01, 0x00, 0x00}, true); // 289
    place(52, {0x34, 0x12}, true);
    place(54, {0x02, 0x01}, true);
    place(74, {'g', 'e', 'm', '1'});
    place(90, {'u', 'p', '0'});
    return bytes;
}

TEST(FrameRecord, StandsAtItsOffsetsBothWays)
{
    const FrameRecord record{0x6064, recordNoTag, 289, 0x1234, 0x0102, "gem1", "up0"};
    std::vector<std::uint8_t> bytes(110, 0xEE);
    ASSERT_TRUE(writeFrameRecord(record, bytes));
    auto expected = sampleBytes();
    expected.insert(expected.end(), 3, 0xEE);
    EXPECT_EQ(bytes, expected);

    const auto seen = readFrameRecord(expected);
    ASSERT_TRUE(seen);
    EXPECT_EQ(std::tie(seen->tag1, seen->tag2, seen->fullSize, seen->inputIndex, seen->outputIndex,
                       seen->inputName, seen->outputName),
              std::tie(record.tag1, record.tag2, record.fullSize, record.inputIndex, record.outputIndex,
                       record.inputName, record.outputName));

    std::vector<std::uint8_t> small(106, 0xEE);
    EXPECT_FALSE(writeFrameRecord(record, small));
    EXPECT_EQ(small, std::vector<std::uint8_t>(106, 0xEE));
    EXPECT_FALSE(readFrameRecord(small));
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
