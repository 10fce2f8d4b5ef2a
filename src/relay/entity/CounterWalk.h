#pragma once

#include "relay/model/CounterSet.h"
#include "relay/model/dhcpraInterface.h"

#include <boost/thread/lock_guard.hpp>
#include <cstdint>
#include <vector>

/**
 * Counters of one interface as operators see them. Frames are counted where they arrive, at GEM ports; boards
 * with the deployment option for it show them at the ONU and the PON port above instead.
 */

/// The interfaces whose counters stand for those of @p id, often itself. False when the node's registry fails
/// on the way, with those found so far.
[[nodiscard]] bool countingInterfaces(std::uint32_t id, std::vector<std::uint32_t>& ids);

inline void clearLike(counters_t& sum, const counters_t& like) { sum.assign(like.size(), 0); }
inline void clearLike(countersPerVlan_t& sum, const countersPerVlan_t&) { sum.clear(); }
inline void addTo(counters_t& sum, const counters_t& more) { addCounters(sum, more); }
inline void addTo(countersPerVlan_t& sum, const countersPerVlan_t& more) { addCountersPerVlan(sum, more); }

/**
 * What @p counters says of the interface. Answers 0, or 1 when an interface is missing or the registry fails,
 * with the sum so far. Under the global lock; takes the engine's.
 */
template <class Engine, class Counters>
[[nodiscard]] int sumCounters(const Engine& engine, std::uint32_t id,
                              Counters (dhcpraInterface::*counters)() const, Counters& sum)
{
    clearLike(sum, (dhcpraInterface{}.*counters)());
    std::vector<std::uint32_t> ids;
    const bool complete = countingInterfaces(id, ids);

    const boost::lock_guard guard(engine.engineMutex());
    for (const std::uint32_t each : ids) {
        const dhcpraInterface* interface = engine.getInterfaceById(each);
        if (interface == nullptr)
            return 1;
        addTo(sum, (interface->*counters)());
    }
    return complete ? 0 : 1;
}
