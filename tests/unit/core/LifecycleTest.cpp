#include "rte/BLL/core/Lifecycle.h"
#include "FakeEntity.h"
#include "rte/BLL/core/GlobalLock.h"
#include "support/CapturedLog.h"
#include "support/CapturedOutput.h"
#include "support/TemporaryFolder.h"

#include <future>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<CapturedLog::Line>;
constexpr auto critical = LogImpl::critical;
constexpr auto warning = LogImpl::warning;
constexpr auto notice = LogImpl::notice;
constexpr auto debug = LogImpl::debug;

class LifecycleTest : public testing::Test
{
protected:
    FakeEntity& add(const std::string& name, std::list<std::string> needs = {})
    {
        entities.push_back(std::make_unique<FakeEntity>(journal, name, std::move(needs)));
        EXPECT_TRUE(lifecycle.registerEntity(*entities.back(), true));
        return *entities.back();
    }

    /// Brings it to `configured`, with nothing written down so far.
    void configure()
    {
        lifecycle.applyConfiguration("file");
        journal.clear();
    }
    void configureAndStart()
    {
        configure();
        EXPECT_TRUE(lifecycle.start());
        journal.clear();
    }

    Journal journal;
    std::vector<std::unique_ptr<FakeEntity>> entities;
    EntityTable table;
    Lifecycle lifecycle{table};
    CapturedLog log;
};

/// Another thread that has the global lock, while nobody waits for it longer than a moment.
class LockHeldElsewhere
{
public:
    LockHeldElsewhere()
    {
        lock_t::lockingPeriod = boost::posix_time::milliseconds(20);
        holder = std::thread([this] {
            const exclusiveLock_t lock;
            held.set_value();
            release.get_future().wait();
        });
        held.get_future().wait();
    }
    ~LockHeldElsewhere()
    {
        release.set_value();
        holder.join();
        lock_t::lockingPeriod = boost::posix_time::seconds(300);
    }
    LockHeldElsewhere(const LockHeldElsewhere&) = delete;
    LockHeldElsewhere& operator=(const LockHeldElsewhere&) = delete;

private:
    std::promise<void> held;
    std::promise<void> release;
    std::thread holder;
};

} // namespace

TEST_F(LifecycleTest, RegistrationSaysWhatBecameOfIt)
{
    FakeEntity one(journal, "one");
    FakeEntity two(journal, "two");
    EXPECT_TRUE(lifecycle.registerEntity(one, true));
    EXPECT_TRUE(lifecycle.registerEntity(two, false)); // skipped, which is no error
    EXPECT_EQ(table.find("one"), &one);
    EXPECT_EQ(table.find("two"), nullptr);

    FakeEntity again(journal, "one");
    EXPECT_TRUE(lifecycle.registerEntity(again, true));
    EXPECT_EQ(table.find("one"), &again);

    configure();
    EXPECT_FALSE(lifecycle.registerEntity(two, true));
    EXPECT_FALSE(lifecycle.registerEntity(two, false));
    EXPECT_TRUE(log.has(debug, "Registering BLE <one>... done.\n"));
    EXPECT_TRUE(log.has(debug, "Registering BLE <two>... not registered.\n"));
    EXPECT_TRUE(log.has(debug, "Registering BLE <two>... error.\n"));
}

TEST_F(LifecycleTest, StartWalksInDependencyOrder)
{
    add("a", {"c"});
    add("b");
    add("c");
    configure();
    const std::size_t before = log.lines().size();
    EXPECT_TRUE(lifecycle.start());
    EXPECT_EQ(lifecycle.state(), bllState_t::started);
    EXPECT_EQ(journal, (Journal{"start c", "defaults c", "start a", "defaults a", "start b", "defaults b"}));

    // A newline in front ends the line before, and is not sent itself; a level counts from the end of a line
    // on.
    Lines lines = log.lines();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
    EXPECT_EQ(lines, (Lines{{debug, ">>> Starting procedure has been started.\n"},
                            {notice, ""},
                            {notice, "BLE init order:\n"},
                            {notice, ""},
                            {notice, "\tBLE <c>... \n"},
                            {notice, ""},
                            {notice, "\tBLE <a>... \n"},
                            {notice, ""},
                            {notice, "\tBLE <b>... \n"},
                            {debug, ""},
                            {debug, "\tBLE <c>... done."},
                            {debug, "\tBLE <a>... done."},
                            {notice, "\tBLE <b>... done."},
                            {notice, "<<< Starting procedure has been completed.\n"}}));
}

