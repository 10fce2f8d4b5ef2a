#pragma once

#include "relay/model/dhcpraTypes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

using counters_t = std::vector<std::uint64_t>;
using countersPerVlan_t = std::map<std::uint16_t, counters_t>; ///< ascending VLAN

/// The counters of one kind on one interface: in all and by VLAN. Reports get copies; the counters themselves
/// stand where a frame finds them with few steps: those of the VLAN that came first, most often the only one,
/// stand beside the totals. Locking as for dhcpraInterface.
template <std::size_t Size>
class CounterSet
{
public:
    /// False, and nothing counted, for an index that does not exist.
    [[nodiscard]] bool increment(std::size_t index, std::uint16_t vid)
    {
        if (index >= Size)
            return false;
        Pair& pair = counters[index];
        ++pair.total;
        if (!dhcpraTypes::hasVlanCounters(vid))
            return true;
        if (firstVlan == noVlanYet)
            firstVlan = vid;
        if (vid == firstVlan)
            ++pair.ofFirstVlan;
        else
            ++others[vid][index];
        return true;
    }

    void reset() { *this = {}; }

    [[nodiscard]] counters_t all() const { return column(&Pair::total); }
    [[nodiscard]] countersPerVlan_t allPerVlan() const
    {
        countersPerVlan_t copy;
        for (const auto& [vid, ofVlan] : others)
            copy.emplace(vid, counters_t(ofVlan.begin(), ofVlan.end()));
        if (firstVlan != noVlanYet)
            copy.emplace(firstVlan, column(&Pair::ofFirstVlan));
        return copy;
    }

private:
    struct Pair
    {
        std::uint64_t total = 0;
        std::uint64_t ofFirstVlan = 0;
    };
    static constexpr std::uint16_t noVlanYet = 0; // VLAN 0 has no counters of its own
    static_assert(!dhcpraTypes::hasVlanCounters(noVlanYet));

    [[nodiscard]] counters_t column(std::uint64_t Pair::*which) const
    {
        counters_t values;
        for (const Pair& pair : counters)
            values.push_back(pair.*which);
        return values;
    }

    std::uint16_t firstVlan = noVlanYet;
    std::array<Pair, Size> counters{};
    std::map<std::uint16_t, std::array<std::uint64_t, Size>> others;
};

/// Adds element by element; @p sum grows to the size of @p more.
void addCounters(counters_t& sum, const counters_t& more);

/// The same for each VLAN of @p more.
void addCountersPerVlan(countersPerVlan_t& sum, const countersPerVlan_t& more);
