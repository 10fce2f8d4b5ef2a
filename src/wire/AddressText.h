#pragma once

#include "wire/Ipv6.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

/// Texts of IP addresses. IPv4 addresses are numbers in host order.
namespace wire {

/// Dotted quad.
[[nodiscard]] std::string ipv4Text(std::uint32_t address);
/// Reads a dotted quad of four decimal numbers.
[[nodiscard]] std::optional<std::uint32_t> readIpv4(const std::string& text);

/// The text of RFC 5952 for the first 16 bytes; empty for less.
[[nodiscard]] std::string ipv6Text(std::span<const std::uint8_t> address);
[[nodiscard]] std::optional<Ipv6Address> readIpv6(const std::string& text);

} // namespace wire
