#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace test {

/// The checksum of RFC 1071, written for tests on purpose a second time: byte by byte, nothing shared with
/// the code under test.
class InternetSum
{
public:
    void add(std::span<const std::uint8_t> bytes)
    {
        for (std::size_t i = 0; i < bytes.size(); ++i)
            sum += i % 2 == 0 ? bytes[i] * 256u : bytes[i];
    }
    void addWord(std::uint16_t word) { sum += word; }
    /// 0xFFFF over bytes that include a right checksum.
    [[nodiscard]] std::uint16_t folded() const
    {
        std::uint64_t value = sum;
        while (value > 0xFFFF)
            value = value / 0x10000 + value % 0x10000;
        return static_cast<std::uint16_t>(value);
    }
    [[nodiscard]] std::uint16_t checksum() const { return static_cast<std::uint16_t>(0xFFFF - folded()); }

private:
    std::uint64_t sum = 0;
};

/// Over a UDP datagram and its pseudo header; @p addresses are source and destination.
inline InternetSum udpSum(std::span<const std::uint8_t> addresses, std::uint16_t length,
                          std::span<const std::uint8_t> datagram)
{
    constexpr std::uint16_t udpProtocol = 17;
    InternetSum sum;
    sum.add(addresses);
    sum.addWord(udpProtocol);
    sum.addWord(length);
    sum.add(datagram);
    return sum;
}

} // namespace test
