#pragma once

#include <atomic>
#include <cstdint>

#include <boost/date_time/posix_time/posix_time_duration.hpp>

/**
 * A boost::posix_time::time_duration that threads may read while another one sets it. Constant-initialised,
 * so it can be used from any static constructor. Special values (infinities, not-a-date-time) are kept.
 */
class LockPeriod
{
public:
    constexpr explicit LockPeriod(std::int64_t seconds) : ticks(seconds * ticksPerSecond) {}
    LockPeriod(const LockPeriod&) = delete;
    LockPeriod& operator=(const LockPeriod&) = delete;

    LockPeriod& operator=(const boost::posix_time::time_duration& value);
    operator boost::posix_time::time_duration() const; // NOLINT: stands where a time_duration stands

    /// Whole seconds, towards zero.
    [[nodiscard]] std::int64_t total_seconds() const;

private:
    static constexpr std::int64_t ticksPerSecond = 1'000'000;

    std::atomic<std::int64_t> ticks;
};
