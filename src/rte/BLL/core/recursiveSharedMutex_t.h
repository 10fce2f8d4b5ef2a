#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <exception>
#include <map>
#include <optional>
#include <pthread.h>
#include <sys/types.h>
#include <vector>

#include <boost/date_time/posix_time/ptime.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

/**
 * Reader/writer lock of the business data. Recursive in both modes, one thread may hold both, a reader may
 * ask for exclusive access, every acquisition has a deadline, and a failed one carries a snapshot of who
 * holds what.
 *
 * Two readers that upgrade do not block each other for ever: a thread that waits for exclusive access does
 * not count as a reader, so the first to look goes ahead while the other still has its shared levels. Both
 * must expect that the data changed while they waited.
 *
 * No operation costs more because many threads have used the lock: entries stay, but decisions rest on
 * counters beside them.
 */
class recursiveSharedMutex_t
{
public:
    /// What the lock knows of one thread.
    struct stateData
    {
        std::uint32_t sharedCount = 0;    ///< depth of shared levels
        std::uint32_t exclusiveCount = 0; ///< depth of exclusive levels
        bool waitingExclusive = false;    ///< asleep, waiting for exclusive access
        pid_t lwpId = 0;                  ///< kernel thread id; 0 while the thread holds nothing
        pthread_t pthreadId = 0;          ///< native handle, as of the last acquisition
        std::time_t lockedSince = 0;      ///< wall-clock second of the step from nothing to something
    };
    using stateMap_t = std::map<boost::thread::id, stateData>;

    /// Thrown when a deadline has passed.
    struct lockError_t : std::exception
    {
        stateMap_t stateMap;             ///< all entries at the moment of failure
        boost::thread::id thread;        ///< who failed
        boost::thread::id owner;         ///< who held the exclusive lock; empty when nobody did
        bool exclusive = false;          ///< exclusive access was asked for
        bool blockedByExclusive = false; ///< another thread held the exclusive lock

        [[nodiscard]] const char* what() const noexcept override;
    };

    /// Sums up entries: who holds, who waits, leaving out one thread if told so.
    struct checkStates
    {
        bool exclusiveHeld = false;
        bool exclusiveWaited = false;
        bool sharedHeld = false;
        boost::thread::id ignoreThread;
        bool hasIgnoreThread = false;

        void check(const stateMap_t::value_type& entry);
    };

    /// Longest sleep between two looks at the clock and at a stop request (see LockWaitStop.h).
    static constexpr std::chrono::milliseconds defaultWaitSlice{200};

    explicit recursiveSharedMutex_t(std::chrono::milliseconds waitSlice = defaultWaitSlice);
    ~recursiveSharedMutex_t() = default;
    recursiveSharedMutex_t(const recursiveSharedMutex_t&) = delete;
    recursiveSharedMutex_t& operator=(const recursiveSharedMutex_t&) = delete;

    /**
     * Takes one exclusive level. @p deadline is universal time; it is converted to the steady clock on entry,
     * so that a step of the wall clock neither fakes nor delays a time-out. Positive infinity waits for ever;
     * anything else that is no time, and a time in the past, fails at once when the way is not free.
     * @return true; false only when the thread was told to stop while it waited (LockWaitStop.h).
     * @throws lockError_t when the deadline has passed.
     */
    bool timedLock(const boost::posix_time::ptime& deadline);

    /// Takes one shared level; otherwise as timedLock().
    bool timedLockShared(const boost::posix_time::ptime& deadline);

    /// Gives one exclusive level back; does nothing when the thread has none.
    void unlock();

    /// Gives one shared level back; does nothing when the thread has none.
    void unlockShared();

    /// A copy of all entries, also of threads that hold nothing.
    [[nodiscard]] stateMap_t getStateMap();

    /// Clears the waiting mark of the lock's own entry for that thread, and of @p entry itself.
    void unlockWaitingThread(stateMap_t::value_type& entry);

private:
    using SteadyTime = std::chrono::steady_clock::time_point;
    using Guard = boost::unique_lock<boost::mutex>; // on stateMutex

    enum class Mode : std::uint8_t { exclusive, shared };

    /// What an entry counts as, in the order in which checkStates looks.
    enum class Standing : std::uint8_t { exclusive, waiting, shared, nothing };
    static constexpr std::size_t standingCount = 4;

    enum class Wake : std::uint8_t { lookAgain, timedOut, stopped };

    /// A condition and how many sleep on it, so that nobody pays for waking no one.
    struct Sleepers
    {
        boost::condition_variable& cond;
        std::size_t count = 0;

        void wakeOne();
        void wakeAll();
    };

    class Asleep;
    class Attempt;

    static Standing standingOf(const stateData& entry);
    static SteadyTime steadyDeadline(const boost::posix_time::ptime& deadline);
    static bool stopRequested(Guard& guard);

    // All of these run under stateMutex.
    template <typename Edit>
    void change(stateData& entry, Edit&& edit);
    [[nodiscard]] std::size_t others(Standing standing, const stateData& own) const;
    [[nodiscard]] bool freeFor(Mode mode, const stateData& own) const;
    stateData& ownEntry();
    stateData* knownEntry();
    stateData& identifiedEntry();
    bool acquire(Mode mode, const boost::posix_time::ptime& deadline);
    void takeLevel(Mode mode, stateData& own);
    static void forgetIfEmpty(stateData& own);
    void setWaiting(stateData& entry);
    void clearWaiting(stateData& entry);
    void clearAllWaiting();
    void wakeAfterRelease();
    void wakeAfterGivingUp();
    Sleepers& bedOf(Mode mode, const stateData& own);
    Wake sleepOn(Sleepers& sleepers, Guard& guard, SteadyTime until) const;
    bool waitFor(Mode mode, stateData& own, Guard& guard, SteadyTime until);
    [[nodiscard]] lockError_t failure(Mode mode) const;

    stateMap_t state;        // one entry per thread that ever came; never erased; under stateMutex
    boost::mutex stateMutex; // a leaf: nothing else is taken under it
    boost::condition_variable sharedCond;    // asleep for shared access
    boost::condition_variable exclusiveCond; // asleep for exclusive access, holding no shared level
    boost::condition_variable upgradeCond;   // asleep for exclusive access, holding shared levels
    boost::thread::id exclusiveOwner;        // empty when nobody holds it; under stateMutex

    // Beside the map, under stateMutex: what a walk over all entries would tell, kept up to date.
    std::array<std::size_t, standingCount> standings{}; // number of entries by Standing
    std::vector<stateData*> waiters;                    // entries with waitingExclusive set
    Sleepers sharedSleepers{sharedCond};
    Sleepers exclusiveSleepers{exclusiveCond};
    Sleepers upgradeSleepers{upgradeCond};

    const std::chrono::milliseconds waitSlice;
    const std::uint64_t instance; // tells locks apart in the threads' caches, also at a reused address
};
