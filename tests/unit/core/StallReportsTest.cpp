#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <syslog.h>
#include <vector>

#include "common/Clock.h"
#include "rte/BLL/core/GlobalLock.h"
#include "rte/BLL/core/StallReports.h"
#include "selfdebug/SelfDebugger.h"
#include "support/CapturedOutput.h"

namespace {
std::vector<std::string> syslogLines;
} // namespace

/// Stands in for the C library's, for this program.
extern "C" void syslog(int priority, const char* format, ...)
{
    char text[1024];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof(text), format, values);
    va_end(values);
    syslogLines.push_back(std::to_string(priority) + ":" + text);
}

namespace {

using boost::posix_time::seconds;

class FakeDebugger : public SelfDebugger
{
public:
    using SelfDebugger::reportBacktrace;
    bool manualDebugReportsEnabled() override { return enabled; }
    bool reportBacktrace(ThreadId thread) override
    {
        asked.push_back(thread.lwp);
        return reachable;
    }

    bool enabled = true;
    bool reachable = true;
    std::vector<pid_t> asked;
};

class StallReports : public testing::Test
{
protected:
    ~StallReports() override
    {
        Clock::reset();
        lock_t::lockingPeriod = seconds(300);
    }

    /// A holder that no other test has seen.
    recursiveSharedMutex_t::stateData holderSince(std::time_t secondsAgo)
    {
        static pid_t next = 1000;
        recursiveSharedMutex_t::stateData data;
        data.sharedCount = 1;
        data.lwpId = ++next;
        data.lockedSince = Clock::now() - secondsAgo;
        return data;
    }

    /// What goes to standard error.
    std::string report(const recursiveSharedMutex_t::stateData& data)
    {
        syslogLines.clear();
        return standardErrorOf([&] {
            stallReports::reportProblematicThreads(debugger, {{boost::thread::id(), data}});
        });
    }

    static std::string textFor(pid_t lwp, int held)
    {
        return "\nError: thread " + std::to_string(lwp) + " is holding a lock for too long (" +
               std::to_string(held) + " seconds). Dumping the thread's backtrace...\n";
    }

    FakeDebugger debugger;
};

TEST_F(StallReports, AThreadIsReportedFromThePeriodOn)
{
    EXPECT_EQ(report(holderSince(298)), "");
    const auto stuck = holderSince(300);
    EXPECT_EQ(report(stuck), textFor(stuck.lwpId, 300));
    EXPECT_EQ(syslogLines, (std::vector<std::string>{"3:" + textFor(stuck.lwpId, 300)}));
    EXPECT_EQ(debugger.asked, std::vector<pid_t>{stuck.lwpId});

    lock_t::lockingPeriod = seconds(5);
    auto owner = holderSince(5);
    std::swap(owner.sharedCount, owner.exclusiveCount);
    EXPECT_EQ(report(owner), textFor(owner.lwpId, 5));
}

TEST_F(StallReports, TheSameThreadAgainOnlyAfterEightThirdsOfThePeriod)
{
    const auto stuck = holderSince(300);
    EXPECT_NE(report(stuck), "");
    Clock::advance(std::chrono::seconds(798));
    EXPECT_EQ(report(stuck), "");
    EXPECT_NE(report(holderSince(300)), "") << "another thread";
    Clock::advance(std::chrono::seconds(2));
    EXPECT_EQ(report(stuck).find(textFor(stuck.lwpId, 1100).substr(0, 60)), 0u);
    EXPECT_EQ(debugger.asked.size(), 3u);
}

TEST_F(StallReports, AFailureIsToldAndNotTriedAgainAtOnce)
{
    debugger.reachable = false;
    const auto stuck = holderSince(300);
    EXPECT_EQ(report(stuck), textFor(stuck.lwpId, 300) + "Error reporting thread's backtrace.\n");
    EXPECT_EQ(syslogLines.back(), "3:Error reporting thread's backtrace.");
    EXPECT_EQ(report(stuck), "");
}

TEST_F(StallReports, NothingIsSaidWithoutManualReportsOrWithoutAKnownHolder)
{
    debugger.enabled = false;
    EXPECT_EQ(report(holderSince(1000)), "");
    debugger.enabled = true;
    auto data = holderSince(1000);
    data.sharedCount = 0;
    data.waitingExclusive = true;
    EXPECT_EQ(report(data), "");
    for (const std::time_t unknown : {0, -1}) {
        data = holderSince(1000);
        data.lockedSince = unknown;
        EXPECT_EQ(report(data), "");
    }
    EXPECT_TRUE(debugger.asked.empty());
}

} // namespace
