#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "rte/BLL/core/ThreadRegistry.h"
#include "support/CapturedLog.h"

namespace {

const std::string rule = std::string(100, '-') + "\n";

std::string table(ThreadRegistry& registry = ThreadRegistry::instance())
{
    std::ostringstream out;
    registry.showThreads(&out);
    return out.str();
}

/// Runs a task on a thread that the library knows nothing of.
void onNativeThread(const std::function<void()>& task)
{
    pthread_t thread{};
    const auto body = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, nullptr, body, const_cast<std::function<void()>*>(&task)), 0);
    pthread_join(thread, nullptr);
}

void onLibraryThread(const std::function<void()>& task) { boost::thread(task).join(); }

class ThreadRegistryOn : public testing::TestWithParam<void (*)(const std::function<void()>&)>
{};

TEST_P(ThreadRegistryOn, AThreadIsListedUntilItEnds)
{
    const CapturedLog log;
    const std::string name = "a name of 20 letters";
    pid_t lwp = 0;
    const std::string before = table();
    std::string during;
    std::string row;
    char kernelName[16] = {};
    GetParam()([&] {
        ThreadRegistry::instance().registerThread("first");
        ThreadRegistry::instance().registerThread(name); // in its place
        lwp = gettid();
        prctl(PR_GET_NAME, kernelName);
        during = table();
        char text[200];
        std::snprintf(text, sizeof(text), "%#12lx | %12d | %#12lx | %s\n", pthread_self(), lwp,
                      pthread_self(), name.c_str());
        row = text;
    });
    EXPECT_STREQ(kernelName, "a name of 20 le");
    EXPECT_NE(during.find(row), std::string::npos) << during << row;
    EXPECT_EQ(during.find("first"), std::string::npos);
    EXPECT_EQ(table(), before) << "the row has gone";
    const std::string who = name + " (" + std::to_string(lwp) + ")\n";
    EXPECT_TRUE(log.has(LogImpl::debug, "BLLManager: thread registered: " + who));
    EXPECT_EQ(log.lines().back(),
              (CapturedLog::Line{LogImpl::debug, "BLLManager: thread unregistered: " + who}));
}

INSTANTIATE_TEST_SUITE_P(Threads, ThreadRegistryOn, testing::Values(&onNativeThread, &onLibraryThread));

TEST(ThreadRegistry, ALookUpLeavesAnEmptyRecord)
{
    ThreadRegistry registry;
    {
        const boost::unique_lock<boost::recursive_mutex> guard(registry.mutex());
        EXPECT_EQ(registry.lookUp(boost::thread::id()).name, "");
    }
    EXPECT_EQ(table(registry), "Currently registered threads (1):\n" + rule +
                                   "  thread::id |        pid_t |    pthread_t | name\n" + rule +
                                   "{Not-any-thread} |            0 |            0 | \n");
}

} // namespace
