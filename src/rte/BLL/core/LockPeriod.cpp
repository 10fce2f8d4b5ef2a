#include "rte/BLL/core/LockPeriod.h"

#include <limits>

using boost::posix_time::time_duration;

LockPeriod& LockPeriod::operator=(const time_duration& value)
{
    ticks.store(value.ticks(), std::memory_order_relaxed);
    return *this;
}

LockPeriod::operator time_duration() const
{
    const std::int64_t raw = ticks.load(std::memory_order_relaxed);
    // Special values are tick counts of their own; the most negative one has no absolute value, which the
    // constructor would take.
    if (raw == std::numeric_limits<std::int64_t>::min())
        return {boost::date_time::neg_infin};
    return {0, 0, 0, raw};
}

std::int64_t LockPeriod::total_seconds() const
{
    return ticks.load(std::memory_order_relaxed) / ticksPerSecond;
}
