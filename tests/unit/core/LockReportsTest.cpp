// The texts about the locks and the rhythm of the failure reports.

#include "support/Actor.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>

#include "common/Clock.h"
#include "rte/BLL/core/GlobalLockState.h"
#include "rte/BLL/core/LockReportMemory.h"
#include "rte/BLL/core/LockReports.h"
#include "rte/BLL/core/ThreadRegistry.h"
#include "support/CapturedLog.h"
#include "support/CapturedOutput.h"

namespace {

using namespace actor;
using Verdict = LockReportMemory::Verdict;

[[gnu::format(printf, 1, 2)]] std::string printed(const char* format, ...)
{
    char text[1024];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof(text), format, values);
    va_end(values);
    return text;
}

Mutex::stateData holding(std::uint32_t shared, std::uint32_t exclusive, bool waiting = false)
{
    Mutex::stateData data;
    data.sharedCount = shared;
    data.exclusiveCount = exclusive;
    data.waitingExclusive = waiting;
    data.lwpId = 4711;
    data.pthreadId = 0xabc;
    return data;
}

const char* const dumpHead =
    "Dump of exclusive/shared lock holders and exclusive lock waiters:\n"
    "------------------------------------------------------------------------------------------\n"
    "seconds | shared | exclusive | wait_excl | thread::id |     pid_t |  pthread_t | name\n"
    "------------------------------------------------------------------------------------------\n";

TEST(LockHoldersDump, ShowsHoldersAndWaitersOnly)
{
    const auto dumped = [](const Mutex::stateData& data) {
        std::ostringstream out;
        lockReports::getLockHoldersDump(out, {{boost::thread::id(), data}});
        return out.str();
    };
    const std::string head = dumpHead;
    auto holder = holding(2, 1);
    holder.lockedSince = Clock::now() - 17;
    EXPECT_EQ(
        dumped(holder),
        head + "     17 |      2 |         1 |           | {Not-any-thread} |      4711 |      0xabc | \n");
    EXPECT_EQ(
        dumped(holding(0, 0, true)),
        head + "      0 |      0 |         0 |         + | {Not-any-thread} |      4711 |      0xabc | \n");
    EXPECT_EQ(dumped(holding(0, 0)), head);
}

TEST(LockHoldersDump, NamesRegisteredThreads)
{
    Actor known(globalLockState::lock());
    Actor unknown(globalLockState::lock());
    known.perform([] { ThreadRegistry::instance().registerThread("holder"); });
    ASSERT_TRUE(known.shared().granted);
    ASSERT_TRUE(unknown.shared().granted);
    const std::string shown = standardOutputOf([] { lockReports::debug_showLockHolders(); });
    EXPECT_EQ(shown.find(printed("Thread requesting lock holders dump: %d\n%s", gettid(), dumpHead)), 0u)
        << shown;
    for (Actor* one : {&known, &unknown}) {
        const auto data = one->record();
        const std::string row =
            printed("      0 |      1 |         0 |           | %#10lx | %9d | %#10lx | %s\n", data.pthreadId,
                    data.lwpId, data.pthreadId, one == &known ? "holder" : "");
        EXPECT_NE(shown.find(row), std::string::npos) << shown << row;
    }
    known.unlockShared();
    unknown.unlockShared();
}

TEST(LockDescription, NamesTheThreadAsTheRegistryKnowsIt)
{
    Mutex lock;
    Actor failing(lock);
    failing.perform([] { ThreadRegistry::instance().registerThread("failing thread"); });
    lockError_t error;
    error.thread = failing.id();
    error.exclusive = true;
    const pid_t lwp = failing.perform([] { return gettid(); });
    const pthread_t handle = failing.perform([] { return pthread_self(); });
    const std::string who = printed("failing thread; %#lx; %d; %#lx] failed to get ", handle, lwp, handle);
    EXPECT_EQ(lockReports::getExceptionDescription(error),
              "\n*** LOCK EXCEPTION: [" + who + "exclusive lock.\n" + dumpHead);
    error.exclusive = false;
    EXPECT_EQ(lockReports::getActExceptionDescription(error),
              "\n*** LOCK ACT EXCEPTION: [" + who + "shared lock.\n" + dumpHead);
}

