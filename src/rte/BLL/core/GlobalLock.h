#pragma once

#include <cstdint>

#include "rte/BLL/core/GlobalLockState.h"

/**
 * Scoped objects on the global lock: constructing takes it with a deadline, the destructor gives it back.
 * Nothing is thrown at the user for a lock that was not got: test `locked`, and when it is false keep away
 * from protected data.
 */
class lock_t
{
public:
    /// How long an acquisition may take; 300 seconds at start, set back to that by every failure report.
    static constexpr LockPeriod& lockingPeriod = globalLockState::lockingPeriod;

    bool locked = false;
    bool unlockedToOne = false;
    std::uint32_t savedShared = 0;
    std::uint32_t savedExclusive = 0;

    lock_t() = default;
    lock_t(const lock_t&) = delete;
    lock_t& operator=(const lock_t&) = delete;
    virtual ~lock_t() = default;

    virtual void lock() = 0;
    virtual void unlock() = 0;
    /// Falls back to one level of the object's own kind, so that a long phase lets others in.
    /// @return false when the object does not hold the lock, or has fallen back already.
    virtual bool unlockToOne() = 0;

    bool unlockExclusiveToOne();
    bool unlockSharedToOne();

    /**
     * Takes back what unlockToOne() gave up, each level with 5 seconds.
     * @return false, and nothing done, when the thread holds anything but the one level.
     * @throws recursiveSharedMutex_t::lockError_t when a level was not got; the only place where one gets
     * out.
     */
    bool restoreUnlockedToOne();
};

class exclusiveLock_t : public lock_t
{
public:
    exclusiveLock_t();
    ~exclusiveLock_t() override;
    void lock() final;
    void unlock() final;
    bool unlockToOne() override { return unlockExclusiveToOne(); }
};

class sharedLock_t : public lock_t
{
public:
    sharedLock_t();
    ~sharedLock_t() override;
    void lock() final;
    void unlock() final;
    bool unlockToOne() override { return unlockSharedToOne(); }
};

/**
 * The same pattern on the second lock, for loaded entity libraries. Libraries rely on two differences: no
 * deadlock test, and actUnlock() leaves `locked` alone, so only the destructor may call it.
 */
class actLock_t
{
public:
    static constexpr LockPeriod& actLockingPeriod = globalLockState::actLockingPeriod;

    bool locked = false;
    bool unlockedToOne = false;
    std::uint32_t savedShared = 0;
    std::uint32_t savedExclusive = 0;

    actLock_t() = default;
    actLock_t(const actLock_t&) = delete;
    actLock_t& operator=(const actLock_t&) = delete;
    virtual ~actLock_t() = default;

    virtual void actLock() = 0;
    virtual void actUnlock() = 0;
};

class actExclusiveLock_t : public actLock_t
{
public:
    actExclusiveLock_t();
    ~actExclusiveLock_t() override;
    void actLock() final;
    void actUnlock() final;
};

class actSharedLock_t : public actLock_t
{
public:
    actSharedLock_t();
    ~actSharedLock_t() override;
    void actLock() final;
    void actUnlock() final;
};
