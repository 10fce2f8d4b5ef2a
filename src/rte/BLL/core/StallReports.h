#pragma once

#include <sstream>

#include "rte/BLL/core/recursiveSharedMutex_t.h"

class SelfDebugger;

namespace stallReports {

/// Asks for the backtrace of every thread in @p map that has held levels for the locking period or longer,
/// each thread at most once in 8/3 of that period. Nothing happens while manual debug reports are off.
void reportProblematicThreads(const recursiveSharedMutex_t::stateMap_t& map);

/// The same, through a debugger of the caller's choice.
void reportProblematicThreads(SelfDebugger& debugger, const recursiveSharedMutex_t::stateMap_t& map);

/// Switches the upgrade detector of exclusiveLock_t and says so in @p out.
void bllDeadlockTest(bool start, std::ostringstream* out);

} // namespace stallReports
