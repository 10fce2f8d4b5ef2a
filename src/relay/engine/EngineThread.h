#pragma once

#include "relay/engine/DecisionTrace.h"
#include "relay/io/FrameIo.h"
#include "rte/BLL/core/GlobalLock.h"

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
void runFrameThread(const char* name, const DecisionTrace& trace, const boost::function<void()>& turn);

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
 * early: decide(FrameEngineLock&, bool exclusive). Without the global lock in time the frame is handled all
 * the same; a thread that shall end leaves instead. Exceptions as in handleSafely().
 */
template <class Decide>
void underFrameLocks(const char* engine, boost::recursive_mutex& engineMutex, Decide decide)
{
    // Destroyed in the opposite order: the exclusive lock goes first, then the engine's if it is still here.
    FrameEngineLock engineLock(engineMutex, boost::defer_lock);
    const exclusiveLock_t exclusive;
    if (!exclusive.locked)
        boost::this_thread::interruption_point();
    engineLock.lock();
    handleSafely(engine, [&] { decide(engineLock, exclusive.locked); });
}