TEST(LockCheck, PrintsAViolationAndNothingElse)
{
    const auto checked = [](lockType type) {
        return standardOutputOf([type] { lockReports::lockCheck(type); });
    };
    Mutex& lock = globalLockState::lock();
    Actor reader(lock);
    if (!lock.getStateMap().contains(reader.id())) { // the handle may be that of an earlier thread
        EXPECT_EQ(reader.perform([&] { return checked(lockType::write); }), "") << "who never came passes";
    }
    reader.perform([] { ThreadRegistry::instance().registerThread("reader"); });
    ASSERT_TRUE(reader.shared().granted);
    EXPECT_EQ(reader.perform([&] { return checked(lockType::read); }), "");
    const auto own = reader.record();
    const std::string rule = "------------------------------------------------------\n";
    EXPECT_EQ(reader.perform([&] { return checked(lockType::write); }),
              "Lock access violation: \n Access: Write\n Shared taken: 1\n Exclusive taken: 0\n\n" + rule +
                  "thread::id |     pid_t |  pthread_t | name\n" + rule +
                  printed("%#10lx | %9d | %#10lx | reader\n", own.pthreadId, own.lwpId, own.pthreadId));
    reader.unlockShared();
    EXPECT_EQ(reader.perform([&] { return checked(lockType::read); })
                  .find("Lock access violation: \n Access: Read\n Shared taken: 0\n Exclusive taken: 0\n\n"),
              0u);
    ASSERT_TRUE(reader.exclusive().granted);
    EXPECT_EQ(reader.perform([&] { return checked(lockType::write) + checked(lockType::read); }), "");
    reader.unlock();
}

TEST(LockReportRhythm, DoublesWhileNothingChangesAndStartsAfreshWhenItDoes)
{
    LockReportMemory memory;
    lockError_t error;
    const auto self = boost::this_thread::get_id();
    error.stateMap[self] = holding(1, 0);
    std::time_t now = 1'700'000'000;
    const auto report = [&] {
        const Verdict verdict = memory.judge(error, now);
        if (verdict == Verdict::report)
            memory.reported(error, now);
        return verdict == Verdict::report;
    };
    EXPECT_TRUE(report());
    for (const int period : {90, 180, 360}) {
        now += period - 1;
        EXPECT_FALSE(report()) << period;
        now += 1;
        EXPECT_TRUE(report()) << period;
    }
    ++error.stateMap[self].sharedCount;
    EXPECT_TRUE(report()) << "another situation";
    now += 44;
    EXPECT_FALSE(report());
    now += 1;
    EXPECT_TRUE(report()) << "45 seconds after the change";
    now += 89;
    EXPECT_FALSE(report());
}

TEST(LockReportRhythm, LooksAtThoseThatHoldSomethingNow)
{
    const auto self = boost::this_thread::get_id();
    const boost::thread::id other;
    const auto changed = [&](const Mutex::stateMap_t& before, const Mutex::stateMap_t& now) {
        LockReportMemory memory;
        lockError_t error;
        error.stateMap = before;
        memory.judge(error, 1000);
        memory.reported(error, 1000);
        error.stateMap = now;
        return memory.judge(error, 1001) == Verdict::report;
    };
    const auto base = holding(1, 0);
    EXPECT_FALSE(changed({{self, base}}, {{self, base}, {other, holding(0, 0, true)}}));
    EXPECT_FALSE(changed({{self, base}, {other, base}}, {{self, base}})) << "let go";
    EXPECT_TRUE(changed({{self, base}}, {{self, base}, {other, base}})) << "came";
    auto differing = base;
    differing.lwpId = 1;
    EXPECT_TRUE(changed({{self, base}}, {{self, differing}}));
    EXPECT_TRUE(changed({{self, base}}, {{self, holding(1, 0, true)}}));
    EXPECT_TRUE(changed({{self, base}}, {{self, holding(1, 1)}}));
    differing = base;
    differing.pthreadId = 1;
    differing.lockedSince = 1;
    EXPECT_FALSE(changed({{self, base}}, {{self, differing}}));
}

} // namespace
