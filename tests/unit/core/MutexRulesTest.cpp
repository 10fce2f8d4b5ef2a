// The lock's rules, one thread's request at a time.

#include "support/Actor.h"

#include <gtest/gtest.h>

#include <atomic>

#include "common/Clock.h"
#include "rte/BLL/core/LockWaitStop.h"

namespace {

using namespace actor;

class MutexRules : public testing::Test
{
protected:
    ~MutexRules() override { Clock::reset(); }

    Mutex lock{noSlices};
    Actor a{lock};
    Actor b{lock};
    Actor c{lock};
};

TEST_F(MutexRules, AFailedRequestCarriesTheSituation)
{
    ASSERT_TRUE(a.exclusive().granted);
    ASSERT_TRUE(a.exclusive().granted);
    a.unlock(); // one level stays
    const Answer reader = b.shared();
    ASSERT_TRUE(reader.error);
    EXPECT_FALSE(reader.error->exclusive);
    EXPECT_TRUE(reader.error->blockedByExclusive);
    EXPECT_EQ(reader.error->thread, b.id());
    EXPECT_EQ(reader.error->owner, a.id());
    EXPECT_EQ(reader.error->stateMap.at(a.id()).exclusiveCount, 1u);
    EXPECT_EQ(reader.error->stateMap.at(b.id()).lwpId, 0) << "holds nothing, so its record isn't valid";
    a.unlock();
    ASSERT_TRUE(a.shared().granted);
    const Answer writer = b.exclusive();
    ASSERT_TRUE(writer.error);
    EXPECT_TRUE(writer.error->exclusive);
    EXPECT_FALSE(writer.error->blockedByExclusive);
    EXPECT_EQ(writer.error->owner, boost::thread::id()) << "the owner went with its last exclusive level";
    EXPECT_FALSE(writer.error->stateMap.at(b.id()).waitingExclusive);
}

TEST_F(MutexRules, RecordsNameTheSecondOfTheFirstLevel)
{
    const std::time_t before = Clock::now();
    ASSERT_TRUE(a.shared().granted);
    Clock::advance(std::chrono::seconds(100));
    ASSERT_TRUE(a.exclusive().granted);
    const auto held = a.record();
    EXPECT_NEAR(static_cast<double>(held.lockedSince), static_cast<double>(before), 2.0);
    a.unlock();
    a.unlockShared();
    EXPECT_EQ(lock.getStateMap().size(), 1u) << "entries stay";
}

TEST_F(MutexRules, NewReadersGiveWayToAWaitingWriterButHoldersDoNot)
{
    ASSERT_TRUE(a.shared().granted);
    auto writer = b.beginExclusive();
    b.awaitAsleep();
    const Answer newcomer = c.shared();
    ASSERT_TRUE(newcomer.error);
    EXPECT_FALSE(newcomer.error->blockedByExclusive);
    EXPECT_TRUE(a.shared().granted);
    auto copy = lock.getStateMap();
    lock.unlockWaitingThread(*copy.find(b.id()));
    EXPECT_FALSE(copy.at(b.id()).waitingExclusive);
    EXPECT_TRUE(c.shared().granted) << "only b itself puts the mark back, when it has looked";
    c.unlockShared();
    a.unlockShared();
    a.unlockShared();
    ASSERT_TRUE(comesTrue(writer));
    EXPECT_TRUE(writer.get().granted);
}

TEST_F(MutexRules, OneOfTwoUpgradingReadersGoesAhead)
{
    ASSERT_TRUE(a.shared().granted);
    ASSERT_TRUE(b.shared().granted);
    auto first = a.beginExclusive();
    a.awaitAsleep(1);
    EXPECT_TRUE(b.exclusive().granted) << "a waits, so it counts as no reader";
    EXPECT_EQ(a.record().sharedCount, 1u);
    b.unlock();
    a.awaitAsleep(1); // b still reads
    ASSERT_TRUE(c.exclusive().error);
    a.awaitAsleep(1); // c gave up, which made a look once more
    b.unlockShared();
    ASSERT_TRUE(comesTrue(first));
    EXPECT_TRUE(first.get().granted);
}

TEST_F(MutexRules, DeadlinesThatAreNoTimesDoNotHang)
{
    ASSERT_TRUE(a.shared().granted);
    using boost::posix_time::ptime;
    for (const auto special :
         {boost::date_time::neg_infin, boost::date_time::not_a_date_time, boost::date_time::min_date_time})
        EXPECT_TRUE(b.beginExclusive(ptime(special)).get().error) << special;
    for (const auto endless : {boost::date_time::pos_infin, boost::date_time::max_date_time}) {
        ASSERT_TRUE(a.shared().granted);
        auto writer = b.beginExclusive(ptime(endless));
        b.awaitAsleep();
        a.unlockShared();
        a.unlockShared();
        ASSERT_TRUE(comesTrue(writer)) << endless;
        EXPECT_TRUE(writer.get().granted) << endless;
        b.unlock();
    }
}

TEST(MutexDeadline, FollowsTheSteadyClock)
{
    Mutex lock(std::chrono::milliseconds(5));
    Actor holder(lock);
    Actor waiter(lock);
    ASSERT_TRUE(holder.exclusive().granted);
    for (const auto& begin : {&Actor::beginExclusive, &Actor::beginShared}) {
        auto request = (waiter.*begin)(now() + boost::posix_time::seconds(300));
        waiter.awaitAsleep(0, begin == &Actor::beginExclusive);
        Clock::advance(std::chrono::seconds(280));
        EXPECT_EQ(request.wait_for(std::chrono::milliseconds(30)), std::future_status::timeout);
        Clock::advance(std::chrono::seconds(25));
        ASSERT_TRUE(comesTrue(request));
        EXPECT_TRUE(request.get().error);
    }
    Clock::reset();
}

TEST(MutexWait, IsNotBrokenByAnInterruption)
{
    Mutex lock(noSlices);
    Actor holder(lock);
    ASSERT_TRUE(holder.exclusive().granted);
    std::atomic<bool> granted{false};
    std::atomic<bool> stillPending{false};
    boost::thread waiter([&] {
        granted = lock.timedLockShared(later());
        stillPending = boost::this_thread::interruption_requested();
        lock.unlockShared();
    });
    while (lock.getStateMap()[waiter.get_id()].lwpId == 0)
        std::this_thread::yield();
    waiter.interrupt();
    EXPECT_FALSE(waiter.timed_join(boost::posix_time::milliseconds(50)));
    holder.unlock();
    waiter.join();
    EXPECT_TRUE(granted);
    EXPECT_TRUE(stillPending);
}

TEST(MutexWait, EndsWithoutErrorForAThreadThatIsToldToStop)
{
    Mutex lock; // the slices of production
    Actor holder(lock);
    ASSERT_TRUE(holder.shared().granted);
    Actor waiter(lock);
    std::atomic<bool> stop{false};
    auto request = waiter.begin([&] {
        const LockWaitStop watched([&stop] { return stop.load(); });
        return lock.timedLock(later());
    });
    waiter.awaitAsleep();
    Actor reader(lock);
    auto stoodBack = reader.beginShared();
    reader.awaitAsleep(0, false);
    stop = true;
    ASSERT_EQ(request.wait_for(std::chrono::seconds(1)), std::future_status::ready);
    EXPECT_FALSE(request.get());
    EXPECT_FALSE(waiter.record().waitingExclusive);
    EXPECT_EQ(waiter.record().lwpId, 0);
    EXPECT_TRUE(comesTrue(stoodBack));
}

TEST(MutexWait, BelievesTheInnermostStopRequestOnly)
{
    EXPECT_FALSE(LockWaitStop::requested());
    const LockWaitStop outer([] { return true; });
    {
        const LockWaitStop inner([] { return false; });
        EXPECT_FALSE(LockWaitStop::requested());
        const LockWaitStop broken([]() -> bool { throw 1; });
        EXPECT_FALSE(LockWaitStop::requested());
    }
    EXPECT_TRUE(LockWaitStop::requested());
}

} // namespace
