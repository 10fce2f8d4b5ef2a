#include "vnode/model/FrameRecord.h"

#include "wire/Bytes.h"

#include <algorithm>
#include <array>
#include <bit>

namespace vnode {

namespace {

/// Offsets in the record. The bytes between are reserved and stay zero: a packet socket looks at bytes 12 and
/// 13 of whatever it receives, and a tag protocol there would make the kernel cut four bytes out of the
/// record.
enum Offset : std::size_t {
    offsetTag1 = 4,
    offsetTag2 = 6,
    offsetFullSize = 48,
    offsetInputIndex = 52,
    offsetOutputIndex = 54,
    offsetInputName = 74,
    offsetOutputName = 90,
};
static_assert(offsetOutputName + FrameRecord::nameSize + 1 == frameRecordSize);

/// Sizes and indexes in the record are in the host's order: record and daemon are on one board.
template <typename Value>
void putHost(const wire::Bytes& wire, std::size_t offset, Value value)
{
    wire.put(offset, std::bit_cast<std::array<std::uint8_t, sizeof(Value)>>(value));
}

template <typename Value>
Value hostAt(const wire::ConstBytes& wire, std::size_t offset)
{
    std::array<std::uint8_t, sizeof(Value)> bytes{};
    std::ranges::copy(wire.part(offset, sizeof(Value)), bytes.begin());
    return std::bit_cast<Value>(bytes);
}

void putName(const wire::Bytes& wire, std::size_t offset, std::string_view name)
{
    std::array<std::uint8_t, FrameRecord::nameSize> bytes{};
    std::ranges::copy(name.substr(0, bytes.size() - 1), bytes.begin());
    wire.put(offset, bytes);
}

std::string nameAt(const wire::ConstBytes& wire, std::size_t offset)
{
    const auto bytes = wire.part(offset, FrameRecord::nameSize);
    return {bytes.begin(), std::ranges::find(bytes, std::uint8_t{0})};
}

} // namespace

bool writeFrameRecord(const FrameRecord& record, std::span<std::uint8_t> target)
{
    if (target.size() < frameRecordSize)
        return false;
    const wire::Bytes wire(target.first(frameRecordSize));
    std::ranges::fill(target.first(frameRecordSize), std::uint8_t{0});
    wire.putBe16(offsetTag1, record.tag1);
    wire.putBe16(offsetTag2, record.tag2);
    putHost(wire, offsetFullSize, record.fullSize);
    putHost(wire, offsetInputIndex, record.inputIndex);
    putHost(wire, offsetOutputIndex, record.outputIndex);
    putName(wire, offsetInputName, record.inputName);
    putName(wire, offsetOutputName, record.outputName);
    return true;
}

std::optional<FrameRecord> readFrameRecord(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() < frameRecordSize)
        return std::nullopt;
    const wire::ConstBytes wire(bytes.first(frameRecordSize));
    FrameRecord record;
    record.tag1 = wire.be16(offsetTag1).value_or(recordNoTag);
    record.tag2 = wire.be16(offsetTag2).value_or(recordNoTag);
    record.fullSize = hostAt<std::uint32_t>(wire, offsetFullSize);
    record.inputIndex = hostAt<std::uint16_t>(wire, offsetInputIndex);
    record.outputIndex = hostAt<std::uint16_t>(wire, offsetOutputIndex);
    record.inputName = nameAt(wire, offsetInputName);
    record.outputName = nameAt(wire, offsetOutputName);
    return record;
}

} // namespace vnode
