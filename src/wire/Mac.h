#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace wire {

inline constexpr std::size_t macSize = 6;
using Mac = std::array<std::uint8_t, macSize>;

inline constexpr Mac broadcastMac{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

/// True for multicast and broadcast addresses (IEEE 802, the I/G bit).
[[nodiscard]] constexpr bool isGroup(const Mac& mac) { return (mac[0] & 1U) != 0; }

enum class LetterCase : std::uint8_t { upper, lower };

/// "02:00:00:00:00:0A" for the first six bytes; empty for less than six.
[[nodiscard]] std::string macText(std::span<const std::uint8_t> mac, LetterCase letters = LetterCase::upper);

/// Reads six groups of one or two hex digits, with ':' or '-' between all of them, or twelve hex digits
/// without a separator.
[[nodiscard]] std::optional<Mac> readMac(std::string_view text);

} // namespace wire
