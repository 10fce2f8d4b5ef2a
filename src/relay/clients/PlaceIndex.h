#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/**
 * A flat look-up over entries that are numbered from 0, keep their numbers and never go. The table knows
 * numbers only; keys and hashes are the owner's to tell. A look-up touches a slot and the entry it leads to,
 * where a map of nodes would touch two nodes more, which counts when a frame finds none of them in the cache.
 */
class PlaceIndex
{
public:
    using Index = std::uint32_t;
    static constexpr Index none = UINT32_MAX;

    /// @p isWanted(Index) tells whether the entry has the key. The entry's number, or none.
    template <typename IsWanted>
    [[nodiscard]] Index find(std::size_t hash, IsWanted isWanted) const
    {
        if (slots.empty())
            return none;
        for (std::size_t at = hash;; ++at) {
            const Index index = slots[at & (slots.size() - 1)];
            if (index == none || isWanted(index))
                return index;
        }
    }

    /// Takes in the entry behind the last one; @p hashOf(Index) tells the hash of any entry so far.
    template <typename HashOf>
    void add(Index index, HashOf hashOf)
    {
        if (std::size_t{2} * (index + 1) > slots.size()) {
            slots.assign(slots.empty() ? fewest : 2 * slots.size(), none);
            for (Index known = 0; known < index; ++known)
                put(known, hashOf(known));
        }
        put(index, hashOf(index));
    }

private:
    static constexpr std::size_t fewest = 64; // a power of two, as the number of slots always is

    void put(Index index, std::size_t hash)
    {
        std::size_t at = hash;
        while (slots[at & (slots.size() - 1)] != none)
            ++at;
        slots[at & (slots.size() - 1)] = index;
    }

    std::vector<Index> slots; // at most half of them taken
};
