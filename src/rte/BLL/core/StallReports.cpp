#include "rte/BLL/core/StallReports.h"

#include <cstdint>
#include <iostream>
#include <string>
#include <syslog.h>

#include "common/Clock.h"
#include "rte/BLL/core/GlobalLockState.h"
#include "selfdebug/SelfDebugger.h"

namespace stallReports {
namespace {

using Mutex = recursiveSharedMutex_t;

/// When each thread's backtrace was last asked for, by kernel id. Never pruned: a deadlock reports a handful
/// of threads.
struct LastBacktraces
{
    boost::mutex mutex; // a leaf
    std::map<int, long> times;
};

LastBacktraces& lastBacktraces()
{
    static auto& object = *new LastBacktraces;
    return object;
}

/// Whether the thread was not asked for within @p repeat seconds.
bool due(pid_t lwp, std::time_t now, std::int64_t repeat)
{
    const boost::unique_lock<boost::mutex> guard(lastBacktraces().mutex);
    const auto last = lastBacktraces().times.find(lwp);
    return last == lastBacktraces().times.end() || now - last->second >= repeat;
}

void remember(pid_t lwp, std::time_t now)
{
    const boost::unique_lock<boost::mutex> guard(lastBacktraces().mutex);
    lastBacktraces().times[lwp] = now;
}

bool holdsSinceKnownTime(const Mutex::stateData& data)
{
    return (data.sharedCount > 0 || data.exclusiveCount > 0) && data.lockedSince != 0 &&
           data.lockedSince != -1;
}

void reportStalled(SelfDebugger& debugger, const Mutex::stateData& data, std::int64_t held)
{
    const std::string text = "\nError: thread " + std::to_string(data.lwpId) +
                             " is holding a lock for too long (" + std::to_string(held) +
                             " seconds). Dumping the thread's backtrace...\n";
    std::cerr << text << std::flush;
    syslog(LOG_ERR, "%s", text.c_str());
    if (debugger.reportBacktrace(SelfDebugger::ThreadId{data.pthreadId, data.lwpId}))
        return;
    std::cerr << "Error reporting thread's backtrace.\n" << std::flush;
    syslog(LOG_ERR, "%s", "Error reporting thread's backtrace.");
}

} // namespace

void reportProblematicThreads(const Mutex::stateMap_t& map)
{
    reportProblematicThreads(SelfDebugger::instance(), map);
}

void reportProblematicThreads(SelfDebugger& debugger, const Mutex::stateMap_t& map)
{
    if (!debugger.manualDebugReportsEnabled())
        return;
    const std::int64_t period = globalLockState::lockingPeriod.total_seconds();
    const std::int64_t repeat = period * 8 / 3;
    const std::time_t now = Clock::now();
    if (now == -1)
        return;
    for (const auto& [id, data] : map) {
        const std::int64_t held = now - data.lockedSince;
        if (!holdsSinceKnownTime(data) || held < period || !due(data.lwpId, now, repeat))
            continue;
        reportStalled(debugger, data, held);
        remember(data.lwpId,
                 now); // also after a failure, which would otherwise be repeated with every report
    }
}

void bllDeadlockTest(bool start, std::ostringstream* out)
{
    globalLockState::deadlockTestActive.store(start, std::memory_order_relaxed);
    *out << (start ? "Deadlock test started.\n" : "Deadlock test stopped.\n");
}

} // namespace stallReports
