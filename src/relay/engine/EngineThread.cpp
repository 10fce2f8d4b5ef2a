#include "relay/engine/EngineThread.h"

#include "log/LogText.h"
#include "rte/BLL/core/BLLManager.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <string>

namespace {

/// An exception that comes with every turn must cost neither all of the processor nor the log.
constexpr int pauseAfterExceptionMs = 10;

} // namespace

void EngineThread::stop(FrameIo& socket)
{
    if (thread.joinable()) {
        thread.interrupt();
        socket.wakeUp();
        thread.join();
    }
    if (socket.descriptor() != -1)
        socket.close();
}

void runFrameThread(const char* name, const char* engine, const DecisionTrace& trace,
                    const boost::function<void()>& turn)
{
    BLLManager::registerThread(name);
    // Whoever stops the engine may hold the lock that this thread waits for.
    const LockWaitStop leaveLockWaits([] { return boost::this_thread::interruption_requested(); });
    try {
        for (;;) {
            boost::this_thread::interruption_point();
            try {
                turn();
            } catch (const std::exception& error) {
                tellFrameLost(engine, error);
                boost::this_thread::sleep(boost::posix_time::milliseconds(pauseAfterExceptionMs));
            }
        }
    } catch (const boost::thread_interrupted&) {
        trace.decided({"\t operation has been interrupted.", "processFrame"});
    }
}

void tellFrameLost(const char* engine, const std::exception& error)
{
    logText(LogImpl::critical, engine, "::processFrame: frame lost: ", std::string(error.what()) + "\n");
}
