#pragma once

#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

/// Ends the run, so that the fuzzer keeps the input.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

inline std::vector<std::uint8_t> copyOf(std::span<const std::uint8_t> bytes)
{
    return {bytes.begin(), bytes.end()};
}
