#pragma once

#include <sstream>
#include <string>

#include "rte/BLL/core/recursiveSharedMutex_t.h"

/// Access that code expects of its caller; BLLManager::lockType.
enum class lockType { read = 0, write = 1 };

/**
 * What the process writes about its locks. All functions may be called from any thread; they take the report
 * mutex (reports of failures only), then the thread registry's mutex, then Log::lock.
 */
namespace lockReports {

/// Prints an access violation and a backtrace when the calling thread lacks the access. A thread that never
/// took the lock passes.
void lockCheck(lockType type);

/// With @p test, prints a thread that is about to upgrade, which is how two readers deadlock, and its
/// backtrace.
void takeLockTest(bool test);

/// Writes the table of holders and exclusive waiters found in @p map.
void getLockHoldersDump(std::ostream& stream, const recursiveSharedMutex_t::stateMap_t& map);

/// Writes the table for the global lock as it is now to standard output.
void debug_showLockHolders();

[[nodiscard]] std::string getExceptionDescription(const recursiveSharedMutex_t::lockError_t& error);
[[nodiscard]] std::string getActExceptionDescription(const recursiveSharedMutex_t::lockError_t& error);

/// Reports a failed acquisition, an unchanged situation only after 90, 180, 360... seconds; resets
/// lock_t::lockingPeriod when it reports.
void reportLockException(const recursiveSharedMutex_t::lockError_t& error);

/// The same for the second lock, with memory of its own; the act period deliberately stays as it is.
void reportActLockException(const recursiveSharedMutex_t::lockError_t& error);

} // namespace lockReports
