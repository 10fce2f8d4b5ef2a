#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace frame {

/// The binary form of an id if there is one, else its text.
[[nodiscard]] inline std::span<const std::uint8_t> chooseIdForm(const std::string& text,
                                                                const std::vector<std::uint8_t>& binary)
{
    if (!binary.empty())
        return binary;
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

} // namespace frame
