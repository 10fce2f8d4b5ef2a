#pragma once

#include <array>
#include <bit>
#include <climits>
#include <cstddef>
#include <cstring>
#include <sys/select.h>

/// Calls @p visit with each descriptor of the set, in ascending order. Sets are mostly empty and are looked
/// through several times for each management call, so whole words of zeros are skipped.
template <typename Visit>
void forEachDescriptor(const fd_set& set, Visit visit)
{
    constexpr int bits = sizeof(unsigned long) * CHAR_BIT;
    std::array<unsigned long, FD_SETSIZE / bits> words; // what a set is on Linux, the lowest bit first
    static_assert(sizeof words == sizeof set);
    std::memcpy(words.data(), &set, sizeof words);
    for (std::size_t word = 0; word < words.size(); ++word)
        for (unsigned long rest = words[word]; rest != 0; rest &= rest - 1)
            visit(static_cast<int>(word) * bits + std::countr_zero(rest));
}
