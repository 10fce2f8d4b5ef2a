#pragma once

#include <string>

#include <boost/thread/thread.hpp>

/// Polls for an interruption of the calling thread: 0 when none is pending; otherwise non-zero, and the
/// interruption is no longer pending.
int checkInterrupt();

/**
 * The thread through which an entity serves its ONC RPC program: it registers under its name, runs the start
 * function (which registers the program, see RpcRegistration.h) and ends, except "dhcpra_fun" and
 * "BLLManager_mng": those run the receive loop, and as the RPC library's tables are process-wide, one such
 * loop serves all programs, one call at a time.
 */
class RPCProxy
{
public:
    using startFunction_t = void* (*)(void*);

    /// @p function gets a pointer to a pointer to checkInterrupt(), for a start function with a loop of its
    /// own.
    RPCProxy(startFunction_t function, const std::string& name);

    /// For an entity, which stands below the programs: setProgram() brings the start function.
    explicit RPCProxy(const std::string& name);

    /// Interrupts and joins. On the proxy's own thread it throws boost::thread_resource_error, like stop().
    /// Owners that are never destroyed on that thread declare their destructors noexcept.
    ~RPCProxy() noexcept(false);

    RPCProxy(const RPCProxy&) = delete;
    RPCProxy& operator=(const RPCProxy&) = delete;

    /// The start function, before start().
    void setProgram(startFunction_t function) { startFunction = function; }

    /// False if there is no start function, if there is a thread already (also one that has ended and was not
    /// joined), or none can be made. True says only that the thread exists: a start function cannot report a
    /// failure.
    [[nodiscard]] bool start();

    /// Interrupts the thread. Waits for its end and answers true, or with @p noWait answers isStopped().
    bool stop(bool noWait);

    /// True if there is no thread, or it ended within the 100 milliseconds that this waits.
    [[nodiscard]] bool isStopped();

private:
    void threadFunction();

    boost::thread thread;
    int (*checkInterruptFn)() = checkInterrupt;
    startFunction_t startFunction = nullptr;
    const std::string name;
};
