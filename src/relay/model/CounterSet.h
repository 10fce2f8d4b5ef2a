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
/// stand where a frame finds them with few steps. Locking as for dhcpraInterface.
template <std::size_t Size>
class CounterSet
{
public:
    /// False, and nothing counted, for an index that does not exist.
    [[nodiscard]] bool increment(std::size_t index, std::uint16_t vid)
    {
        if (index >= Size)
            return false;
        ++counters[index];
        if (dhcpraTypes::hasVlanCounters(vid))
            ++perVlan[vid][index];
        return true;
    }

    void reset()
    {
        counters.fill(0);
        perVlan.clear();
    }

    [[nodiscard]] counters_t all() const { return {counters.begin(), counters.end()}; }
    [[nodiscard]] countersPerVlan_t allPerVlan() const
    {
        countersPerVlan_t copy;
        for (const auto& [vid, ofVlan] : perVlan)
            copy.emplace(vid, counters_t(ofVlan.begin(), ofVlan.end()));
        return copy;
    }

private:
    using Counters = std::array<std::uint64_t, Size>;

    std::map<std::uint16_t, Counters> perVlan; // in front, beside the counters that count most
    Counters counters{};
};

/// Adds element by element; @p sum grows to the size of @p more.
void addCounters(counters_t& sum, const counters_t& more);

/// The same for each VLAN of @p more.
void addCountersPerVlan(countersPerVlan_t& sum, const countersPerVlan_t& more);
