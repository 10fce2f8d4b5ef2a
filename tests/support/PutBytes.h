#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

/// Writing wire bytes in tests, by hand and big-endian; shares nothing with the code under test.
namespace test {

inline void put8(std::vector<std::uint8_t>& out, std::size_t value)
{
    out.push_back(static_cast<std::uint8_t>(value));
}

inline void put16(std::vector<std::uint8_t>& out, std::size_t value)
{
    put8(out, value >> 8);
    put8(out, value);
}

inline void put32(std::vector<std::uint8_t>& out, std::uint32_t value)
{
    put16(out, value >> 16);
    put16(out, value);
}

template <typename Range>
void putAll(std::vector<std::uint8_t>& out, const Range& bytes)
{
    out.insert(out.end(), bytes.begin(), bytes.end());
}

inline void set16(std::vector<std::uint8_t>& out, std::size_t offset, std::uint16_t value)
{
    out.at(offset) = static_cast<std::uint8_t>(value >> 8);
    out.at(offset + 1) = static_cast<std::uint8_t>(value);
}

/// Fields of the record in host order.
template <typename T>
void setHost(std::vector<std::uint8_t>& out, std::size_t offset, T value)
{
    std::memcpy(&out.at(offset), &value, sizeof value);
}

} // namespace test
