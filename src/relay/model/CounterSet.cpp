#include "relay/model/CounterSet.h"

#include <algorithm>

void addCounters(counters_t& sum, const counters_t& more)
{
    sum.resize(std::max(sum.size(), more.size()));
    for (std::size_t index = 0; index < more.size(); ++index)
        sum[index] += more[index];
}

void addCountersPerVlan(countersPerVlan_t& sum, const countersPerVlan_t& more)
{
    for (const auto& [vid, counters] : more)
        addCounters(sum[vid], counters);
}
