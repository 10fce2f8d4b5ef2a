#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/// Writes XDR (RFC 4506) byte by byte, knowing nothing of the generated filters.
class Xdr
{
public:
    Xdr() = default;
    /// 32-bit values one after the other; a negative one in two's complement.
    Xdr(std::initializer_list<std::int64_t> values)
    {
        for (const std::int64_t value : values)
            u32(value);
    }

    Xdr& u32(std::int64_t value)
    {
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(value >> shift));
        return *this;
    }
    Xdr& zeros(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            u32(0);
        return *this;
    }
    /// A string, or opaque data of variable length: count, bytes, padding.
    Xdr& text(std::string_view value)
    {
        u32(static_cast<std::int64_t>(value.size()));
        bytes.insert(bytes.end(), value.begin(), value.end());
        while (bytes.size() % 4 != 0)
            bytes.push_back(0);
        return *this;
    }
    /// An array of @p size characters: four bytes for each, zero behind the text.
    Xdr& chars(std::string_view value, std::size_t size)
    {
        for (const char c : value)
            u32(static_cast<unsigned char>(c));
        return zeros(size - value.size());
    }
    Xdr& suboption(std::string_view value) { return chars(value, 512); }
    Xdr& format(std::string_view value) { return chars(value, 129); }
    Xdr& add(const Xdr& more)
    {
        bytes.insert(bytes.end(), more.bytes.begin(), more.bytes.end());
        return *this;
    }

    std::vector<std::uint8_t> bytes;
};

} // namespace test
