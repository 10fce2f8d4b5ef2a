#include "common/Clock.h"

#include <atomic>

namespace {
std::atomic<long> movedSeconds{0};
}

namespace Clock {

std::time_t now() { return std::time(nullptr) + movedSeconds.load(std::memory_order_relaxed); }

std::chrono::steady_clock::time_point steady()
{
    return std::chrono::steady_clock::now() +
           std::chrono::seconds(movedSeconds.load(std::memory_order_relaxed));
}

void advance(std::chrono::seconds step) { movedSeconds.fetch_add(step.count(), std::memory_order_relaxed); }

void reset() { movedSeconds.store(0, std::memory_order_relaxed); }

} // namespace Clock