TEST_F(LifecycleTest, ACycleTouchesNobodyAndSucceeds)
{
    add("a", {"b"});
    add("b", {"a"});
    configure();
    EXPECT_TRUE(lifecycle.start());
    EXPECT_EQ(lifecycle.state(), bllState_t::started);
    EXPECT_TRUE(journal.empty());
    EXPECT_TRUE(log.has(notice, "Graph of initialization dependences has cycle(s).\n"));
    std::list<std::string> names{"as it was"};
    EXPECT_FALSE(table.resolveDependences(names));
    EXPECT_EQ(names, std::list<std::string>{"as it was"});
}

namespace {
struct StartFailure
{
    const char* name;
    std::size_t failing; ///< of five, 0 the first
    bool inDefaults;
    bool stopFails; ///< the second fails to stop
    Journal after;  ///< what follows the failure
};
class StartFailureTest : public LifecycleTest, public testing::WithParamInterface<StartFailure>
{};
} // namespace

TEST_P(StartFailureTest, StopsWhatStandsAndStaysRestartable)
{
    for (const char* name : {"a", "b", "c", "d", "e"})
        add(name);
    configure();
    FakeEntity& failing = *entities[GetParam().failing];
    (GetParam().inDefaults ? failing.defaultsWork : failing.startWorks) = false;
    entities[1]->stopWorks = !GetParam().stopFails;

    EXPECT_FALSE(lifecycle.start());
    EXPECT_EQ(lifecycle.state(), bllState_t::configured);
    const std::string lastTry = (GetParam().inDefaults ? "defaults " : "start ") + failing.name;
    const auto failure = std::find(journal.begin(), journal.end(), lastTry);
    ASSERT_NE(failure, journal.end());
    EXPECT_EQ(Journal(failure + 1, journal.end()), GetParam().after);

    EXPECT_TRUE(log.has(debug, "Start procedure has been interrupted by an error.\n"));
    EXPECT_TRUE(
        log.has(critical, std::string("Error ") +
                              (GetParam().inDefaults ? "applying default settings for " : "starting ") +
                              failing.name + " BLE.\n"));
    EXPECT_EQ(log.has(warning, "Will start stop procedure.\n"), GetParam().failing != 0);
    EXPECT_EQ(log.has(debug, ">>> Stopping procedure has been started.\n"), GetParam().failing != 0);
    EXPECT_EQ(log.has(critical, "Error stopping b BLE.\n"), GetParam().stopFails);

    failing.startWorks = failing.defaultsWork = true;
    EXPECT_TRUE(lifecycle.start());
}

INSTANTIATE_TEST_SUITE_P(
    Places, StartFailureTest,
    testing::Values(StartFailure{"firstStart", 0, false, false, {}},
                    StartFailure{"firstDefaults", 0, true, false, {}},
                    StartFailure{"third", 2, false, false, {"stop b", "stop a"}},
                    StartFailure{"thirdDefaults", 2, true, false, {"stop b", "stop a"}},
                    StartFailure{"fifth", 4, false, false, {"stop d", "stop c", "stop b", "stop a"}},
                    StartFailure{"stopFailsToo", 2, false, true, {"stop b", "stop a"}}),
    [](const auto& row) { return std::string(row.param.name); });

