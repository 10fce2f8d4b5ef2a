#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

namespace frame {

/// The decimal number at the start of an id's field as strtol reads it: blanks and a sign may stand in front,
/// and a text without a digit is 0. Number keeps the low bits, so that "65636" is VLAN 100.
template <typename Number>
[[nodiscard]] Number numberAtStart(std::string_view text)
{
    return static_cast<Number>(std::strtol(std::string(text).c_str(), nullptr, 10));
}

} // namespace frame
