// The scoped objects on the process-wide locks.

#include "support/Actor.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "common/Clock.h"
#include "log/LogText.h"
#include "rte/BLL/core/GlobalLock.h"
#include "rte/BLL/core/LockWaitStop.h"
#include "rte/BLL/core/StallReports.h"
#include "support/CapturedLog.h"
#include "support/CapturedOutput.h"

namespace {

using namespace actor;
namespace gls = globalLockState;
using boost::posix_time::milliseconds;
using boost::posix_time::seconds;
using boost::posix_time::time_duration;

Mutex::stateData ownRecord(Mutex& lock)
{
    const auto map = lock.getStateMap();
    const auto own = map.find(boost::this_thread::get_id());
    return own == map.end() ? Mutex::stateData{} : own->second;
}

std::string ownCounts(Mutex& lock = gls::lock())
{
    const auto own = ownRecord(lock);
    return std::to_string(own.sharedCount) + "s" + std::to_string(own.exclusiveCount) + "e";
}

class ScopedLock : public testing::Test
{
protected:
    ~ScopedLock() override
    {
        lock_t::lockingPeriod = seconds(300);
        actLock_t::actLockingPeriod = seconds(300);
        gls::lockDebug = false;
        gls::actLockDebug = false;
        Clock::reset();
        EXPECT_EQ(ownCounts(), "0s0e");
    }
};

TEST_F(ScopedLock, HoldsForItsScopeAndCanBeGivenBackAndTakenAgain)
{
    try {
        exclusiveLock_t outer;
        EXPECT_TRUE(outer.locked);
        const sharedLock_t inner;
        EXPECT_TRUE(inner.locked);
        EXPECT_EQ(ownCounts(), "1s1e");
        outer.unlock();
        EXPECT_FALSE(outer.locked);
        outer.unlock();
        EXPECT_EQ(ownCounts(), "1s0e");
        outer.lock();
        EXPECT_TRUE(outer.locked);
        EXPECT_EQ(ownCounts(), "1s1e");
        throw std::runtime_error("on the way out");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(ownCounts(), "0s0e");
}

TEST_F(ScopedLock, SaysThatItWasNotGotAndResetsThePeriod)
{
    const CapturedLog log;
    Actor holder(gls::lock());
    ASSERT_TRUE(holder.shared().granted);
    lock_t::lockingPeriod = milliseconds(-1);
    const std::string said = standardErrorOf([] { EXPECT_FALSE(exclusiveLock_t().locked); });
    EXPECT_NE(said.find("failed to get exclusive lock.\n"), std::string::npos);
    EXPECT_TRUE(
        log.has(LogImpl::critical, "Dump of exclusive/shared lock holders and exclusive lock waiters:\n"));
    EXPECT_EQ(time_duration(lock_t::lockingPeriod), seconds(300));

    lock_t::lockingPeriod = milliseconds(-1);
    EXPECT_FALSE(exclusiveLock_t().locked);
    EXPECT_TRUE(log.has(LogImpl::critical, "ERROR: The same lock exception is still active.\n"));
    EXPECT_EQ(time_duration(lock_t::lockingPeriod), milliseconds(-1)) << "no report, no reset";
    holder.unlockShared();
}

TEST_F(ScopedLock, LeavesSilentlyWhenItsThreadIsToldToStop)
{
    const CapturedLog log;
    Actor holder(gls::lock());
    ASSERT_TRUE(holder.exclusive().granted);
    const LockWaitStop watched([] { return true; });
    const sharedLock_t object;
    EXPECT_FALSE(object.locked);
    EXPECT_EQ(log.text(), "");
    holder.unlock();
}

template <typename Object>
void takeAndGiveBack()
{
    const Object object;
}

TEST_F(ScopedLock, ATraceBracketsEveryStepAndTellsAFailure)
{
    const struct
    {
        void (*takeAndGiveBack)();
        Mutex& lock;
        const char* granted;
        const char* refused;
    } kinds[] = {{takeAndGiveBack<exclusiveLock_t>, gls::lock(), " [+EL]  [-EL] ", " [+EL Error] "},
                 {takeAndGiveBack<sharedLock_t>, gls::lock(), " [+SL]  [-SL] ", " [+SL error] "},
                 {takeAndGiveBack<actExclusiveLock_t>, gls::actLock(), " [+AEL]  [-AEL] ", " [+AEL Error] "},
                 {takeAndGiveBack<actSharedLock_t>, gls::actLock(), " [+ASL]  [-ASL] ", " [+ASL error] "}};
    gls::actLockDebug = gls::lockDebug = true;
    for (const auto& kind : kinds) {
        const CapturedLog log;
        kind.takeAndGiveBack();
        logText(LogImpl::warning, "end\n"); // lines go out with their newline
        EXPECT_EQ(log.text(), std::string(kind.granted) + "end\n");

        lock_t::lockingPeriod = milliseconds(-1);
        actLock_t::actLockingPeriod = milliseconds(-1);
        Actor holder(kind.lock);
        ASSERT_TRUE(holder.exclusive().granted);
        standardErrorOf(kind.takeAndGiveBack);
        logText(LogImpl::warning, "end\n");
        ASSERT_GT(log.lines().size(), 1u);
        EXPECT_TRUE(log.lines()[1].text.starts_with(kind.refused)) << log.lines()[1].text;
        holder.unlock();
    }
}

TEST_F(ScopedLock, ActObjectsUseTheirOwnLockAndKeepTheirPeriodAndFlag)
{
    {
        actExclusiveLock_t object;
        ASSERT_TRUE(object.locked);
        EXPECT_EQ(ownCounts(gls::lock()), "0s0e");
        EXPECT_EQ(ownCounts(gls::actLock()), "0s1e");
        object.actUnlock();
        EXPECT_TRUE(object.locked);
        EXPECT_EQ(ownCounts(gls::actLock()), "0s0e");
    }
    Actor holder(gls::actLock());
    ASSERT_TRUE(holder.exclusive().granted);
    actLock_t::actLockingPeriod = milliseconds(-1);
    const std::string said = standardErrorOf([] { EXPECT_FALSE(actSharedLock_t().locked); });
    EXPECT_TRUE(said.starts_with("\n*** LOCK ACT EXCEPTION: [")) << said;
    EXPECT_EQ(time_duration(actLock_t::actLockingPeriod), milliseconds(-1));
    holder.unlock();
}

TEST_F(ScopedLock, ExclusiveFallsBackToOneLevelAndReturns)
{
    exclusiveLock_t first;
    const exclusiveLock_t second;
    const exclusiveLock_t third;
    const sharedLock_t fourth;
    EXPECT_FALSE(first.restoreUnlockedToOne());
    EXPECT_TRUE(first.unlockToOne());
    EXPECT_EQ(ownCounts(), "0s1e");
    EXPECT_FALSE(first.unlockToOne());
    {
        const sharedLock_t further;
        EXPECT_FALSE(first.restoreUnlockedToOne()) << "not over further levels";
        EXPECT_EQ(ownCounts(), "1s1e");
    }
    EXPECT_TRUE(first.restoreUnlockedToOne());
    EXPECT_EQ(ownCounts(), "1s3e");
    EXPECT_FALSE(first.unlockedToOne);
    EXPECT_EQ(first.savedShared + first.savedExclusive, 0u);
}

TEST_F(ScopedLock, SharedFallsBackToOneLevelThatLetsReadersIn)
{
    sharedLock_t first;
    EXPECT_FALSE(first.unlockExclusiveToOne()) << "only to what the thread holds";
    {
        const sharedLock_t second;
        const exclusiveLock_t third;
        ASSERT_TRUE(first.unlockToOne());
        EXPECT_EQ(ownCounts(), "1s0e");
        Actor reader(gls::lock());
        EXPECT_TRUE(reader.shared().granted);
        reader.unlockShared();
        EXPECT_TRUE(first.restoreUnlockedToOne());
        EXPECT_EQ(ownCounts(), "2s1e");
    }
    first.unlock();
    EXPECT_FALSE(first.unlockToOne());
    EXPECT_FALSE(first.restoreUnlockedToOne());
}

TEST_F(ScopedLock, ReturningThrowsWhenALevelIsNotGot)
{
    sharedLock_t first;
    {
        const exclusiveLock_t second;
        ASSERT_TRUE(first.unlockToOne());
        Actor reader(gls::lock());
        ASSERT_TRUE(reader.shared().granted);
        auto patience = std::thread([waiting = boost::this_thread::get_id()] {
            // Five seconds for the level; the clock runs ahead so that nobody has to wait for them.
            while (!gls::lock().getStateMap().at(waiting).waitingExclusive)
                std::this_thread::yield();
            Clock::advance(std::chrono::seconds(6));
        });
        EXPECT_THROW(first.restoreUnlockedToOne(), lockError_t);
        EXPECT_TRUE(first.unlockedToOne);
        patience.join();
        reader.unlockShared();
    }
    EXPECT_EQ(ownCounts(), "1s0e");
}

TEST_F(ScopedLock, DeadlockTestShowsAThreadThatIsAboutToUpgrade)
{
    std::ostringstream answer;
    stallReports::bllDeadlockTest(true, &answer);
    const std::string shown = standardOutputOf([&answer] {
        for (int noUpgrade = 0; noUpgrade < 2; ++noUpgrade) {
            const exclusiveLock_t owning;
            const exclusiveLock_t deeper;
        }
        const sharedLock_t reading;
        const actExclusiveLock_t otherLock;
        const exclusiveLock_t upgrade;
        stallReports::bllDeadlockTest(false, &answer);
    });
    EXPECT_TRUE(shown.starts_with("------------------------------------------------------\n"
                                  "thread::id |     pid_t |  pthread_t | name\n"))
        << shown;
    EXPECT_EQ(shown.find("thread::id"), shown.rfind("thread::id")) << "shown once";
}

TEST(LockPeriod, KeepsSpecialValues)
{
    for (const auto special : {boost::date_time::pos_infin, boost::date_time::neg_infin}) {
        LockPeriod period(300);
        period = time_duration(special);
        EXPECT_EQ(time_duration(period), time_duration(special));
    }
}

} // namespace
