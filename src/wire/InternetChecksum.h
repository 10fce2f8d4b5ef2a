#pragma once

#include <cstdint>
#include <span>

namespace wire {

/// Where the last byte of an odd number of bytes stands in its word. RFC 1071 says high; the DHCPv6 view sums
/// it as low, which its peers expect.
enum class OddByte { high, low };

/// The one's complement sum of RFC 1071 over 16-bit big-endian words. Pieces may be added in any order, each
/// starts on a word of its own.
class InternetChecksum
{
public:
    void add(std::span<const std::uint8_t> bytes, OddByte oddByte = OddByte::high);
    void add(std::uint16_t word) { sum += word; }
    /// Folded and complemented. A result of 0 stays 0: the substitution of RFC 768 is not made, here or by
    /// peers.
    [[nodiscard]] std::uint16_t value() const;

private:
    std::uint64_t sum = 0;
};

} // namespace wire
