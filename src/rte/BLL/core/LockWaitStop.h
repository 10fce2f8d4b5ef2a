#pragma once

#include <boost/function.hpp>

/**
 * While an object of this class lives, waits of its thread for a recursiveSharedMutex_t end early, without
 * error and without report, once @p stopRequested answers true; the request is looked at several times a
 * second.
 *
 * A thread that stops another one may hold the global lock while it joins it. A thread that may be joined in
 * this way creates an object of this class at the top of its body. Without one, a wait ends only when the
 * lock is got or the deadline has passed, even if an interruption is pending. Objects may be nested; the
 * innermost one decides.
 */
class LockWaitStop
{
public:
    explicit LockWaitStop(boost::function<bool()> stopRequested);
    ~LockWaitStop();
    LockWaitStop(const LockWaitStop&) = delete;
    LockWaitStop& operator=(const LockWaitStop&) = delete;

    /// Whether the calling thread has such an object.
    [[nodiscard]] static bool present();

    /// Whether the calling thread has been told to leave its waits; false without an object, or when asking
    /// throws.
    [[nodiscard]] static bool requested() noexcept;

private:
    boost::function<bool()> stopRequested;
    LockWaitStop* outer;
};
