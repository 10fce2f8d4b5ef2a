#include "selfdebug/SelfDebugger.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <execinfo.h>
#include <fcntl.h>
#include <iostream>
#include <mutex>
#include <syslog.h>
#include <unistd.h>

#include "selfdebug/AlternateStack.h"
#include "selfdebug/MemMapReportFile.h"
#include "selfdebug/ReporterLink.h"

namespace {

constinit std::atomic<bool> manualReportsEnabled{false};

/// Held while SIGUSR1 is sent and while its handling is switched, so that no signal meets its deadly default
/// action.
constinit std::mutex manualReportsMutex;

constexpr std::array fatalSignals{SIGSEGV, SIGILL, SIGABRT, SIGFPE, SIGBUS, SIGSTKFLT};

bool hasReporter()
{
    if (reporterLink::reporterPid.load() != -1)
        return true;
    syslog(LOG_ERR, "Error: SelfDebugger not initialized (please call the init() function).");
    return false;
}

bool installHandler(int signal, int extraFlags)
{
    struct sigaction action = {};
    action.sa_sigaction = selfDebuggerSignalHandler;
    action.sa_flags = SA_SIGINFO | SA_RESTART | extraFlags;
    sigemptyset(&action.sa_mask);
    return sigaction(signal, &action, nullptr) == 0;
}

bool setAction(int signal, sighandler_t handler)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    return sigaction(signal, &action, nullptr) == 0;
}

bool isCaller(const SelfDebugger::ThreadId& thread)
{
    // A native handle may belong to another thread by now, so it counts only where the kernel id is unknown.
    return thread.lwp > 0 ? thread.lwp == gettid() : pthread_equal(thread.thread, pthread_self()) != 0;
}

bool setPipeFlags(const int (&fds)[2])
{
    // The write end doesn't block: a reporter that is stuck itself must not stop the threads that it should
    // report.
    return fcntl(fds[0], F_SETFD, FD_CLOEXEC) == 0 && fcntl(fds[1], F_SETFD, FD_CLOEXEC) == 0 &&
           fcntl(fds[1], F_SETFL, O_WRONLY | O_NONBLOCK) == 0;
}

void closeBoth(const int (&fds)[2])
{
    close(fds[0]);
    close(fds[1]);
}

/// Empties the output buffers before the fork, or the reporter would write a copy of what they hold.
void flushOutput()
{
    std::cout.flush();
    std::cerr.flush();
    std::clog.flush();
    fflush(nullptr);
}

/// The first call loads a library, which a signal handler can't do.
void prepareBacktraces()
{
    slfDbgMsg unused{};
    [[maybe_unused]] const bool collected = reporterLink::collect(unused);
}

} // namespace

SelfDebugger& SelfDebugger::instance()
{
    static auto& object = *new SelfDebugger;
    return object;
}

bool SelfDebugger::init(int argc, char** argv, const std::string& memMapFile)
{
    if (reporterLink::reporterPid.load() != -1)
        return false;
    setMemMapReportFile(memMapFile);
    prepareBacktraces();

    int fds[2] = {-1, -1};
    if (pipe(fds) != 0) {
        syslog(LOG_ERR, "Error creating selfdebugger reported pipe: %s", strerror(errno));
        return false;
    }
    if (!setPipeFlags(fds)) {
        syslog(LOG_ERR, "Error setting selfdebugger pipe flags");
        closeBoth(fds);
        return false;
    }
    flushOutput();
    const pid_t pid = fork();
    if (pid == -1) {
        const int error = errno;
        closeBoth(fds);
        syslog(LOG_ERR, "Error forking selfdebugger reported: %s", strerror(error));
        return false;
    }
    if (pid == 0) {
        close(fds[1]);
        selfDebuggerReporter(fds[0], argc, argv);
    }
    close(fds[0]);
    reporterLink::pipeFd.store(fds[1]);
    reporterLink::reporterPid.store(pid);
    return true;
}

bool SelfDebugger::enableFatalSignalsDebugReports()
{
    if (!hasReporter())
        return false;
    useAlternateStack();
    return std::all_of(fatalSignals.begin(), fatalSignals.end(),
                       [](int signal) { return installHandler(signal, SA_ONSTACK); });
}

bool SelfDebugger::enableManualDebugReports()
{
    if (!hasReporter())
        return false;
    const std::lock_guard guard(manualReportsMutex);
    if (!installHandler(SIGUSR1, 0))
        return false;
    manualReportsEnabled.store(true);
    return true;
}

bool SelfDebugger::disableManualDebugReports()
{
    const std::lock_guard guard(manualReportsMutex);
    manualReportsEnabled.store(false);
    // First ignore the signal: the kernel then drops signals that were sent but not delivered yet. With the
    // default action they would end the process.
    return setAction(SIGUSR1, SIG_IGN) && setAction(SIGUSR1, SIG_DFL);
}

bool SelfDebugger::manualDebugReportsEnabled() { return manualReportsEnabled.load(); }

bool SelfDebugger::reportBacktrace(ThreadId thread)
{
    if (!manualDebugReportsEnabled())
        return false;
    if (isCaller(thread)) {
        slfDbgMsg record{};
        return reporterLink::collect(record) && reporterLink::send(record);
    }
    const std::lock_guard guard(manualReportsMutex);
    // By kernel id: for a thread that has gone this fails, where a native handle would crash us.
    return manualReportsEnabled.load() && thread.lwp > 0 && tgkill(getpid(), thread.lwp, SIGUSR1) == 0;
}

bool SelfDebugger::reportBacktrace() { return reportBacktrace(currentThreadId()); }

void SelfDebugger::setMemMapReportFile(const std::string& fileName) { memMapReportFile() = fileName; }

SelfDebugger::ThreadId SelfDebugger::currentThreadId() { return {pthread_self(), gettid()}; }
