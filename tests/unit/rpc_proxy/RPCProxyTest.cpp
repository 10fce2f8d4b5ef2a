#include "rte/BLL/core/RPCProxy.h"
#include "rte/BLL/core/ThreadRegistry.h"
#include "support/CapturedOutput.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

std::atomic<bool> mayEnd{false};
std::atomic<int> interruptionsSeen{0};

void* endAtOnce(void*) { return nullptr; }

/// Runs until told, deaf to interruptions.
void* stayUntilTold(void*)
{
    const boost::this_thread::disable_interruption deaf;
    while (!mayEnd)
        std::this_thread::sleep_for(milliseconds(5));
    return nullptr;
}

/// A loop of its own that polls through the pointer it is given.
void* pollForInterruption(void* argument)
{
    int (*const check)() = *static_cast<int (**)()>(argument);
    while (check() == 0)
        std::this_thread::sleep_for(milliseconds(5));
    ++interruptionsSeen;
    if (check() != 0) // it was used up
        ++interruptionsSeen;
    return nullptr;
}

bool isRegistered(const std::string& name)
{
    std::ostringstream out;
    ThreadRegistry::instance().showThreads(&out);
    return out.str().find(" | " + name + "\n") != std::string::npos;
}

template <typename Condition>
bool comesTrue(Condition condition)
{
    for (int i = 0; i < 600 && !condition(); ++i)
        std::this_thread::sleep_for(milliseconds(5));
    return condition();
}

} // namespace

TEST(RPCProxyTest, AProxyThatOnlyRegistersEndsAndLeavesTheRegistry)
{
    mayEnd = false;
    RPCProxy proxy(stayUntilTold, "Test_fun");
    EXPECT_TRUE(proxy.isStopped());
    ASSERT_TRUE(proxy.start());
    EXPECT_TRUE(comesTrue([] { return isRegistered("Test_fun"); }));
    EXPECT_FALSE(proxy.start());
    EXPECT_FALSE(proxy.isStopped());
    EXPECT_FALSE(proxy.stop(true)); // takes longer than the 100 milliseconds, and goes on ending by itself
    mayEnd = true;
    EXPECT_TRUE(comesTrue([&] { return !isRegistered("Test_fun"); }));
}

TEST(RPCProxyTest, AnEndedThreadMustBeJoinedBeforeTheNext)
{
    RPCProxy proxy(endAtOnce, "Test_fun");
    ASSERT_TRUE(proxy.start());
    EXPECT_FALSE(proxy.start()); // ended or not
    EXPECT_TRUE(proxy.stop(false));
    EXPECT_TRUE(proxy.start());
    EXPECT_TRUE(comesTrue([&] { return proxy.isStopped(); }));
    EXPECT_TRUE(proxy.start());
    EXPECT_TRUE(proxy.stop(false));
    EXPECT_TRUE(proxy.stop(false)); // no thread, nothing to wait for
    EXPECT_TRUE(proxy.stop(true));
}

TEST(RPCProxyTest, StopAndTheDestructorInterruptAStartFunctionThatPolls)
{
    for (const bool stop : {true, false}) {
        interruptionsSeen = 0;
        {
            RPCProxy proxy(pollForInterruption, "Test_fun");
            ASSERT_TRUE(proxy.start());
            if (stop) {
                EXPECT_TRUE(proxy.stop(false));
            }
        }
        EXPECT_EQ(interruptionsSeen, 1);
    }
}

TEST(RPCProxyTest, OnlyTwoNamesRunTheLoopAndItEndsWithinAboutASecond)
{
    for (const std::string name : {"dhcpra_fun", "BLLManager_mng", "Other_fun"}) {
        std::chrono::steady_clock::duration stopping{};
        const std::string said = standardErrorOf([&] {
            RPCProxy proxy(endAtOnce, name);
            EXPECT_TRUE(proxy.start());
            std::this_thread::sleep_for(milliseconds(150));
            EXPECT_EQ(isRegistered(name), name != "Other_fun");
            const auto before = std::chrono::steady_clock::now();
            EXPECT_TRUE(proxy.stop(false));
            stopping = std::chrono::steady_clock::now() - before;
        });
        const std::string head = "[" + std::to_string(getpid()) + "] " + name;
        EXPECT_EQ(said, name == "Other_fun" ? ""
                                            : head + ": Starting main RPC loop - custom made.\n" + head +
                                                  ": RPC main loop stopping.\n");
        EXPECT_LT(stopping, milliseconds(1800)) << name;
    }
}

/// The crash reporter interrupts threads with SIGUSR1: the loop goes on, and can still be stopped.
TEST(RPCProxyTest, SignalsDoNotEndTheLoop)
{
    static std::atomic<pthread_t> loopThread{};
    const auto noteThread = [](void*) -> void* {
        loopThread = pthread_self();
        return nullptr;
    };
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
    const std::string said = standardErrorOf([&] {
        RPCProxy proxy(noteThread, "dhcpra_fun");
        ASSERT_TRUE(proxy.start());
        ASSERT_TRUE(comesTrue([] { return loopThread != pthread_t{}; }));
        for (int i = 0; i < 20; ++i) {
            std::this_thread::sleep_for(milliseconds(10));
            pthread_kill(loopThread, SIGUSR1);
        }
        EXPECT_FALSE(proxy.isStopped());
        EXPECT_TRUE(proxy.stop(false));
    });
    EXPECT_TRUE(said.ends_with(": RPC main loop stopping.\n")) << said;
}
