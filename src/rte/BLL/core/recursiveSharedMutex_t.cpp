#include "rte/BLL/core/recursiveSharedMutex_t.h"

#include <algorithm>
#include <atomic>
#include <unistd.h>

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include "common/Clock.h"
#include "rte/BLL/core/LockWaitStop.h"

namespace {

std::atomic<std::uint64_t> locksMade{0};

/// Where the calling thread's entry stands; entries never move and never go.
struct EntryCache
{
    std::uint64_t instance = 0;
    recursiveSharedMutex_t::stateData* entry = nullptr;
};

// The process has two locks, so two of these slots are in use.
thread_local constinit std::array<EntryCache, 4> entryCaches{};

thread_local constinit pid_t cachedLwp = 0;

/// gettid is a system call, and every outermost acquisition asks for it.
pid_t callersLwp()
{
    [[maybe_unused]] static const int forgottenInChild =
        pthread_atfork(nullptr, nullptr, [] { cachedLwp = 0; });
    if (cachedLwp == 0)
        cachedLwp = gettid();
    return cachedLwp;
}

} // namespace

const char* recursiveSharedMutex_t::lockError_t::what() const noexcept
{
    return "lock not got before its deadline";
}

void recursiveSharedMutex_t::checkStates::check(const stateMap_t::value_type& entry)
{
    const stateData& data = entry.second;
    const bool ignored = hasIgnoreThread && entry.first == ignoreThread;
    // A waiting upgrader is no reader: that is what lets one of two upgrading readers through.
    if (data.exclusiveCount != 0)
        exclusiveHeld = exclusiveHeld || !ignored;
    else if (data.waitingExclusive)
        exclusiveWaited = exclusiveWaited || !ignored;
    else if (data.sharedCount != 0)
        sharedHeld = sharedHeld || !ignored;
}

void recursiveSharedMutex_t::Sleepers::wakeOne()
{
    if (count > 0)
        cond.notify_one();
}

void recursiveSharedMutex_t::Sleepers::wakeAll()
{
    if (count > 0)
        cond.notify_all();
}

/// Counts a sleeper for as long as it sleeps.
class recursiveSharedMutex_t::Asleep
{
public:
    explicit Asleep(Sleepers& where) : sleepers(where) { ++sleepers.count; }
    ~Asleep() { --sleepers.count; }
    Asleep(const Asleep&) = delete;
    Asleep& operator=(const Asleep&) = delete;

private:
    Sleepers& sleepers;
};

/// Undoes the traces of a wait that did not end in a level, whatever ended it.
class recursiveSharedMutex_t::Attempt
{
public:
    Attempt(recursiveSharedMutex_t& lock, Mode wanted, stateData& entry, const Guard& stateGuard)
        : mutex(lock), mode(wanted), own(entry), guard(stateGuard)
    {}
    ~Attempt()
    {
        if (pending && guard.owns_lock())
            giveUp();
    }
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;

    void succeed() { pending = false; }

    void giveUp()
    {
        pending = false;
        if (mode == Mode::exclusive) {
            mutex.clearWaiting(own);
            mutex.wakeAfterGivingUp();
        }
        mutex.forgetIfEmpty(own);
    }

private:
    recursiveSharedMutex_t& mutex;
    const Mode mode;
    stateData& own;
    const Guard& guard;
    bool pending = true;
};

recursiveSharedMutex_t::recursiveSharedMutex_t(std::chrono::milliseconds slice)
    : waitSlice(slice), instance(locksMade.fetch_add(1, std::memory_order_relaxed) + 1)
{}

bool recursiveSharedMutex_t::timedLock(const boost::posix_time::ptime& deadline)
{
    return acquire(Mode::exclusive, deadline);
}

bool recursiveSharedMutex_t::timedLockShared(const boost::posix_time::ptime& deadline)
{
    return acquire(Mode::shared, deadline);
}

bool recursiveSharedMutex_t::acquire(Mode mode, const boost::posix_time::ptime& deadline)
{
    Guard guard(stateMutex);
    stateData& own = identifiedEntry();
    if (!freeFor(mode, own) && !waitFor(mode, own, guard, steadyDeadline(deadline)))
        return false;
    takeLevel(mode, own);
    return true;
}

void recursiveSharedMutex_t::unlock()
{
    const Guard guard(stateMutex);
    stateData* own = knownEntry();
    if (own == nullptr || own->exclusiveCount == 0)
        return;
    change(*own, [](stateData& data) { --data.exclusiveCount; });
    forgetIfEmpty(*own);
    if (own->exclusiveCount > 0)
        return;
    exclusiveOwner = boost::thread::id();
    wakeAfterRelease();
}

