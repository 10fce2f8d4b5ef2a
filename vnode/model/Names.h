#pragma once

#include <cstddef>
#include <string_view>

namespace vnode {

/// Longest name of a Linux device, and of an interface in the record (16 bytes with the terminator).
inline constexpr std::size_t deviceNameMax = 15;

/// Whether Linux takes @p name for a device.
[[nodiscard]] constexpr bool isDeviceName(std::string_view name)
{
    if (name.empty() || name.size() > deviceNameMax || name == "." || name == "..")
        return false;
    for (const char letter : name)
        if (letter <= ' ' || letter == '/' || letter == ':' || letter == 0x7F)
            return false;
    return true;
}

} // namespace vnode
