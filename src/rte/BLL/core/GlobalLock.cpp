#include "rte/BLL/core/GlobalLock.h"

#include <chrono>

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include "log/LogText.h"
#include "rte/BLL/core/LockReports.h"

namespace {

using boost::posix_time::ptime;
using boost::posix_time::time_duration;
using lockError_t = recursiveSharedMutex_t::lockError_t;

/// What tells the four kinds of scoped objects apart.
struct Kind
{
    recursiveSharedMutex_t& (*mutex)();
    bool (recursiveSharedMutex_t::*take)(const ptime&);
    void (recursiveSharedMutex_t::*giveBack)();
    const LockPeriod& period;
    const std::atomic<bool>& debug;
    void (*report)(const lockError_t&);
    LogImpl::logLevel_t failureLevel;
    const char* taking;
    const char* givingBack;
    const char* stopped; ///< the wait was left without an error
    const char* failed;
};

using Mutex = recursiveSharedMutex_t;
namespace gls = globalLockState;
namespace lr = lockReports;

const constinit Kind exclusiveKind{gls::lock,          &Mutex::timedLock, &Mutex::unlock,
                                   gls::lockingPeriod, gls::lockDebug,    lr::reportLockException,
                                   LogImpl::critical,  " [+EL",           " [-EL",
                                   " error] ",         " Error] "};
const constinit Kind sharedKind{gls::lock,
                                &Mutex::timedLockShared,
                                &Mutex::unlockShared,
                                gls::lockingPeriod,
                                gls::lockDebug,
                                lr::reportLockException,
                                LogImpl::warning,
                                " [+SL",
                                " [-SL",
                                " error] ",
                                " error] "};
const constinit Kind actExclusiveKind{gls::actLock,      &Mutex::timedLock,
                                      &Mutex::unlock,    gls::actLockingPeriod,
                                      gls::actLockDebug, lr::reportActLockException,
                                      LogImpl::critical, " [+AEL",
                                      " [-AEL",          " error] ",
                                      " Error] "};
const constinit Kind actSharedKind{gls::actLock,
                                   &Mutex::timedLockShared,
                                   &Mutex::unlockShared,
                                   gls::actLockingPeriod,
                                   gls::actLockDebug,
                                   lr::reportActLockException,
                                   LogImpl::warning,
                                   " [+ASL",
                                   " [-ASL",
                                   " error] ",
                                   " error] "};

bool debugOf(const Kind& kind) { return kind.debug.load(std::memory_order_relaxed); }

/// The same instant as boost's microsec_clock tells, without its detour over calendar fields, which would
/// cost as much as the lock itself. Special periods make special deadlines.
ptime deadlineAfter(const time_duration& period)
{
    static const ptime epoch(boost::gregorian::date(1970, 1, 1));
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch).count();
    return epoch + time_duration(0, 0, 0, micros) + period;
}

void announce(const Kind& kind)
{
    if (debugOf(kind))
        logText(LogImpl::warning, kind.taking);
}

bool take(const Kind& kind)
{
    try {
        if ((kind.mutex().*kind.take)(deadlineAfter(kind.period))) {
            if (debugOf(kind))
                logText(LogImpl::warning, "] ");
            return true;
        }
    } catch (const lockError_t& error) {
        if (debugOf(kind))
            logText(kind.failureLevel, kind.failed);
        kind.report(error);
        return false;
    }
    if (debugOf(kind))
        logText(kind.failureLevel, kind.stopped);
    return false;
}

void giveBack(const Kind& kind, bool locked)
{
    if (debugOf(kind))
        logText(LogImpl::warning, kind.givingBack);
    if (locked)
        (kind.mutex().*kind.giveBack)();
    if (debugOf(kind))
        logText(LogImpl::warning, "] ");
}

/// The calling thread's levels as of now; nothing when it holds none.
std::optional<Mutex::stateData> ownLevels()
{
    const Mutex::stateMap_t state = gls::lock().getStateMap();
    const auto own = state.find(boost::this_thread::get_id());
    if (own == state.end() || own->second.lwpId == 0)
        return std::nullopt;
    return own->second;
}

template <typename Operation>
void repeat(std::uint32_t times, Operation&& operation)
{
    for (std::uint32_t i = 0; i < times; ++i)
        operation();
}

} // namespace

bool lock_t::unlockExclusiveToOne()
{
    if (!locked || unlockedToOne)
        return false;
    const auto own = ownLevels();
    if (!own || own->exclusiveCount == 0)
        return false;
    savedShared = own->sharedCount;
    savedExclusive = own->exclusiveCount;
    repeat(savedShared, [] { gls::lock().unlockShared(); });
    repeat(savedExclusive - 1, [] { gls::lock().unlock(); });
    unlockedToOne = true;
    return true;
}

bool lock_t::unlockSharedToOne()
{
    if (!locked || unlockedToOne)
        return false;
    const auto own = ownLevels();
    if (!own || own->sharedCount == 0)
        return false;
    savedShared = own->sharedCount;
    savedExclusive = own->exclusiveCount;
    repeat(savedExclusive, [] { gls::lock().unlock(); });
    repeat(savedShared - 1, [] { gls::lock().unlockShared(); });
    unlockedToOne = true;
    return true;
}

bool lock_t::restoreUnlockedToOne()
{
    if (!locked || !unlockedToOne)
        return false;
    const auto own = ownLevels();
    if (!own || own->sharedCount + own->exclusiveCount != 1)
        return false;
    const boost::posix_time::seconds patience(5); // for each level anew
    for (std::uint32_t held = own->sharedCount; held < savedShared; ++held)
        if (!gls::lock().timedLockShared(deadlineAfter(patience)))
            return false;
    for (std::uint32_t held = own->exclusiveCount; held < savedExclusive; ++held)
        if (!gls::lock().timedLock(deadlineAfter(patience)))
            return false;
    unlockedToOne = false;
    savedShared = 0;
    savedExclusive = 0;
    return true;
}

exclusiveLock_t::exclusiveLock_t() { exclusiveLock_t::lock(); }

exclusiveLock_t::~exclusiveLock_t() { exclusiveLock_t::unlock(); }

void exclusiveLock_t::lock()
{
    announce(exclusiveKind);
    if (gls::deadlockTestActive.load(std::memory_order_relaxed))
        lr::takeLockTest(true);
    locked = take(exclusiveKind);
}

void exclusiveLock_t::unlock()
{
    giveBack(exclusiveKind, locked);
    locked = false;
}

sharedLock_t::sharedLock_t() { sharedLock_t::lock(); }

sharedLock_t::~sharedLock_t() { sharedLock_t::unlock(); }

void sharedLock_t::lock()
{
    announce(sharedKind);
    locked = take(sharedKind);
}

void sharedLock_t::unlock()
{
    giveBack(sharedKind, locked);
    locked = false;
}

actExclusiveLock_t::actExclusiveLock_t() { actExclusiveLock_t::actLock(); }

actExclusiveLock_t::~actExclusiveLock_t() { actExclusiveLock_t::actUnlock(); }

void actExclusiveLock_t::actLock()
{
    announce(actExclusiveKind);
    locked = take(actExclusiveKind);
}

void actExclusiveLock_t::actUnlock() { giveBack(actExclusiveKind, locked); }

actSharedLock_t::actSharedLock_t() { actSharedLock_t::actLock(); }

actSharedLock_t::~actSharedLock_t() { actSharedLock_t::actUnlock(); }

void actSharedLock_t::actLock()
{
    announce(actSharedKind);
    locked = take(actSharedKind);
}

void actSharedLock_t::actUnlock() { giveBack(actSharedKind, locked); }
