#include "wire/InternetChecksum.h"

#include <cstddef>
#include <cstring>

#include <arpa/inet.h>

namespace wire {

namespace {

std::uint16_t fold(std::uint64_t sum)
{
    while (sum > 0xFFFF)
        sum = (sum >> 16) + (sum & 0xFFFF);
    return static_cast<std::uint16_t>(sum);
}

template <typename Number>
Number nativeAt(std::span<const std::uint8_t> bytes, std::size_t at)
{
    Number number;
    std::memcpy(&number, &bytes[at], sizeof number);
    return number;
}

} // namespace

void InternetChecksum::add(std::span<const std::uint8_t> bytes, OddByte oddByte)
{
    // The sum does not care for byte order until the end (RFC 1071, section 2B), so that words are taken as
    // the machine has them, four at a time, and swapped once.
    std::uint64_t native = 0;
    std::size_t at = 0;
    for (; bytes.size() - at >= sizeof(std::uint64_t); at += sizeof(std::uint64_t)) {
        const auto words = nativeAt<std::uint64_t>(bytes, at);
        native += (words & 0xFFFFFFFF) + (words >> 32);
    }
    for (; bytes.size() - at >= sizeof(std::uint16_t); at += sizeof(std::uint16_t))
        native += nativeAt<std::uint16_t>(bytes, at);
    sum += ntohs(fold(native));
    if (at < bytes.size())
        sum += oddByte == OddByte::high ? std::uint64_t{bytes[at]} << 8 : bytes[at];
}

std::uint16_t InternetChecksum::value() const { return static_cast<std::uint16_t>(~fold(sum)); }

} // namespace wire
