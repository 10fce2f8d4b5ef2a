#include "vnode/loop/EventLoop.h"

#include <gtest/gtest.h>

#include <array>
#include <sys/eventfd.h>

namespace {

using vnode::EventLoop;
using vnode::UniqueFd;

UniqueFd signalled() { return UniqueFd(::eventfd(1, EFD_NONBLOCK)); }

TEST(EventLoop, AHandlerMayForgetItselfAndReplaceADescriptorThatIsPendingToo)
{
    // Both are ready in one batch. Whoever comes first closes the other and puts a new, silent one on the
    // same number: the late event belongs to neither.
    EventLoop loop;
    std::array<UniqueFd, 2> fds{signalled(), signalled()};
    int calls = 0;
    int lateCalls = 0;
    vnode::DelayedAction end(loop, [&] { loop.stop(); });
    for (const std::size_t self : {0U, 1U})
        ASSERT_TRUE(loop.watch(fds[self].get(), [&, self] {
            loop.forget(fds[self].get());
            ++calls;
            UniqueFd& other = fds[1 - self];
            const int number = other.get();
            loop.forget(number);
            other.reset();
            other.reset(::eventfd(0, EFD_NONBLOCK));
            ASSERT_EQ(other.get(), number);
            ASSERT_TRUE(loop.watch(number, [&] { ++lateCalls; }));
            end.arm(std::chrono::milliseconds(5));
        }));
    loop.run();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(lateCalls, 0);
}

TEST(DelayedAction, RunsOnceForManyRequests)
{
    EventLoop loop;
    int runs = 0;
    vnode::DelayedAction action(loop, [&] { ++runs; });
    vnode::DelayedAction end(loop, [&] { loop.stop(); });
    for (int i = 0; i < 5; ++i)
        action.arm(std::chrono::milliseconds(0));
    end.arm(std::chrono::milliseconds(5));
    loop.run();
    EXPECT_EQ(runs, 1);
}

} // namespace
