#pragma once

#include "relay/model/dhcpraTypes.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

using counters_t = std::vector<std::uint64_t>;
using countersPerVlan_t = std::map<std::uint16_t, counters_t>; ///< ascending VLAN

/// The counters of one kind on one interface: in all and by VLAN. Locking as for dhcpraInterface.
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
        if (dhcpraTypes::hasVlanCounters(vid)) {
            counters_t& ofVlan = perVlan[vid];
            ofVlan.resize(Size);
            ++ofVlan[index];
        }
        return true;
    }

    void reset()
    {
        counters.assign(Size, 0);
        perVlan.clear();
    }

    [[nodiscard]] const counters_t& all() const { return counters; }
    [[nodiscard]] const countersPerVlan_t& allPerVlan() const { return perVlan; }

private:
    counters_t counters = counters_t(Size);
    countersPerVlan_t perVlan;
};

/// Adds element by element; @p sum grows to the size of @p more.
void addCounters(counters_t& sum, const counters_t& more);

/// The same for each VLAN of @p more.
void addCountersPerVlan(countersPerVlan_t& sum, const countersPerVlan_t& more);
