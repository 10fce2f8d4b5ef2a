#include "rte/BLL/core/Lifecycle.h"
#include "FakeEntity.h"
#include "rte/BLL/core/GlobalLock.h"
#include "support/Actor.h"
#include "support/CapturedLog.h"
#include "support/CapturedOutput.h"
#include "support/TemporaryFolder.h"

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

    /// The log without its first lines.
    Lines linesFrom(std::size_t first) const
    {
        const Lines all = log.lines();
        return {all.begin() + static_cast<std::ptrdiff_t>(first), all.end()};
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

/// Runs @p work while another thread has the global lock and nobody waits for it longer than a moment.
template <typename Work>
void withoutTheLock(Work work)
{
    actor::Actor holder(globalLockState::lock());
    EXPECT_TRUE(holder.exclusive().granted);
    lock_t::lockingPeriod = boost::posix_time::milliseconds(20);
    standardErrorOf(work);
    holder.unlock();
    lock_t::lockingPeriod = boost::posix_time::seconds(300);
}

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
    EXPECT_EQ(linesFrom(before), (Lines{{debug, ">>> Starting procedure has been started.\n"},
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

TEST_F(LifecycleTest, AStartThatFailsStopsWhatStandsAndStaysRestartable)
{
    for (const char* name : {"a", "b", "c", "d", "e"})
        add(name);
    configure();
    for (const std::size_t failing : {0u, 2u, 4u})
        for (const bool inDefaults : {false, true}) {
            FakeEntity& entity = *entities[failing];
            (inDefaults ? entity.defaultsWork : entity.startWorks) = false;
            entities[1]->stopWorks = failing != 4; // a stop that fails, too
            journal.clear();
            const std::size_t before = log.lines().size();
            EXPECT_FALSE(lifecycle.start());
            EXPECT_EQ(lifecycle.state(), bllState_t::configured);
            Journal after{(inDefaults ? "defaults " : "start ") + entity.name};
            for (std::size_t i = failing; i > 0; --i)
                after.push_back("stop " + entities[i - 1]->name);
            const auto failure = std::find(journal.begin(), journal.end(), after.front());
            EXPECT_EQ(Journal(failure, journal.end()), after);

            const Lines lines = linesFrom(before);
            const auto told = [&](LogImpl::logLevel_t level, const std::string& text) {
                return std::find(lines.begin(), lines.end(), CapturedLog::Line{level, text}) != lines.end();
            };
            EXPECT_TRUE(told(debug, "Start procedure has been interrupted by an error.\n"));
            EXPECT_TRUE(told(critical, std::string("Error ") +
                                           (inDefaults ? "applying default settings for " : "starting ") +
                                           entity.name + " BLE.\n"));
            EXPECT_EQ(told(warning, "Will start stop procedure.\n"), failing != 0);
            EXPECT_EQ(told(debug, ">>> Stopping procedure has been started.\n"), failing != 0);
            EXPECT_EQ(told(critical, "Error stopping b BLE.\n"), failing == 4);
            entity.startWorks = entity.defaultsWork = true;
        }
    EXPECT_TRUE(lifecycle.start());
}

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
    EXPECT_EQ(linesFrom(before), (Lines{{debug, ">>> Stopping procedure has been started.\n"},
                                        {debug, ""},
                                        {warning, "\tBLE <b>... error.Error stopping b BLE.\n"},
                                        {debug, ""},
                                        {debug, "\tBLE <c>... done."},
                                        {debug, "\tBLE <a>... done."},
                                        {debug, "<<< Stopping procedure has been completed.\n"}}));
}

TEST_F(LifecycleTest, SavingWorksInAnyStateAndMakesOneFile)
{
    const TemporaryFolder folder;
    add("b");
    add("a", {"b"});
    standardOutputOf([&] { lifecycle.saveConfiguration(folder.path("saved.xml")); });
    const std::string saved = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration>\n"
                              "  <b savedBy=\"b\"/>\n  <a savedBy=\"a\"/>\n</Configuration>\n";
    EXPECT_EQ(folder.read("saved.xml"), saved);
    EXPECT_EQ(lifecycle.state(), bllState_t::initial);
    EXPECT_EQ(log.text(),
              "Registering BLE <b>... done.\nRegistering BLE <a>... done.\n"
              ">>> Saving configuration has been started.\n"
              "\tBLE: <b>... done.\tBLE: <a>... done.<<< Saving configuration has been completed.\n");

    configureAndStart(); // a stop saves under the lock that it holds
    standardOutputOf([&] { lifecycle.stop(true, folder.path("stopped.xml")); });
    EXPECT_EQ(journal, (Journal{"stop a", "stop b", "save b", "save a"}));
    EXPECT_EQ(folder.read("stopped.xml"), saved);
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
    withoutTheLock([&] { lifecycle.applyConfiguration("file"); });
    EXPECT_EQ(lifecycle.state(), bllState_t::initial);
    configure();
    withoutTheLock([&] { EXPECT_FALSE(lifecycle.start()); });
    EXPECT_EQ(lifecycle.state(), bllState_t::configured);
    EXPECT_TRUE(lifecycle.start());
    journal.clear();
    withoutTheLock([&] { EXPECT_FALSE(lifecycle.applyDefaultSettings(false)); });
    withoutTheLock([&] { lifecycle.saveConfiguration(folder.path("saved.xml")); });
    EXPECT_TRUE(journal.empty());
    EXPECT_EQ(folder.read("saved.xml"), "");

    std::thread stopper;
    withoutTheLock([&] {
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
    const auto difference = [](timespec first, timespec second) {
        return timespecSubtract_msec(&first, &second);
    };
    EXPECT_EQ(difference({5, 1'000'000}, {3, 2'000'000}), 1999); // borrows
    EXPECT_EQ(difference({3, 999'999}, {3, 0}), 0);
    EXPECT_EQ(difference({3, 0}, {5, 0}), -2000);
    EXPECT_EQ(difference({7, 500'000'000}, {7, 499'999'999}), 0);
}
