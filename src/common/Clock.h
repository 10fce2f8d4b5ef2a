#pragma once

#include <chrono>
#include <ctime>

/**
 * The one place from which the daemon reads time for time-outs, leases and history stamps. Tests replace
 * the sources; production code never does.
 */
namespace Clock {

/// Wall-clock seconds since the epoch, as time(nullptr).
std::time_t now();

/// Steady time for deadlines; never steps.
std::chrono::steady_clock::time_point steady();

/// Moves both clocks by @p step from now on (tests only; accumulates).
void advance(std::chrono::seconds step);

/// Takes back every advance() (tests only).
void reset();

} // namespace Clock
