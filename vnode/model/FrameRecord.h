#pragma once

#include "vnode/model/Types.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vnode {

/// Size of the record in front of every frame exchanged with the daemon, and of the daemon's whole buffer.
inline constexpr std::size_t frameRecordSize = 107;
inline constexpr std::size_t frameBufferSize = 2048;
inline constexpr std::size_t divertedFrameMax = frameBufferSize - frameRecordSize;
/// Low 12 bits of a tag word in the record that stands for "no such tag".
inline constexpr std::uint16_t recordNoTag = 0x0FFF;

/// The record's fields.
struct FrameRecord
{
    static constexpr std::size_t nameSize = 16;

    std::uint16_t tag1 = recordNoTag; ///< outer tag control word
    std::uint16_t tag2 = recordNoTag; ///< inner tag control word
    std::uint32_t fullSize = 0;       ///< record and frame
    std::uint16_t inputIndex = 0;     ///< interface ids
    std::uint16_t outputIndex = 0;
    std::string inputName; ///< at most 15 characters travel
    std::string outputName;
};

/// Writes the record to the first 107 bytes of @p target, reserved bytes zero; false if they are not there.
bool writeFrameRecord(const FrameRecord& record, std::span<std::uint8_t> target);

/// Reads a record; nothing if fewer than 107 bytes are there. Names are read at most 16 bytes.
[[nodiscard]] std::optional<FrameRecord> readFrameRecord(std::span<const std::uint8_t> bytes);

} // namespace vnode
