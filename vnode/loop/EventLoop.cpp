#include "vnode/loop/EventLoop.h"

#include <array>
#include <cerrno>
#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <system_error>

namespace vnode {

namespace {

std::uint64_t tokenOf(int fd, std::uint32_t stamp)
{
    return std::uint64_t{stamp} << 32 | static_cast<std::uint32_t>(fd);
}

} // namespace

EventLoop::EventLoop() : epoll(::epoll_create1(EPOLL_CLOEXEC))
{
    if (!epoll)
        throw std::system_error(errno, std::generic_category(), "epoll_create1");
}

bool EventLoop::watch(int fd, Handler handler)
{
    const std::uint32_t stamp = nextStamp++;
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = tokenOf(fd, stamp);
    if (::epoll_ctl(epoll.get(), EPOLL_CTL_ADD, fd, &event) != 0)
        return false;
    watches[fd] = {stamp, std::make_shared<Handler>(std::move(handler))};
    return true;
}

void EventLoop::forget(int fd)
{
    if (watches.erase(fd) != 0)
        ::epoll_ctl(epoll.get(), EPOLL_CTL_DEL, fd, nullptr); // fails when already closed, which is as good
}

void EventLoop::run()
{
    std::array<epoll_event, 64> events{};
    running = true;
    while (running) {
        const int count = ::epoll_wait(epoll.get(), events.data(), events.size(), -1);
        if (count < 0 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "epoll_wait");
        for (int i = 0; i < count && running; ++i) {
            const std::uint64_t token = events[i].data.u64;
            const auto found = watches.find(static_cast<int>(token & 0xFFFFFFFF));
            if (found == watches.end() || found->second.stamp != token >> 32)
                continue;
            const std::shared_ptr<Handler> handler = found->second.handler; // outlives a forget() inside
            (*handler)();
        }
    }
}

DelayedAction::DelayedAction(EventLoop& owner, std::function<void()> toRun)
    : loop(owner), timer(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)),
      action(std::move(toRun))
{
    const auto fire = [this] {
        std::uint64_t expirations = 0;
        if (::read(timer.get(), &expirations, sizeof expirations) != sizeof expirations)
            return;
        armed = false;
        action();
    };
    if (!timer || !loop.watch(timer.get(), fire))
        throw std::system_error(errno, std::generic_category(), "timerfd");
}

DelayedAction::~DelayedAction() { loop.forget(timer.get()); }

void DelayedAction::arm(std::chrono::milliseconds delay)
{
    if (armed)
        return;
    itimerspec due{};
    due.it_value.tv_sec = delay.count() / 1000;
    due.it_value.tv_nsec = delay.count() % 1000 * 1'000'000 + 1; // all zero would disarm
    armed = ::timerfd_settime(timer.get(), 0, &due, nullptr) == 0;
}

} // namespace vnode
