#include "wire/InternetChecksum.h"

#include <algorithm>
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

void InternetChecksum::addWithout(std::span<const std::uint8_t> bytes, std::size_t field, OddByte oddByte)
{
    const std::size_t behind = field + sizeof(std::uint16_t);
    add(bytes.first(std::min(bytes.size(), field)), oddByte);
    if (bytes.size() > behind)
        add(bytes.subspan(behind), oddByte);
}

std::uint16_t InternetChecksum::value() const { return static_cast<std::uint16_t>(~fold(sum)); }

std::uint16_t transportChecksum(std::span<const std::uint8_t> addresses, std::uint8_t protocol,
                                std::span<const std::uint8_t> segment, std::size_t field)
{
    InternetChecksum sum;
    sum.add(addresses);
    sum.add(std::uint16_t{protocol});
    sum.add(static_cast<std::uint16_t>(segment.size()));
    sum.addWithout(segment, field);
    return sum.value();
}

} // namespace wire
