#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

/// Numbers in text, decimal and hexadecimal; nothing throws, numbers saturate.

[[nodiscard]] constexpr bool isDecimalDigit(char c) { return c >= '0' && c <= '9'; }

[[nodiscard]] constexpr char upperCase(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// Value of one hexadecimal digit; none for any other character.
[[nodiscard]] constexpr std::optional<std::uint8_t> hexDigit(char c)
{
    if (isDecimalDigit(c))
        return static_cast<std::uint8_t>(c - '0');
    const char letter = upperCase(c);
    if (letter >= 'A' && letter <= 'F')
        return static_cast<std::uint8_t>(letter - 'A' + 10);
    return std::nullopt;
}

/// The byte that two characters spell. Reading stops at the first that is no digit, as in every number text.
[[nodiscard]] constexpr std::uint8_t hexByte(char first, char second)
{
    const auto high = hexDigit(first);
    if (!high)
        return 0;
    const auto low = hexDigit(second);
    return low ? static_cast<std::uint8_t>(*high << 4 | *low) : *high;
}

/// Reads the decimal digits at @p position and moves behind them; none if there is no digit.
[[nodiscard]] constexpr std::optional<std::uint32_t> readDecimal(std::string_view text, std::size_t& position)
{
    constexpr std::uint64_t top = std::numeric_limits<std::uint32_t>::max();
    const std::size_t begin = position;
    std::uint64_t value = 0;
    for (; position < text.size() && isDecimalDigit(text[position]); ++position) {
        value = value * 10 + static_cast<std::uint64_t>(text[position] - '0');
        value = value < top ? value : top;
    }
    if (position == begin)
        return std::nullopt;
    return static_cast<std::uint32_t>(value);
}

/// The number at the start of a text; an empty or unreadable one reads as 0.
[[nodiscard]] constexpr std::uint32_t decimalValue(std::string_view text)
{
    std::size_t position = 0;
    return readDecimal(text, position).value_or(0);
}

template <class Number>
void appendDecimal(std::string& text, Number number)
{
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    text.append(digits.data(), end);
}

inline void appendHexByte(std::string& text, std::uint8_t byte)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    text += digits[byte >> 4];
    text += digits[byte & 0x0FU];
}

/// Upper-case hexadecimal digits, an even number of them and at least two.
inline void appendHexNumber(std::string& text, std::uint32_t number)
{
    int bytes = 1;
    while (bytes < 4 && number >> 8 * bytes != 0)
        ++bytes;
    while (bytes-- > 0)
        appendHexByte(text, static_cast<std::uint8_t>(number >> 8 * bytes));
}
