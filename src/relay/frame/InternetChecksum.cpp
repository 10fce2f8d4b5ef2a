#include "relay/frame/InternetChecksum.h"

#include <cstddef>
#include <cstring>

#include <arpa/inet.h>

namespace frame {

namespace {

std::uint16_t fold(std::uint64_t sum)
{
    while (sum > 0xFFFF)
        sum = (sum >> 16) + (sum & 0xFFFF);
    return static_cast<std::uint16_t>(sum);
}

} // namespace

void InternetChecksum::add(std::span<const std::uint8_t> bytes, OddByte oddByte)
{
    // The sum does not care for byte order until the end (RFC 1071, section 2B), so that words are taken as
    // the machine has them, two at a time, and swapped once.
    std::uint64_t native = 0;
    std::size_t at = 0;
    for (; bytes.size() - at >= sizeof(std::uint32_t); at += sizeof(std::uint32_t)) {
        std::uint32_t pair;
        std::memcpy(&pair, &bytes[at], sizeof pair);
        native += pair;
    }
    if (bytes.size() - at >= sizeof(std::uint16_t)) {
        std::uint16_t word;
        std::memcpy(&word, &bytes[at], sizeof word);
        native += word;
        at += sizeof word;
    }
    sum += ntohs(fold(native));
    if (at < bytes.size())
        sum += oddByte == OddByte::high ? std::uint64_t{bytes[at]} << 8 : bytes[at];
}

std::uint16_t InternetChecksum::value() const { return static_cast<std::uint16_t>(~fold(sum)); }

} // namespace frame