/// What each operation may do in each state: the table of the lifecycle.
TEST_F(LifecycleTest, OperationsKeepToTheirStates)
{
    FakeEntity& entity = add("a");
    const std::string notRunning = "<<< Error: BLL is not running.\n";
    const std::string notStartable = "<<< Error: BLL is not configured or is already running.\n";
    const std::string notInitial = "<<< Error applying configuration: BLL is not initialized.\n";
    const std::string notStarted = "<<< Error stopping BLL: BLL not in the started state.\n";

    // initial
    EXPECT_FALSE(lifecycle.start());
    EXPECT_FALSE(lifecycle.applyDefaultSettings(false));
    lifecycle.stop(false, "");
    EXPECT_TRUE(log.has(warning, notStartable) && log.has(warning, notRunning) &&
                log.has(warning, notStarted));
    EXPECT_FALSE(log.has(warning, notInitial));
    EXPECT_TRUE(journal.empty());

    lifecycle.applyConfiguration("file"); // configured
    EXPECT_EQ(journal, Journal{"configure a"});
    EXPECT_TRUE(log.has(debug, ">>> Applying configuration has been started (file).\n"));
    EXPECT_FALSE(lifecycle.applyDefaultSettings(false));
    lifecycle.stop(false, "");
    lifecycle.applyConfiguration("file");
    EXPECT_TRUE(log.has(warning, notInitial));
    EXPECT_EQ(lifecycle.state(), bllState_t::configured);

    EXPECT_TRUE(lifecycle.start()); // started
    EXPECT_FALSE(lifecycle.start());
    EXPECT_FALSE(lifecycle.registerEntity(entity, true));
    EXPECT_TRUE(lifecycle.applyDefaultSettings(false));

    lifecycle.stop(false, ""); // stopped
    EXPECT_EQ(lifecycle.state(), bllState_t::stopped);
    EXPECT_FALSE(lifecycle.applyDefaultSettings(false));
    EXPECT_FALSE(lifecycle.registerEntity(entity, true));
    journal.clear();
    EXPECT_TRUE(lifecycle.start());
    EXPECT_EQ(journal, (Journal{"start a", "defaults a"}));
}

TEST_F(LifecycleTest, StopWalksBackAndGoesOnAfterAFailure)
{
    add("a");
    add("b", {"c"}).stopWorks = false;
    add("c");
    configureAndStart();
    const std::size_t before = log.lines().size();
    lifecycle.stop(false, "");
    EXPECT_EQ(journal, (Journal{"stop b", "stop c", "stop a"}));
    EXPECT_EQ(lifecycle.state(), bllState_t::stopped);
    Lines lines = log.lines();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
    EXPECT_EQ(lines, (Lines{{debug, ">>> Stopping procedure has been started.\n"},
                            {debug, ""},
                            {warning, "\tBLE <b>... error.Error stopping b BLE.\n"},
                            {debug, ""},
                            {debug, "\tBLE <c>... done."},
                            {debug, "\tBLE <a>... done."},
                            {debug, "<<< Stopping procedure has been completed.\n"}}));
}

TEST_F(LifecycleTest, StopSavesUnderTheLockItHolds)
{
    const TemporaryFolder folder;
    add("a");
    configureAndStart();
    standardOutputOf([&] { lifecycle.stop(true, folder.path("saved.xml")); });
    EXPECT_EQ(journal, (Journal{"stop a", "save a"}));
    EXPECT_NE(folder.read("saved.xml").find("<a savedBy=\"a\"/>"), std::string::npos);
}

TEST_F(LifecycleTest, SavingWorksInAnyStateAndMakesOneFile)
{
    const TemporaryFolder folder;
    add("b");
    add("a", {"b"});
    standardOutputOf([&] { lifecycle.saveConfiguration(folder.path("saved.xml")); });
    EXPECT_EQ(journal, (Journal{"save b", "save a"}));
    EXPECT_EQ(folder.read("saved.xml"), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration>\n"
                                        "  <b savedBy=\"b\"/>\n  <a savedBy=\"a\"/>\n</Configuration>\n");
    EXPECT_EQ(lifecycle.state(), bllState_t::initial);
    EXPECT_EQ(log.text(),
              "Registering BLE <b>... done.\nRegistering BLE <a>... done.\n"
              ">>> Saving configuration has been started.\n"
              "\tBLE: <b>... done.\tBLE: <a>... done.<<< Saving configuration has been completed.\n");
}

