// Random operations against a reference model that says who may hold what.

#include "Actor.h"

#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <map>
#include <memory>
#include <random>

namespace {

using namespace actor;

/// What a thread holds, as the model sees it.
struct Held
{
    std::uint32_t shared = 0;
    std::uint32_t exclusive = 0;
};

enum class Operation { lock, lockShared, unlock, unlockShared };

/// The rules while nobody sleeps in the lock.
class Model
{
public:
    explicit Model(std::size_t threads) : held(threads) {}

    [[nodiscard]] bool mayOwn(std::size_t thread) const
    {
        for (std::size_t other = 0; other < held.size(); ++other)
            if (other != thread && (held[other].exclusive > 0 || held[other].shared > 0) &&
                held[thread].exclusive == 0)
                return false;
        return true;
    }
    [[nodiscard]] bool mayRead(std::size_t thread) const
    {
        for (std::size_t other = 0; other < held.size(); ++other)
            if (other != thread && held[other].exclusive > 0 && held[thread].exclusive == 0)
                return false;
        return true;
    }

    std::vector<Held> held;
};

TEST(MutexModel, EveryStepOfARandomWalkIsAnsweredByTheRules)
{
    constexpr std::size_t threads = 4;
    Mutex lock(noSlices);
    std::array<std::unique_ptr<Actor>, threads> actors;
    for (auto& one : actors)
        one = std::make_unique<Actor>(lock);
    Model model(threads);
    std::mt19937 random(20260101);
    std::array<int, 2> refusals{};
    for (int step = 0; step < 4000; ++step) {
        const std::size_t who = random() % threads;
        Actor& actor = *actors[who];
        Held& held = model.held[who];
        // Releases come a little more often, else the walk gets stuck with everybody holding something.
        switch (static_cast<Operation>(std::array{0, 1, 2, 3, 2, 3}[random() % 6])) {
        case Operation::lock: {
            const bool may = model.mayOwn(who);
            ASSERT_EQ(actor.exclusive().granted, may) << step;
            held.exclusive += may ? 1 : 0;
            refusals[0] += may ? 0 : 1;
            break;
        }
        case Operation::lockShared: {
            const bool may = model.mayRead(who);
            ASSERT_EQ(actor.shared().granted, may) << step;
            held.shared += may ? 1 : 0;
            refusals[1] += may ? 0 : 1;
            break;
        }
        case Operation::unlock:
            actor.unlock();
            held.exclusive -= held.exclusive > 0 ? 1 : 0;
            break;
        case Operation::unlockShared:
            actor.unlockShared();
            held.shared -= held.shared > 0 ? 1 : 0;
            break;
        }
        const auto state = lock.getStateMap();
        for (std::size_t i = 0; i < threads; ++i) {
            const auto entry = state.find(actors[i]->id());
            const Mutex::stateData real = entry == state.end() ? Mutex::stateData{} : entry->second;
            ASSERT_EQ(real.sharedCount, model.held[i].shared) << step;
            ASSERT_EQ(real.exclusiveCount, model.held[i].exclusive) << step;
            ASSERT_EQ(real.lwpId != 0, model.held[i].shared + model.held[i].exclusive > 0) << step;
            ASSERT_FALSE(real.waitingExclusive) << step;
        }
    }
    EXPECT_GT(refusals[0], 100);
    EXPECT_GT(refusals[1], 100);
}

/**
 * Who holds what while everybody runs. A thread enters what it got after it got it and takes it out before it
 * gives it back, so what stands here is really held, and every conflict seen here is a real one.
 */
class Witness
{
public:
    using Stamp = std::uint64_t;

    Stamp asksExclusive(std::size_t thread)
    {
        const std::lock_guard guard(mutex);
        book[thread].asking = true;
        return ++clock;
    }

    void gaveUp(std::size_t thread)
    {
        const std::lock_guard guard(mutex);
        book[thread].asking = false;
        book[thread].lastGivenUp = ++clock;
    }

    void gotExclusive(std::size_t thread, Stamp asked)
    {
        const std::lock_guard guard(mutex);
        book[thread].asking = false;
        const bool first = ++book[thread].exclusive == 1;
        for (const auto& [other, entry] : book) {
            if (other == thread)
                continue;
            if (entry.exclusive > 0)
                conflicts += "two owners\n";
            // Only a reader that waits for its upgrade, or did so until a moment ago, may be passed over.
            if (first && entry.shared > 0 && !entry.asking && entry.lastGivenUp < asked)
                conflicts += "an owner beside a reader\n";
        }
    }

    void gotShared(std::size_t thread)
    {
        const std::lock_guard guard(mutex);
        ++book[thread].shared;
        for (const auto& [other, entry] : book)
            if (other != thread && entry.exclusive > 0)
                conflicts += "a reader beside an owner\n";
    }

    void givesBackExclusive(std::size_t thread)
    {
        const std::lock_guard guard(mutex);
        --book[thread].exclusive;
    }

    void givesBackShared(std::size_t thread)
    {
        const std::lock_guard guard(mutex);
        --book[thread].shared;
    }

    [[nodiscard]] std::string seen()
    {
        const std::lock_guard guard(mutex);
        return conflicts;
    }

private:
    struct Entry
    {
        std::uint32_t shared = 0;
        std::uint32_t exclusive = 0;
        bool asking = false;
        Stamp lastGivenUp = 0;
    };

