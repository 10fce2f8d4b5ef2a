#pragma once

#include <csignal>
#include <pthread.h>
#include <string>
#include <sys/types.h>

/**
 * Crash reports and backtraces on request. A reporter process, forked while the daemon is still healthy,
 * turns raw return addresses from a pipe into readable reports on standard error and syslog; what happens in
 * a signal handler is limited to collecting the addresses and one write.
 */
class SelfDebugger
{
public:
    /// Addresses a thread. The kernel id decides: a native handle of a thread that has gone can't be used
    /// safely.
    struct ThreadId
    {
        pthread_t thread;
        pid_t lwp;
    };

    static SelfDebugger& instance();

    /// Stores the file name, makes the pipe, forks the reporter. False if done before, or on failure. Must
    /// come before threads are made: the reporter knows the libraries that were loaded at this moment.
    virtual bool init(int argc, char** argv, const std::string& memMapFile);

    /// Handles the fatal signals, and gives the calling thread a signal stack; see AlternateStack.h for other
    /// threads.
    virtual bool enableFatalSignalsDebugReports();
    virtual bool enableManualDebugReports();
    virtual bool disableManualDebugReports();
    virtual bool manualDebugReportsEnabled();

    /// Asks for the backtrace of a thread, which goes on afterwards. False if reports are off or the thread
    /// has gone.
    virtual bool reportBacktrace(ThreadId thread);
    virtual bool reportBacktrace();

    virtual ~SelfDebugger() = default;

    /// Where the map of a report on request goes; the reporter uses the name that stood at init().
    virtual void setMemMapReportFile(const std::string& fileName);

    [[nodiscard]] static ThreadId currentThreadId();

protected:
    SelfDebugger() = default;
};

/// Handler of the fatal signals and of SIGUSR1; async-signal-safe.
void selfDebuggerSignalHandler(int signal, siginfo_t* info, void* context);

/// The reporter process: reads records from @p readFd until the daemon has gone. Changes argv's texts in
/// place.
[[noreturn]] void selfDebuggerReporter(int readFd, int argc, char** argv);