TEST_F(LifecycleTest, DefaultsEndAtTheFirstFailure)
{
    add("a");
    add("b");
    add("c");
    configureAndStart();
    entities[1]->defaultsWork = false;
    EXPECT_FALSE(lifecycle.applyDefaultSettings(false));
    EXPECT_EQ(journal, (Journal{"defaults a", "defaults b"}));
    EXPECT_TRUE(log.has(critical,
                        "Applying default settings procedure for b BLE has been interrupted by an error.\n"));
    EXPECT_EQ(lifecycle.state(), bllState_t::started);
}

TEST_F(LifecycleTest, DefaultsTellTheirTimesWhenAsked)
{
    add("a");
    configureAndStart();
    EXPECT_EQ(standardOutputOf([&] { lifecycle.applyDefaultSettings(false); }), "");
    const std::string printed = standardOutputOf([&] { lifecycle.applyDefaultSettings(true); });
    long milliseconds = -1;
    EXPECT_EQ(std::sscanf(printed.c_str(), "\r(%ld ms) took BLE 'a'.\n", &milliseconds), 1) << printed;
    EXPECT_GE(milliseconds, 0);
    EXPECT_TRUE(printed.ends_with(" took BLE 'a'.\n"));
}

TEST_F(LifecycleTest, WithoutTheLockNothingHappens)
{
    const TemporaryFolder folder;
    add("a");
    standardErrorOf([&] {
        const LockHeldElsewhere holder;
        lifecycle.applyConfiguration("file");
    });
    EXPECT_EQ(lifecycle.state(), bllState_t::initial);
    configure();
    standardErrorOf([&] {
        const LockHeldElsewhere holder;
        EXPECT_FALSE(lifecycle.start());
    });
    EXPECT_EQ(lifecycle.state(), bllState_t::configured);
    EXPECT_TRUE(lifecycle.start());
    journal.clear();
    standardErrorOf([&] {
        const LockHeldElsewhere holder;
        EXPECT_FALSE(lifecycle.applyDefaultSettings(false));
    });
    standardErrorOf([&] {
        const LockHeldElsewhere holder;
        lifecycle.saveConfiguration(folder.path("saved.xml"));
    });
    EXPECT_TRUE(journal.empty());
    EXPECT_EQ(folder.read("saved.xml"), "");
}

TEST_F(LifecycleTest, StopTriesAgainUntilItHasTheLock)
{
    add("a");
    configureAndStart();
    std::thread stopper;
    standardErrorOf([&] {
        const LockHeldElsewhere holder;
        stopper = std::thread([&] { lifecycle.stop(false, ""); });
        const std::string again =
            "Warning: Could not obtain exclusive lock for stopping BLL. Will try again.\n";
        for (int i = 0; i < 200 && !log.has(warning, again); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_TRUE(log.has(warning, again));
    });
    stopper.join();
    EXPECT_EQ(lifecycle.state(), bllState_t::stopped);
    EXPECT_EQ(journal, Journal{"stop a"});
}

TEST(TimespecSubtract, WholeMilliseconds)
{
    const struct
    {
        timespec first, second;
        long expected;
    } rows[] = {
        {{5, 0}, {3, 0}, 2000},
        {{5, 1'000'000}, {3, 2'000'000}, 1999}, // borrows
        {{3, 999'999}, {3, 0}, 0},
        {{3, 0}, {5, 0}, -2000},
        {{7, 500'000'000}, {7, 499'999'999}, 0},
    };
    for (const auto& row : rows)
        EXPECT_EQ(timespecSubtract_msec(&row.first, &row.second), row.expected);
}
