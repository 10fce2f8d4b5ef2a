#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <semaphore>
#include <stdexcept>
#include <thread>
#include <unistd.h>
#include <utility>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/thread/thread.hpp>

#include "rte/BLL/core/recursiveSharedMutex_t.h"

namespace actor {

using Mutex = recursiveSharedMutex_t;
using lockError_t = Mutex::lockError_t;

/// Far longer than any test waits: a wake-up that got lost shows as a test that fails, not as one that is
/// slow.
constexpr std::chrono::milliseconds noSlices{3'600'000};

inline boost::posix_time::ptime now() { return boost::posix_time::microsec_clock::universal_time(); }
inline boost::posix_time::ptime gone() { return now() - boost::posix_time::seconds(1); }
inline boost::posix_time::ptime later() { return now() + boost::posix_time::seconds(15); }

/// Answer of a request: granted, told to stop, or refused with this error.
struct Answer
{
    bool granted = false;
    std::optional<lockError_t> error;
};

/// A thread that does one request after the other as the test tells it.
class Actor
{
public:
    explicit Actor(Mutex& lock) : mutex(lock), thread([this] { run(); }) {}
    ~Actor()
    {
        ready.release(); // without a task, which ends the thread
        thread.join();
    }
    Actor(const Actor&) = delete;
    Actor& operator=(const Actor&) = delete;

    /// Runs @p task on the actor's thread without waiting for it.
    template <typename Task>
    auto begin(Task task)
    {
        auto packaged = std::make_shared<std::packaged_task<decltype(task())()>>(std::move(task));
        auto result = packaged->get_future();
        next = [packaged] { (*packaged)(); };
        ready.release();
        return result;
    }

    template <typename Task>
    auto perform(Task task)
    {
        return begin(std::move(task)).get();
    }

    std::future<Answer> beginExclusive(boost::posix_time::ptime deadline = later())
    {
        return begin([this, deadline] { return ask(&Mutex::timedLock, deadline); });
    }
    std::future<Answer> beginShared(boost::posix_time::ptime deadline = later())
    {
        return begin([this, deadline] { return ask(&Mutex::timedLockShared, deadline); });
    }
    /// Asks without patience.
    Answer exclusive() { return beginExclusive(gone()).get(); }
    Answer shared() { return beginShared(gone()).get(); }
    void unlock()
    {
        perform([this] { mutex.unlock(); });
    }
    void unlockShared()
    {
        perform([this] { mutex.unlockShared(); });
    }

    [[nodiscard]] boost::thread::id id() { return thread.get_id(); }

    /// The lock's record of this thread; an empty one if there is none.
    Mutex::stateData record()
    {
        const auto map = mutex.getStateMap();
        const auto own = map.find(id());
        return own == map.end() ? Mutex::stateData{} : own->second;
    }

    /// Waits until the request that was begun sleeps in the lock.
    void awaitAsleep(std::uint32_t heldShared = 0, bool exclusive = true)
    {
        const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < patience) {
            const auto own = record();
            if (own.lwpId != 0 && own.sharedCount == heldShared && own.waitingExclusive == exclusive)
                return;
            std::this_thread::yield();
        }
        throw std::runtime_error("the request never came to rest");
    }

private:
    Answer ask(bool (Mutex::*request)(const boost::posix_time::ptime&), boost::posix_time::ptime deadline)
    {
        try {
            return {(mutex.*request)(deadline), std::nullopt};
        } catch (const lockError_t& error) {
            return {false, error};
        }
    }

    void run()
    {
        for (ready.acquire(); next; ready.acquire())
            std::exchange(next, nullptr)();
    }

    Mutex& mutex;
    std::function<void()> next; ///< handed over with each release
    std::counting_semaphore<> ready{0};
    boost::thread thread;
};

/// Whether the future gets its value within ten seconds.
template <typename T>
bool comesTrue(std::future<T>& future)
{
    return future.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
}

} // namespace actor
