#include "vnode/loop/EventLoop.h"

#include <gtest/gtest.h>

#include <array>
#include <sys/eventfd.h>

namespace {

using vnode::EventLoop;
using vnode::UniqueFd;

UniqueFd signalled() { return UniqueFd(::eventfd(1, EFD_NONBLOCK)); }

TEST(EventLoop, AHandlerMayForgetAndReplaceADescriptorThatIsPendingToo)
{
    // Both are ready in one batch. Whoever comes first closes the other and puts a new, silent one on the
    // same number: the late event belongs to neither.
    EventLoop loop;
    std::array<UniqueFd, 2> fds{signalled(), signalled()};
    int calls = 0;
    int lateCalls = 0;
    const auto handlerOf = [&](std::size_t self) {
        return [&, self] {
            ++calls;
            UniqueFd& other = fds[1 - self];
            const int number = other.get();
            loop.forget(number);
            other.reset();
            other.reset(::eventfd(0, EFD_NONBLOCK));
            ASSERT_EQ(other.get(), number);
            ASSERT_TRUE(loop.watch(number, [&] { ++lateCalls; }));
            loop.stop();
        };
    };
    ASSERT_TRUE(loop.watch(fds[0].get(), handlerOf(0)));
    ASSERT_TRUE(loop.watch(fds[1].get(), handlerOf(1)));

    loop.run();
    EXPECT_EQ(calls, 1);

    // A second round without the first handler finds nothing late.
    const UniqueFd end = signalled();
    for (const UniqueFd& fd : fds)
        if (std::uint64_t value = 0; ::read(fd.get(), &value, sizeof value) == sizeof value)
            loop.forget(fd.get());
    ASSERT_TRUE(loop.watch(end.get(), [&] { loop.stop(); }));
    loop.run();
    EXPECT_EQ(lateCalls, 0);
}

TEST(EventLoop, AHandlerMayForgetItself)
{
    EventLoop loop;
    const UniqueFd ready = signalled();
    int calls = 0;
    ASSERT_TRUE(loop.watch(ready.get(), [&] {
        loop.forget(ready.get());
        ++calls;
        loop.stop();
    }));
    loop.run();
    EXPECT_EQ(calls, 1);
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
