// A program that crashes, hangs or asks for reports as its first argument says; the tests read what comes
// out.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <pthread.h>
#include <string>
#include <sys/wait.h>
#include <syslog.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "selfdebug/AlternateStack.h"
#include "selfdebug/ReporterLink.h"
#include "selfdebug/SelfDebugger.h"

/// Stands in for the C library's, in this program and its reporter: one line each on standard output.
extern "C" void syslog(int priority, const char* format, ...)
{
    va_list values;
    va_start(values, format);
    std::fprintf(stdout, "syslog %d: ", priority);
    std::vfprintf(stdout, format, values);
    std::fprintf(stdout, "\n");
    std::fflush(stdout);
    va_end(values);
}

namespace probe {

[[gnu::noinline, gnu::no_sanitize("address", "undefined")]] void writeThroughNull()
{
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
}

[[gnu::noinline]] int dig(volatile char* above)
{
    volatile char room[512];
    room[0] = above[0];
    return room[0] == 'e' ? 0 : dig(room) + room[0]; // there is no 'e' to end it
}

void overflow()
{
    volatile char start[1] = {};
    dig(start);
}

std::atomic<bool> stuckMayGo{false};
std::atomic<pid_t> stuckLwp{0};

/// A thread that is stuck, in naps and not in one long call.
[[gnu::noinline]] void stuckForLong()
{
    stuckLwp = gettid();
    while (!stuckMayGo)
        usleep(1000);
}

} // namespace probe

namespace {

SelfDebugger& debugger() { return SelfDebugger::instance(); }

int onThread(const std::function<void()>& body)
{
    std::thread(body).join();
    return 1; // not reached after a crash
}

/// How many children there are that have not ended.
std::ptrdiff_t children()
{
    std::ifstream pids("/proc/self/task/" + std::to_string(getpid()) + "/children");
    return std::distance(std::istream_iterator<int>(pids), {});
}

int reportStuckThread()
{
    std::thread stuck(probe::stuckForLong);
    while (probe::stuckLwp == 0)
        usleep(1000);
    const bool sent = debugger().reportBacktrace({stuck.native_handle(), probe::stuckLwp});
    usleep(100'000);
    probe::stuckMayGo = true;
    stuck.join();
    return sent ? 0 : 1;
}

int reportDeadThread()
{
    SelfDebugger::ThreadId id{};
    std::thread([&] { id = SelfDebugger::currentThreadId(); }).join();
    return debugger().reportBacktrace(id) ? 1 : 0;
}

/// Requests race with switching reports off and on; a signal that meets the default action ends the process.
int switchUnderFire()
{
    std::atomic<bool> done{false};
    std::atomic<pid_t> target{0};
    std::thread shotAt([&] {
        target = gettid();
        sigset_t usr1;
        sigemptyset(&usr1);
        sigaddset(&usr1, SIGUSR1);
        while (!done) { // signals pile up while they are blocked
            pthread_sigmask(SIG_BLOCK, &usr1, nullptr);
            usleep(100);
            pthread_sigmask(SIG_UNBLOCK, &usr1, nullptr);
        }
    });
    while (target == 0)
        usleep(100);
    std::thread shooter([&] {
        while (!done) {
            debugger().reportBacktrace({pthread_t{}, target});
            usleep(50);
        }
    });
    for (int i = 0; i < 400; ++i) {
        debugger().disableManualDebugReports();
        usleep(100);
        debugger().enableManualDebugReports();
        usleep(200);
    }
    done = true;
    shooter.join();
    shotAt.join();
    return 0;
}

int beforeInit()
{
    const bool refused = !debugger().enableFatalSignalsDebugReports() &&
                         !debugger().enableManualDebugReports() && !debugger().reportBacktrace() &&
                         !debugger().manualDebugReportsEnabled();
    slfDbgMsg record{};
    return refused && !reporterLink::send(record) ? 0 : 1;
}

int secondInit(int argc, char** argv)
{
    const bool refused = !debugger().init(argc, argv, "");
    return refused && children() == 1 ? 0 : 1;
}

int switchedOff()
{
    debugger().disableManualDebugReports();
    struct sigaction present = {};
    sigaction(SIGUSR1, nullptr, &present);
    return !debugger().reportBacktrace() && present.sa_handler == SIG_DFL ? 0 : 1;
}

int outliveReporter()
{
    std::signal(SIGPIPE, SIG_IGN);
    const pid_t reporter = reporterLink::reporterPid;
    kill(reporter, SIGKILL);
    waitpid(reporter, nullptr, 0);
    if (debugger().reportBacktrace())
        return 1;
    errno = 77;
    selfDebuggerSignalHandler(SIGUSR1, nullptr, nullptr);
    return errno == 77 ? 0 : 1;
}

int brokenRecords()
{
    slfDbgMsg record{};
    record.frames = 1'000'000;
    record.signal = 11;
    const bool sent = reporterLink::send(record);
    record.frames = -5;
    record.signal = -1;
    return sent && reporterLink::send(record) ? 0 : 1;
}

int showReporter()
{
    const std::string base = "/proc/" + std::to_string(reporterLink::reporterPid) + "/";
    usleep(100'000);
    for (const char* name : {"comm", "cmdline"}) {
        std::ifstream file(base + name);
        std::string shown(std::istreambuf_iterator<char>(file), {});
        std::replace_if(
            shown.begin(), shown.end(), [](char c) { return c == '\0' || c == '\n'; }, '.');
        std::printf("%s=%s\n", name, shown.c_str());
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string what = argc > 1 ? argv[1] : "";
    const std::string mapFile = argc > 2 ? argv[2] : "";
    if (what == "before-init")
        return beforeInit();
    std::printf("buffered before the fork;");
    if (!debugger().init(argc, argv, mapFile) || !debugger().enableFatalSignalsDebugReports() ||
        !debugger().enableManualDebugReports())
        return 2;
    const std::map<std::string, std::function<int()>> actions{
        {"null", [] { return probe::writeThroughNull(), 1; }},
        {"null-in-thread", [] { return onThread(probe::writeThroughNull); }},
        {"abort", [] { return onThread([] { std::abort(); }); }},
        {"overflow-main", [] { return probe::overflow(), 1; }},
        {"overflow-with-signal-stack",
         [] { return onThread([] { useAlternateStack() ? probe::overflow() : std::_Exit(3); }); }},
        {"overflow-without-signal-stack", [] { return onThread(probe::overflow); }},
        {"stuck", reportStuckThread},
        {"own", [] { return debugger().reportBacktrace() ? 0 : 1; }},
        {"dead", reportDeadThread},
        {"switch-under-fire", switchUnderFire},
        {"second-init", [&] { return secondInit(argc, argv); }},
        {"switched-off", switchedOff},
        {"outlive-reporter", outliveReporter},
        {"broken-records", brokenRecords},
        {"show-reporter", showReporter},
    };
    const auto action = actions.find(what);
    return action == actions.end() ? 4 : action->second();
}
