#include "rte/BLL/core/LockWaitStop.h"

#include <utility>

namespace {
thread_local constinit LockWaitStop* innermost = nullptr;
}

LockWaitStop::LockWaitStop(boost::function<bool()> request)
    : stopRequested(std::move(request)), outer(innermost)
{
    innermost = this;
}

LockWaitStop::~LockWaitStop() { innermost = outer; }

bool LockWaitStop::present() { return innermost != nullptr; }

bool LockWaitStop::requested() noexcept
{
    try {
        return innermost != nullptr && innermost->stopRequested && innermost->stopRequested();
    } catch (...) {
        return false; // a broken request must not leave a waiting thread marked in the lock
    }
}
