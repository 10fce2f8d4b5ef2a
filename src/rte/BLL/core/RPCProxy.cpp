#include "rte/BLL/core/RPCProxy.h"

#include "rte/BLL/core/LockWaitStop.h"
#include "rte/BLL/core/RpcConnections.h"
#include "rte/BLL/core/RpcDatagrams.h"
#include "rte/BLL/core/RpcRegistration.h"
#include "rte/BLL/core/ThreadRegistry.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/select.h>
#include <unistd.h>

#include <boost/bind/bind.hpp>

namespace {

/// The proxy whose loop serves all programs, and the manager's own; all others end when they have registered.
bool runsReceiveLoop(const std::string& name) { return name == "dhcpra_fun" || name == "BLLManager_mng"; }

/// Runs the dispatchers of all programs that have a request waiting. An interruption of this thread throws an
/// exception, which must not pass through the RPC library's C frames: handlers don't see it, the loop does
/// afterwards.
void serve(fd_set& descriptors, RpcConnections& connections)
{
    const boost::this_thread::disable_interruption untilServed;
    noteWaitingDatagrams(descriptors);
    connections.makeRoom(descriptors);
    svc_getreqset(&descriptors);
}

void receiveLoop(const std::string& name)
{
    std::fprintf(stderr, "[%d] %s: Starting main RPC loop - custom made.\n", getpid(), name.c_str());
    RpcConnections connections;
    try {
        while (true) {
            // Taken anew each time, so that a program registered meanwhile is served within a second.
            fd_set descriptors = connections.toWatch(rpcDescriptors());
            timeval second{1, 0};
            const int count = select(FD_SETSIZE, &descriptors, nullptr, nullptr, &second);
            if (count == -1) {
                if (errno == EINTR)
                    continue;
                std::fprintf(stderr, "[%d] %s: RPC main loop stopping (%d - %s).\n", getpid(), name.c_str(),
                             errno, std::strerror(errno));
                return;
            }
            if (count > 0)
                serve(descriptors, connections);
            boost::this_thread::interruption_point();
        }
    } catch (const boost::thread_interrupted&) {
        std::fprintf(stderr, "[%d] %s: RPC main loop stopping.\n", getpid(), name.c_str());
    }
}

} // namespace

int checkInterrupt()
{
    try {
        boost::this_thread::interruption_point();
    } catch (const boost::thread_interrupted&) {
        return 1;
    }
    return 0;
}

RPCProxy::RPCProxy(startFunction_t function, const std::string& threadName)
    : startFunction(function), name(threadName)
{}

RPCProxy::RPCProxy(const std::string& threadName) : name(threadName) {}

RPCProxy::~RPCProxy() noexcept(false)
{
    if (!thread.joinable())
        return;
    thread.interrupt();
    thread.join();
}

bool RPCProxy::start()
{
    if (startFunction == nullptr || thread.joinable())
        return false;
    try {
        thread = boost::thread(boost::bind(&RPCProxy::threadFunction, this));
    } catch (const boost::thread_resource_error&) {
        return false;
    }
    return true;
}

bool RPCProxy::stop(bool noWait)
{
    if (thread.joinable())
        thread.interrupt();
    if (noWait)
        return isStopped();
    if (thread.joinable())
        thread.join();
    return true;
}

bool RPCProxy::isStopped()
{
    if (!thread.joinable())
        return true;
    return thread.timed_join(boost::get_system_time() + boost::posix_time::milliseconds(100));
}

void RPCProxy::threadFunction()
{
    ThreadRegistry::instance().registerThread(name);
    // The thread that stops this one may hold the global lock while it waits for the end of this one. A
    // handler that waits for the lock must give up then, or both would wait for each other.
    const LockWaitStop leaveLockWaits(&boost::this_thread::interruption_requested);
    startFunction(&checkInterruptFn);
    if (runsReceiveLoop(name))
        receiveLoop(name);
}