    std::mutex mutex;
    std::map<std::size_t, Entry> book;
    Stamp clock = 0;
    std::string conflicts;
};

/// One thread of the stress test: takes and gives back levels at random, a few deep.
class Player
{
public:
    Player(Mutex& lock, Witness& watcher, long& data, std::size_t number, bool impatient)
        : mutex(lock), witness(watcher), guarded(data), self(number),
          random(static_cast<unsigned>(number + 1)), sometimesImpatient(impatient)
    {}

    void play(int rounds)
    {
        for (int round = 0; round < rounds; ++round) {
            const auto roll = random() % 10;
            if (roll < 2)
                askExclusive();
            else if (roll < 5)
                askShared();
            else if (roll < 8)
                giveOneBack();
            else if (roll == 8)
                std::this_thread::yield();
            else if (random() % 8 == 0) // with whatever it holds, so that others run into it on any machine
                std::this_thread::sleep_for(std::chrono::microseconds(20));
            // Nobody keeps levels for long, as in the daemon.
            while (exclusive + shared > 3)
                giveOneBack();
            if (round % 8 == 7)
                giveAllBack();
        }
        giveAllBack();
    }

    int timeOuts = 0;
    int unexplainedTimeOuts = 0; ///< with a deadline that only a lost wake-up lets pass

private:
    boost::posix_time::ptime deadline(bool impatient)
    {
        return now() + (impatient ? boost::posix_time::microseconds(random() % 100)
                                  : boost::posix_time::microseconds(30'000'000));
    }

    void failed(bool impatient)
    {
        ++timeOuts;
        unexplainedTimeOuts += impatient ? 0 : 1;
    }

    void askExclusive()
    {
        const bool impatient = sometimesImpatient && random() % 2 == 0;
        const auto asked = witness.asksExclusive(self);
        try {
            mutex.timedLock(deadline(impatient));
        } catch (const lockError_t&) {
            witness.gaveUp(self);
            failed(impatient);
            return;
        }
        witness.gotExclusive(self, asked);
        ++exclusive;
        ++guarded; // the thread sanitizer sees it if another thread is in here
    }

    void askShared()
    {
        const bool impatient = sometimesImpatient && random() % 2 == 0;
        try {
            mutex.timedLockShared(deadline(impatient));
        } catch (const lockError_t&) {
            failed(impatient);
            return;
        }
        witness.gotShared(self);
        ++shared;
        [[maybe_unused]] const volatile long read = guarded;
    }

    void giveOneBack()
    {
        if (exclusive > 0 && (shared == 0 || random() % 2 == 0)) {
            --exclusive;
            witness.givesBackExclusive(self);
            mutex.unlock();
        } else if (shared > 0) {
            --shared;
            witness.givesBackShared(self);
            mutex.unlockShared();
        }
    }

    void giveAllBack()
    {
        while (exclusive + shared > 0)
            giveOneBack();
    }

    Mutex& mutex;
    Witness& witness;
    long& guarded;
    const std::size_t self;
    std::mt19937 random;
    const bool sometimesImpatient;
    std::uint32_t shared = 0;
    std::uint32_t exclusive = 0;
};

struct Crowd
{
    std::size_t threads;
    bool impatient;
};

class MutexStress : public testing::TestWithParam<Crowd>
{};

TEST_P(MutexStress, KeepsTheRulesLosesNoWakeUpAndEndsEmpty)
{
    constexpr int rounds = 10'000;
    Mutex lock(noSlices); // nothing but a wake-up ends a sleep
    Witness witness;
    long guarded = 0;
    std::vector<std::unique_ptr<Player>> players;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < GetParam().threads; ++i)
        players.push_back(std::make_unique<Player>(lock, witness, guarded, i, GetParam().impatient));
    std::barrier start(static_cast<std::ptrdiff_t>(players.size()));
    for (auto& player : players)
        threads.emplace_back([&player, &start] {
            start.arrive_and_wait();
            player->play(rounds);
        });
    for (auto& thread : threads)
        thread.join();

    EXPECT_EQ(witness.seen(), "");
    int timeOuts = 0;
    for (const auto& player : players) {
        EXPECT_EQ(player->unexplainedTimeOuts, 0);
        timeOuts += player->timeOuts;
    }
    if (GetParam().impatient) {
        EXPECT_GT(timeOuts, 0) << "the give-up path was not taken";
    }
    for (const auto& [id, data] : lock.getStateMap()) {
        EXPECT_EQ(data.sharedCount, 0u);
        EXPECT_EQ(data.exclusiveCount, 0u);
        EXPECT_FALSE(data.waitingExclusive);
        EXPECT_EQ(data.lwpId, 0);
    }
    // The counters beside the entries are back at rest too.
    EXPECT_TRUE(lock.timedLock(gone()));
    lock.unlock();
}

INSTANTIATE_TEST_SUITE_P(Crowds, MutexStress,
                         testing::Values(Crowd{2, false}, Crowd{2, true}, Crowd{4, false}, Crowd{4, true},
                                         Crowd{8, false}, Crowd{8, true}),
                         [](const auto& crowd) {
                             return std::to_string(crowd.param.threads) +
                                    (crowd.param.impatient ? "Impatient" : "Patient");
                         });

} // namespace
