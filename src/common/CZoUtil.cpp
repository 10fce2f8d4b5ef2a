#include "common/CZoUtil.h"

#include "wire/Mac.h"

#include <array>
#include <bit>
#include <cstdio>
#include <stdexcept>

std::string CZoUtil::ethertypeToString(int type)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%4.4x", static_cast<unsigned>(type));
    return text.data();
}

std::string CZoUtil::macToString(const unsigned char* mac)
{
    if (mac == nullptr)
        throw std::logic_error("CZoUtil::macToString: null pointer");
    return wire::macText({mac, wire::macSize});
}

long long hton_64(long long value)
{
    const auto bits = static_cast<std::uint64_t>(value);
    std::array<std::uint8_t, 8> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(bits >> (56 - 8 * i));
    return std::bit_cast<long long>(bytes);
}

long long ntoh_64(long long value)
{
    const auto bytes = std::bit_cast<std::array<std::uint8_t, 8>>(value);
    std::uint64_t bits = 0;
    for (const std::uint8_t byte : bytes)
        bits = bits << 8 | byte;
    return static_cast<long long>(bits);
}
