#pragma once

#include "platform/zomacTable.h"

#include <bit>
#include <cstdint>

/// The lowest VLAN at or above @p from that is marked; false if there is none.
[[nodiscard]] inline bool getNextVlan(const zomacTableVlanBitmap& bitmap, std::uint16_t from,
                                      std::uint16_t* vlan)
{
    for (std::size_t word = from / 32U; word < bitmap.size(); ++word) {
        const std::uint32_t below = word == from / 32U ? from % 32U : 0;
        const std::uint32_t marked = bitmap[word] & (UINT32_MAX >> below);
        if (marked == 0)
            continue;
        *vlan = static_cast<std::uint16_t>(word * 32 + static_cast<unsigned>(std::countl_zero(marked)));
        return true;
    }
    return false;
}
