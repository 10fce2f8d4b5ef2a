// Random operations against a reference model that says who may hold what.

#include "support/Actor.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <barrier>
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
struct Model
{
    /// Whether a thread that does not own the lock finds none of these held by another.
    [[nodiscard]] bool free(std::size_t thread, std::uint32_t Held::*what) const
    {
        for (std::size_t other = 0; other < held.size(); ++other)
            if (other != thread && held[other].*what > 0 && held[thread].exclusive == 0)
                return false;
        return true;
    }
    [[nodiscard]] bool mayRead(std::size_t thread) const { return free(thread, &Held::exclusive); }
    [[nodiscard]] bool mayOwn(std::size_t thread) const
    {
        return mayRead(thread) && free(thread, &Held::shared);
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
    Model model{std::vector<Held>(threads)};
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
        for (std::size_t i = 0; i < threads; ++i) {
            const Mutex::stateData real = actors[i]->record();
            ASSERT_EQ(real.sharedCount, model.held[i].shared) << step;
            ASSERT_EQ(real.exclusiveCount, model.held[i].exclusive) << step;
            ASSERT_EQ(real.lwpId != 0, model.held[i].shared + model.held[i].exclusive > 0) << step;
            ASSERT_FALSE(real.waitingExclusive) << step;
        }
    }
    EXPECT_GT(refusals[0], 100);
    EXPECT_GT(refusals[1], 100);
}

/// What the players share. Whoever reads or writes finds no other owner: a conflict seen here is a real one.
struct Field
{
    Mutex lock{noSlices}; // nothing but a wake-up ends a sleep
    std::atomic<std::size_t> owner{nobody};
    std::atomic<int> conflicts{0};
    long guarded = 0; ///< only owners write, only holders read; the thread sanitizer watches, too

    static constexpr std::size_t nobody = 1000;
};

/// One thread of the stress test: takes and gives back levels at random, a few deep.
class Player
{
public:
    Player(Field& shared, std::size_t number, bool impatient)
        : field(shared), self(number), random(static_cast<unsigned>(number + 1)),
          sometimesImpatient(impatient)
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
            look();
            // Nobody keeps levels for long, as in the daemon.
            while (exclusive + readers > 3 || (round % 8 == 7 && exclusive + readers > 0))
                giveOneBack();
        }
        while (exclusive + readers > 0)
            giveOneBack();
    }

    long written = 0;
    int timeOuts = 0;
    int unexplainedTimeOuts = 0; ///< with a deadline that only a lost wake-up lets pass

private:
    void look()
    {
        if (exclusive + readers == 0)
            return;
        const std::size_t owner = field.owner;
        const long before = field.guarded;
        std::this_thread::yield();
        if (field.guarded != before || (owner != self && owner != Field::nobody))
            ++field.conflicts;
    }

    bool ask(bool (Mutex::*request)(const boost::posix_time::ptime&))
    {
        const bool impatient = sometimesImpatient && random() % 2 == 0;
        try {
            return (field.lock.*request)(now() + (impatient ? boost::posix_time::microseconds(random() % 100)
                                                            : boost::posix_time::microseconds(30'000'000)));
        } catch (const lockError_t&) {
            ++timeOuts;
            unexplainedTimeOuts += impatient ? 0 : 1;
            return false;
        }
    }

    void askExclusive()
    {
        if (!ask(&Mutex::timedLock)) {
            // Another upgrading reader may own the lock now, beside the levels that are left here.
            while (exclusive == 0 && readers > 0)
                giveOneBack();
            return;
        }
        if (++exclusive == 1 && field.owner.exchange(self) != Field::nobody)
            ++field.conflicts;
        const long before = field.guarded;
        std::this_thread::yield();
        field.guarded = before + 1;
        ++written;
    }

    void askShared()
    {
        if (ask(&Mutex::timedLockShared))
            ++readers;
    }

    void giveOneBack()
    {
        if (exclusive > 0 && (readers == 0 || random() % 2 == 0)) {
            if (--exclusive == 0)
                field.owner = Field::nobody;
            field.lock.unlock();
        } else if (readers > 0) {
            --readers;
            field.lock.unlockShared();
        }
    }

    Field& field;
    const std::size_t self;
    std::mt19937 random;
    const bool sometimesImpatient;
    std::uint32_t readers = 0;
    std::uint32_t exclusive = 0;
};

class MutexStress : public testing::TestWithParam<std::pair<std::size_t, bool>>
{};

TEST_P(MutexStress, KeepsTheRulesLosesNoWakeUpAndEndsEmpty)
{
    constexpr int rounds = 10'000;
    const auto [count, impatient] = GetParam();
    Field field;
    std::vector<std::unique_ptr<Player>> players;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i)
        players.push_back(std::make_unique<Player>(field, i, impatient));
    std::barrier start(static_cast<std::ptrdiff_t>(players.size()));
    for (auto& player : players)
        threads.emplace_back([&player, &start] {
            start.arrive_and_wait();
            player->play(rounds);
        });
    for (auto& thread : threads)
        thread.join();

    EXPECT_EQ(field.conflicts, 0);
    long written = 0;
    int timeOuts = 0;
    for (const auto& player : players) {
        EXPECT_EQ(player->unexplainedTimeOuts, 0);
        timeOuts += player->timeOuts;
        written += player->written;
    }
    EXPECT_EQ(field.guarded, written) << "an owner's write got lost";
    EXPECT_EQ(timeOuts > 0, impatient);
    for (const auto& [id, data] : field.lock.getStateMap())
        EXPECT_TRUE(data.sharedCount + data.exclusiveCount == 0 && !data.waitingExclusive && data.lwpId == 0);
    // The counters beside the entries are back at rest too.
    EXPECT_TRUE(field.lock.timedLock(gone()));
    field.lock.unlock();
}

INSTANTIATE_TEST_SUITE_P(Crowds, MutexStress,
                         testing::Values(std::pair{2u, true}, std::pair{4u, false}, std::pair{8u, true}));

} // namespace
