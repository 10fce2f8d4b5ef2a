#include "rte/BLL/core/GlobalLock.h"

#include <chrono>

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include "log/LogText.h"
#include "rte/BLL/core/LockReports.h"

namespace {

using boost::posix_time::ptime;
using boost::posix_time::time_duration;
using lockError_t = recursiveSharedMutex_t::lockError_t;

using Mutex = recursiveSharedMutex_t;
namespace gls = globalLockState;
namespace lr = lockReports;

/// One of the two locks and what governs it.
struct Lock
{
    Mutex& (*mutex)();
    const LockPeriod& period;
    const std::atomic<bool>& debug;
    void (*report)(const lockError_t&);
};

struct Mode
{
    bool (Mutex::*take)(const ptime&);
    void (Mutex::*giveBack)();
    LogImpl::logLevel_t failureLevel;
    const char* failed;
};

/// What tells the four kinds of scoped objects apart.
struct Kind
{
    const Lock& lock;
    const Mode& mode;
    const char* taking;
    const char* givingBack;
};

const constinit Lock global{gls::lock, gls::lockingPeriod, gls::lockDebug, lr::reportLockException};
const constinit Lock act{gls::actLock, gls::actLockingPeriod, gls::actLockDebug, lr::reportActLockException};
const constinit Mode exclusive{&Mutex::timedLock, &Mutex::unlock, LogImpl::critical, " Error] "};
const constinit Mode shared{&Mutex::timedLockShared, &Mutex::unlockShared, LogImpl::warning, " error] "};

const constinit Kind exclusiveKind{global, exclusive, " [+EL", " [-EL"};
const constinit Kind sharedKind{global, shared, " [+SL", " [-SL"};
const constinit Kind actExclusiveKind{act, exclusive, " [+AEL", " [-AEL"};
const constinit Kind actSharedKind{act, shared, " [+ASL", " [-ASL"};

bool debugOf(const Kind& kind) { return kind.lock.debug.load(std::memory_order_relaxed); }

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
        if ((kind.lock.mutex().*kind.mode.take)(deadlineAfter(kind.lock.period))) {
            if (debugOf(kind))
                logText(LogImpl::warning, "] ");
            return true;
        }
    } catch (const lockError_t& error) {
        if (debugOf(kind))
            logText(kind.mode.failureLevel, kind.mode.failed);
        kind.lock.report(error);
        return false;
    }
    if (debugOf(kind)) // told to stop while it waited
        logText(kind.mode.failureLevel, " error] ");
    return false;
}

void giveBack(const Kind& kind, bool locked)
{
    if (debugOf(kind))
        logText(LogImpl::warning, kind.givingBack);
    if (locked)
        (kind.lock.mutex().*kind.mode.giveBack)();
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
