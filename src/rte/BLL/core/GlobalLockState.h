#pragma once

#include <atomic>

#include "rte/BLL/core/LockPeriod.h"
#include "rte/BLL/core/recursiveSharedMutex_t.h"

/**
 * The two process-wide locks and what governs them. The locks are built on first use and never destroyed, the
 * rest is constant-initialised: static constructors and late threads may use all of it.
 */
namespace globalLockState {

/// The lock over all business data; BLLManager::lock.
recursiveSharedMutex_t& lock();

/// The second lock, for loaded entity libraries; BLLManager::actLock.
recursiveSharedMutex_t& actLock();

constexpr std::int64_t defaultPeriodSeconds = 300;

inline constinit LockPeriod lockingPeriod{defaultPeriodSeconds};
inline constinit LockPeriod actLockingPeriod{defaultPeriodSeconds};

// Debug switches, set from the message path and read by every thread; relaxed.
inline constinit std::atomic<bool> lockDebug{false};
inline constinit std::atomic<bool> actLockDebug{false};
inline constinit std::atomic<bool> deadlockTestActive{false};

} // namespace globalLockState
