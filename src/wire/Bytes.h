#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <type_traits>

namespace wire {

/**
 * The one bounded way to touch wire bytes: a window on a buffer with big-endian accessors that know where it
 * ends. Reads outside answer std::nullopt, writes outside answer false and change nothing. A window on
 * constant bytes (ConstBytes) has the reads only.
 */
template <typename Byte>
class BasicBytes
{
    // Ahead of its uses: clang looks it up where a constraint stands, not at the end of the class.
    static constexpr bool writable = !std::is_const_v<Byte>;

public:
    constexpr BasicBytes() = default;
    constexpr BasicBytes(Byte* data, std::size_t size) : bytes(data, size) {}
    constexpr explicit BasicBytes(std::span<Byte> window) : bytes(window) {}
    /// Whoever may write may also only read.
    template <typename Other>
    requires(std::is_same_v<const Other, Byte>) constexpr BasicBytes(const BasicBytes<Other>& other)
        : bytes(other.data(), other.size())
    {}

    [[nodiscard]] constexpr std::size_t size() const { return bytes.size(); }
    [[nodiscard]] constexpr bool holds(std::size_t offset, std::size_t count) const
    {
        return offset <= bytes.size() && count <= bytes.size() - offset;
    }

    [[nodiscard]] std::optional<std::uint8_t> u8(std::size_t offset) const
    {
        if (!holds(offset, 1))
            return std::nullopt;
        return bytes[offset];
    }
    [[nodiscard]] std::optional<std::uint16_t> be16(std::size_t offset) const
    {
        if (!holds(offset, 2))
            return std::nullopt;
        return static_cast<std::uint16_t>(bytes[offset] << 8 | bytes[offset + 1]);
    }
    [[nodiscard]] std::optional<std::uint32_t> be32(std::size_t offset) const
    {
        if (!holds(offset, 4))
            return std::nullopt;
        return std::uint32_t{bytes[offset]} << 24 | std::uint32_t{bytes[offset + 1]} << 16 |
               std::uint32_t{bytes[offset + 2]} << 8 | bytes[offset + 3];
    }

    bool putU8(std::size_t offset, std::uint8_t value) const requires writable
    {
        if (!holds(offset, 1))
            return false;
        bytes[offset] = value;
        return true;
    }
    bool putBe16(std::size_t offset, std::uint16_t value) const requires writable
    {
        if (!holds(offset, 2))
            return false;
        bytes[offset] = static_cast<std::uint8_t>(value >> 8);
        bytes[offset + 1] = static_cast<std::uint8_t>(value);
        return true;
    }
    bool putBe32(std::size_t offset, std::uint32_t value) const requires writable
    {
        return holds(offset, 4) && putBe16(offset, static_cast<std::uint16_t>(value >> 16)) &&
               putBe16(offset + 2, static_cast<std::uint16_t>(value));
    }
    bool put(std::size_t offset, std::span<const std::uint8_t> source) const requires writable
    {
        if (!holds(offset, source.size()))
            return false;
        if (!source.empty())
            std::memcpy(bytes.data() + offset, source.data(), source.size());
        return true;
    }

    /// The part [offset, offset + count), cut at the end; empty when the offset lies outside.
    [[nodiscard]] constexpr std::span<Byte> part(std::size_t offset, std::size_t count) const
    {
        if (offset >= bytes.size())
            return {};
        return bytes.subspan(offset, count < bytes.size() - offset ? count : bytes.size() - offset);
    }

    /// memmove inside the window; source and target ranges are cut where either would pass the end.
    void move(std::size_t target, std::size_t source, std::size_t count) const requires writable
    {
        if (target >= bytes.size() || source >= bytes.size())
            return;
        const std::size_t room = bytes.size() - (target > source ? target : source);
        std::memmove(bytes.data() + target, bytes.data() + source, count < room ? count : room);
    }

    [[nodiscard]] constexpr Byte* data() const { return bytes.data(); }

private:
    std::span<Byte> bytes;
};

using Bytes = BasicBytes<std::uint8_t>;
using ConstBytes = BasicBytes<const std::uint8_t>;

} // namespace wire
