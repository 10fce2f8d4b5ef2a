#pragma once

#include "relay/engine/DecisionTrace.h"
#include "relay/io/FrameIo.h"
#include "rte/BLL/core/GlobalLock.h"
#include "rte/BLL/core/LockWaitStop.h"

#include <boost/function.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <boost/thread/thread.hpp>
#include <exception>

/// The thread of one frame engine. Used by the thread that starts and stops the engine.
class EngineThread
{
public:
    [[nodiscard]] bool isRunning() const { return thread.joinable(); }
    void start(const boost::function<void()>& body) { thread = boost::thread(body); }

    /// Interrupts and joins it, if it runs, and closes the socket. The caller may hold the global lock, but
    /// no lock of the engine.
    void stop(FrameIo& socket);

private:
    boost::thread thread;
};

/// Body of a frame thread: registers it by name and takes one turn after the other until it is interrupted.
/// What a turn throws is logged in the name of @p engine and costs that turn.
void runFrameThread(const char* name, const char* engine, const DecisionTrace& trace,
                    const boost::function<void()>& turn);

using FrameEngineLock = boost::unique_lock<boost::recursive_mutex>;

void tellFrameLost(const char* engine, const std::exception& error);

/// Nothing that happens to one frame may end the process: an exception costs the frame and is logged in the
/// name of @p engine. A template, so that a frame costs no memory.
template <class Work>
void handleSafely(const char* engine, Work work)
{
    try {
        work();
    } catch (const std::exception& error) {
        tellFrameLost(engine, error);
    }
}

/**
 * Decides on one frame under the exclusive global lock and the engine's own, which the decision may let go of
 * early: decide(FrameEngineLock&, bool exclusive) answers whether somebody is to be told of the frame. Then
 * tell() runs without the engine's lock, still under the global one. Without the global lock in time the
 * frame is handled all the same; a thread that shall end leaves instead. Exceptions as in handleSafely().
 *
 * A thread that did not get the global lock in time will not get it a moment later either. While tell() runs,
 * its attempts at that lock therefore end at once (LockWaitStop), and whoever is told finds the lock not
 * taken.
 */
template <class Decide, class Tell>
void underFrameLocks(const char* engine, boost::recursive_mutex& engineMutex, Decide decide, Tell tell)
{
    // Destroyed in the opposite order: the exclusive lock goes first, then the engine's if it is still here.
    FrameEngineLock engineLock(engineMutex, boost::defer_lock);
    const exclusiveLock_t exclusive;
    if (!exclusive.locked)
        boost::this_thread::interruption_point();
    engineLock.lock();
    bool told = false;
    handleSafely(engine, [&] { told = decide(engineLock, exclusive.locked); });
    if (!told)
        return;
    if (engineLock.owns_lock())
        engineLock.unlock();
    if (exclusive.locked)
        return handleSafely(engine, tell);
    const LockWaitStop noFurtherWait([] { return true; });
    handleSafely(engine, tell);
}