void recursiveSharedMutex_t::unlockShared()
{
    const Guard guard(stateMutex);
    stateData* own = knownEntry();
    if (own == nullptr || own->sharedCount == 0)
        return;
    change(*own, [](stateData& data) { --data.sharedCount; });
    forgetIfEmpty(*own);
    // Also when other readers remain: a woken writer looks for itself.
    if (own->exclusiveCount == 0 && own->sharedCount == 0)
        wakeAfterRelease();
}

recursiveSharedMutex_t::stateMap_t recursiveSharedMutex_t::getStateMap()
{
    const Guard guard(stateMutex);
    return state;
}

void recursiveSharedMutex_t::unlockWaitingThread(stateMap_t::value_type& entry)
{
    const Guard guard(stateMutex);
    const auto known = state.find(entry.first);
    if (known != state.end())
        clearWaiting(known->second);
    entry.second.waitingExclusive = false;
    // Somebody may have stood back for that waiter.
    sharedSleepers.wakeAll();
}

recursiveSharedMutex_t::Standing recursiveSharedMutex_t::standingOf(const stateData& entry)
{
    if (entry.exclusiveCount != 0)
        return Standing::exclusive;
    if (entry.waitingExclusive)
        return Standing::waiting;
    return entry.sharedCount != 0 ? Standing::shared : Standing::nothing;
}

recursiveSharedMutex_t::SteadyTime
recursiveSharedMutex_t::steadyDeadline(const boost::posix_time::ptime& deadline)
{
    if (deadline.is_pos_infinity())
        return SteadyTime::max();
    if (deadline.is_special())
        return SteadyTime::min();
    const std::chrono::microseconds left(
        (deadline - boost::posix_time::microsec_clock::universal_time()).total_microseconds());
    if (left.count() <= 0)
        return SteadyTime::min();
    constexpr std::chrono::hours beyondReckoning(24 * 365 * 100); // the sum below would overflow
    return left > beyondReckoning ? SteadyTime::max() : Clock::steady() + left;
}

/// Every edit of an entry goes through here, so that the counters always tell what a walk over the map would.
template <typename Edit>
void recursiveSharedMutex_t::change(stateData& entry, Edit&& edit)
{
    --standings[static_cast<std::size_t>(standingOf(entry))];
    edit(entry);
    ++standings[static_cast<std::size_t>(standingOf(entry))];
}

std::size_t recursiveSharedMutex_t::others(Standing standing, const stateData& own) const
{
    return standings[static_cast<std::size_t>(standing)] - (standingOf(own) == standing ? 1 : 0);
}

bool recursiveSharedMutex_t::freeFor(Mode mode, const stateData& own) const
{
    if (own.exclusiveCount > 0)
        return true;
    if (others(Standing::exclusive, own) > 0)
        return false;
    if (mode == Mode::exclusive) // waiting writers hold nobody back here
        return others(Standing::shared, own) == 0;
    // New readers give way to waiting writers; one that reads already would deadlock if it did.
    return own.sharedCount > 0 || others(Standing::waiting, own) == 0;
}

recursiveSharedMutex_t::stateData& recursiveSharedMutex_t::ownEntry()
{
    EntryCache& cache = entryCaches[instance % entryCaches.size()];
    if (cache.instance == instance)
        return *cache.entry;
    const auto [position, isNew] = state.try_emplace(boost::this_thread::get_id());
    if (isNew)
        ++standings[static_cast<std::size_t>(Standing::nothing)];
    cache = {instance, &position->second};
    return position->second;
}

recursiveSharedMutex_t::stateData* recursiveSharedMutex_t::knownEntry()
{
    const EntryCache& cache = entryCaches[instance % entryCaches.size()];
    if (cache.instance == instance)
        return cache.entry;
    const auto position = state.find(boost::this_thread::get_id());
    return position == state.end() ? nullptr : &position->second;
}

recursiveSharedMutex_t::stateData& recursiveSharedMutex_t::identifiedEntry()
{
    stateData& own = ownEntry();
    if (own.lwpId == 0) {
        own.lwpId = callersLwp();
        own.pthreadId = pthread_self();
    }
    return own;
}

void recursiveSharedMutex_t::takeLevel(Mode mode, stateData& own)
{
    if (own.sharedCount == 0 && own.exclusiveCount == 0)
        own.lockedSince = Clock::now();
    clearWaiting(own);
    if (mode == Mode::shared) {
        change(own, [](stateData& data) { ++data.sharedCount; });
        return;
    }
    change(own, [](stateData& data) { ++data.exclusiveCount; });
    if (own.exclusiveCount == 1)
        exclusiveOwner = boost::this_thread::get_id();
}

