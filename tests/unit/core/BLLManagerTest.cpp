#include "rte/BLL/core/BLLManager.h"
#include "FakeEntity.h"
#include "support/CapturedLog.h"
#include "support/CapturedOutput.h"

#include <atomic>
#include <thread>

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

class BLLManagerTest : public testing::Test
{
protected:
    BLLManager manager;
    CapturedLog log; // after the manager, which brings its own back end
};

} // namespace

/// Libraries that are loaded into the process register with, and ask, the one manager of the program.
TEST_F(BLLManagerTest, ALoadedLibraryMeetsTheSameManager)
{
    BLLManager& own = singleton<BLLManager>::instance();
    EXPECT_TRUE(own.isFeatureSupported("guest"));
    void* library = dlopen(GUEST_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto guestSeesManager = reinterpret_cast<void* (*)()>(dlsym(library, "guestSeesManager"));
    ASSERT_NE(guestSeesManager, nullptr);
    EXPECT_EQ(guestSeesManager(), &own);
    EXPECT_FALSE(own.isFeatureSupported("guest")); // set while the library was constructed
}

TEST_F(BLLManagerTest, ConfigurationEventsRunUnderTheExclusiveLockInOrder)
{
    std::string heard;
    const auto note = [&](const std::string& text) {
        std::size_t exclusive = 0;
        for (const auto& [thread, state] : BLLManager::lock().getStateMap())
            exclusive += state.exclusiveCount;
        heard += text + (exclusive == 1 ? "! " : "? ");
    };
    manager.preConfigurationApplying.push_back([&] { note("pre1"); });
    manager.preConfigurationApplying.push_back([&] { note("pre2"); });
    manager.configurationApplied.push_back([&](int argument) { note("applied" + std::to_string(argument)); });
    EXPECT_EQ(manager.postPreConfigurationApplying(), 0);
    EXPECT_EQ(manager.postConfigurationApplied(-5), 0);
    EXPECT_EQ(heard, "pre1! pre2! applied-5! ");
    EXPECT_EQ(log.text(), "*** EVENT: <preConfigurationApplying>, notify all subscribers.\n"
                          "*** EVENT: <configurationApplied>, notify all subscribers.\n");

    manager.preConfigurationApplying.push_back({});
    EXPECT_THROW(manager.postPreConfigurationApplying(), boost::bad_function_call);
    EXPECT_EQ(manager.postConfigurationApplied(1), 0); // the lock went back on the way out
}

TEST_F(BLLManagerTest, EventsWithoutTheLockAnswerOne)
{
    bool called = false;
    manager.preConfigurationApplying.push_back([&] { called = true; });
    standardErrorOf([&] {
        BLLManager::lock_t::lockingPeriod = boost::posix_time::milliseconds(10);
        const BLLManager::exclusiveLock_t held;
        std::thread([&] { EXPECT_EQ(manager.postPreConfigurationApplying(), 1); }).join();
        BLLManager::lock_t::lockingPeriod = boost::posix_time::seconds(300);
    });
    EXPECT_FALSE(called);
}

TEST_F(BLLManagerTest, TheFirstRefusalDecidesAReload)
{
    EXPECT_TRUE(manager.systemReloadRequest("upgrade"));
    std::string asked;
    bool second = true;
    manager.systemReload.push_back([&](bool argument) { return asked += argument ? "1" : "f", true; });
    manager.systemReload.push_back([&](bool) { return asked += "2", second; });
    manager.systemReload.push_back([&](bool) { return asked += "3", true; });
    EXPECT_TRUE(manager.systemReloadRequest("upgrade"));
    second = false;
    EXPECT_FALSE(manager.systemReloadRequest("upgrade"));
    EXPECT_EQ(asked, "12312");
    EXPECT_TRUE(log.has(LogImpl::warning, "BLLManager::systemReloadRequest, msg: upgrade"));
    EXPECT_TRUE(log.has(LogImpl::warning, "BLLManager::systemReloadRequest, reload request denied\n"));
}

/// The subscription of main happens while RPC calls may already distribute.
TEST_F(BLLManagerTest, SubscribingBesideADistribution)
{
    std::atomic<int> heard{0};
    const auto subscribe = [&] {
        for (int i = 0; i < 200; ++i)
            manager.prefixedMessageSubscribers.push_back(
                [&](const std::string&, const std::string&, const std::string&) { ++heard; });
    };
    std::thread one(subscribe);
    std::thread other(subscribe);
    for (int i = 0; i < 200; ++i)
        manager.postExternalMessage("dhcpra:x", "", "");
    one.join();
    other.join();
    heard = 0;
    manager.postExternalMessage("dhcpra:x", "", "");
    EXPECT_EQ(heard, 400) << "no subscriber got lost";
}
