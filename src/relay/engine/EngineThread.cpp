#include "relay/engine/EngineThread.h"

#include "log/LogText.h"
#include "rte/BLL/core/BLLManager.h"
#include "rte/BLL/core/LockWaitStop.h"

#include <string>

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

void runFrameThread(const char* name, const DecisionTrace& trace, const boost::function<void()>& turn)
{
    BLLManager::registerThread(name);
    // Whoever stops the engine may hold the lock that this thread waits for.
    const LockWaitStop leaveLockWaits([] { return boost::this_thread::interruption_requested(); });
    try {
        for (;;) {
            boost::this_thread::interruption_point();
            turn();
        }
    } catch (const boost::thread_interrupted&) {
        trace.decided("\t operation has been interrupted.");
    }
}

void tellFrameLost(const char* engine, const std::exception& error)
{
    logText(LogImpl::critical, engine, "::processFrame: frame lost: ", std::string(error.what()) + "\n");
}