void recursiveSharedMutex_t::forgetIfEmpty(stateData& own)
{
    if (own.sharedCount == 0 && own.exclusiveCount == 0)
        own.lwpId = 0;
}

void recursiveSharedMutex_t::setWaiting(stateData& entry)
{
    if (entry.waitingExclusive)
        return;
    waiters.push_back(&entry);
    change(entry, [](stateData& data) { data.waitingExclusive = true; });
}

void recursiveSharedMutex_t::clearWaiting(stateData& entry)
{
    if (!entry.waitingExclusive)
        return;
    std::erase(waiters, &entry);
    change(entry, [](stateData& data) { data.waitingExclusive = false; });
}

void recursiveSharedMutex_t::clearAllWaiting()
{
    for (stateData* waiter : waiters)
        change(*waiter, [](stateData& data) { data.waitingExclusive = false; });
    waiters.clear();
}

void recursiveSharedMutex_t::wakeAfterRelease()
{
    // A sleeper that must go on waiting marks itself again.
    clearAllWaiting();
    // All upgraders, not one: with their marks cleared, each takes the others for readers. The one that looks
    // last sees the others marked again and goes ahead; woken alone, it would go back to sleep for good.
    upgradeSleepers.wakeAll();
    exclusiveSleepers.wakeOne();
    sharedSleepers.wakeAll();
}

void recursiveSharedMutex_t::wakeAfterGivingUp()
{
    // The wake-up that this thread may have used up belongs to another writer now, and readers that stood
    // back for it need not any more.
    upgradeSleepers.wakeOne();
    exclusiveSleepers.wakeOne();
    sharedSleepers.wakeAll();
}

recursiveSharedMutex_t::Sleepers& recursiveSharedMutex_t::bedOf(Mode mode, const stateData& own)
{
    if (mode == Mode::shared)
        return sharedSleepers;
    return own.sharedCount > 0 ? upgradeSleepers : exclusiveSleepers;
}

bool recursiveSharedMutex_t::waitFor(Mode mode, stateData& own, Guard& guard, SteadyTime until)
{
    // Whoever stops this thread by interrupting it must not break the wait; only waits are interruption
    // points here.
    const boost::this_thread::disable_interruption uninterrupted;
    Attempt attempt(*this, mode, own, guard);
    for (Wake wake = Wake::lookAgain; wake == Wake::lookAgain;) {
        if (mode == Mode::exclusive)
            setWaiting(own);
        wake = sleepOn(bedOf(mode, own), guard, until);
        // Also after a time-out: the way may have come free at the last moment.
        if (freeFor(mode, own)) {
            attempt.succeed();
            return true;
        }
        if (wake == Wake::timedOut) {
            attempt.giveUp();
            throw failure(mode);
        }
    }
    return false;
}

recursiveSharedMutex_t::Wake recursiveSharedMutex_t::sleepOn(Sleepers& sleepers, Guard& guard,
                                                             SteadyTime until) const
{
    const SteadyTime now = Clock::steady();
    if (now >= until)
        return Wake::timedOut;
    // Compared as times, not as a difference: `until` may be the end of all time.
    const bool wholeSlice = until > now + waitSlice;
    const auto nap = wholeSlice ? std::chrono::duration_cast<std::chrono::microseconds>(waitSlice)
                                : std::chrono::ceil<std::chrono::microseconds>(until - now);
    {
        const Asleep counted(sleepers);
        sleepers.cond.timed_wait(guard, boost::posix_time::microseconds(nap.count()));
    }
    return stopRequested(guard) ? Wake::stopped : Wake::lookAgain;
}

bool recursiveSharedMutex_t::stopRequested(Guard& guard)
{
    if (!LockWaitStop::present())
        return false;
    guard.unlock(); // a leaf: what the request looks at may have locks of its own
    const bool requested = LockWaitStop::requested();
    guard.lock();
    return requested;
}

recursiveSharedMutex_t::lockError_t recursiveSharedMutex_t::failure(Mode mode) const
{
    lockError_t error;
    error.stateMap = state;
    error.thread = boost::this_thread::get_id();
    error.owner = exclusiveOwner;
    error.exclusive = mode == Mode::exclusive;
    checkStates states;
    states.hasIgnoreThread = error.exclusive;
    states.ignoreThread = error.thread;
    for (const auto& entry : state)
        states.check(entry);
    error.blockedByExclusive = states.exclusiveHeld;
    return error;
}
