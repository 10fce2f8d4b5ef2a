#pragma once

#include <cstddef>
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
    /// The same without the word at @p field, an even offset: the checksum's own place counts as zero.
    void addWithout(std::span<const std::uint8_t> bytes, std::size_t field, OddByte oddByte = OddByte::high);
    /// Folded and complemented. A result of 0 stays 0: the substitution of RFC 768 is not made, here or by
    /// peers.
    [[nodiscard]] std::uint16_t value() const;

private:
    std::uint64_t sum = 0;
};

/// Checksum of a TCP, UDP or ICMPv6 segment with its pseudo header (RFC 9293 section 3.1, RFC 768, RFC 8200
/// section 8.1), the word at @p field of the segment counted as zero. @p addresses: source and destination,
/// which adjoin in the IP header.
[[nodiscard]] std::uint16_t transportChecksum(std::span<const std::uint8_t> addresses, std::uint8_t protocol,
                                              std::span<const std::uint8_t> segment, std::size_t field);

} // namespace wire
