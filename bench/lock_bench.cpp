// What the global lock costs when nobody stands in the way, beside a plain reader/writer lock, and whether
// that changes when many threads have come and gone.

#include <barrier>
#include <memory>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/thread/shared_mutex.hpp>

#include "rte/BLL/core/GlobalLock.h"

namespace {

void plainExclusive(benchmark::State& state)
{
    boost::shared_mutex mutex;
    for ([[maybe_unused]] auto _ : state) {
        mutex.lock();
        mutex.unlock();
    }
}
BENCHMARK(plainExclusive);

void plainShared(benchmark::State& state)
{
    boost::shared_mutex mutex;
    for ([[maybe_unused]] auto _ : state) {
        mutex.lock_shared();
        mutex.unlock_shared();
    }
}
BENCHMARK(plainShared);

boost::posix_time::ptime deadline()
{
    return boost::posix_time::microsec_clock::universal_time() + boost::posix_time::seconds(300);
}

/// Lets so many threads, all alive at once, take the lock and end; each leaves an entry.
void visit(recursiveSharedMutex_t& lock, std::ptrdiff_t visitors)
{
    std::barrier together(visitors);
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(visitors));
    for (std::ptrdiff_t i = 0; i < visitors; ++i)
        threads.emplace_back([&] {
            lock.timedLockShared(deadline());
            lock.unlockShared();
            together.arrive_and_wait();
        });
    for (std::thread& thread : threads)
        thread.join();
}

/// The argument is the number of threads that have used the lock before.
void globalExclusive(benchmark::State& state)
{
    const auto lock = std::make_unique<recursiveSharedMutex_t>();
    visit(*lock, state.range(0));
    const auto until = deadline();
    for ([[maybe_unused]] auto _ : state) {
        lock->timedLock(until);
        lock->unlock();
    }
    state.counters["entries"] = static_cast<double>(lock->getStateMap().size());
}
BENCHMARK(globalExclusive)->Arg(1)->Arg(50)->Arg(500);

void globalShared(benchmark::State& state)
{
    const auto lock = std::make_unique<recursiveSharedMutex_t>();
    visit(*lock, state.range(0));
    const auto until = deadline();
    for ([[maybe_unused]] auto _ : state) {
        lock->timedLockShared(until);
        lock->unlockShared();
    }
    state.counters["entries"] = static_cast<double>(lock->getStateMap().size());
}
BENCHMARK(globalShared)->Arg(1)->Arg(50)->Arg(500);

void scopedExclusive(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state)
        const exclusiveLock_t lock;
}
BENCHMARK(scopedExclusive);

void scopedShared(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state)
        const sharedLock_t lock;
}
BENCHMARK(scopedShared);

} // namespace
