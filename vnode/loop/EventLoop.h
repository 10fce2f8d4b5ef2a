#pragma once

#include "vnode/loop/UniqueFd.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>

namespace vnode {

/**
 * The one loop of the process: level-triggered epoll with one handler a descriptor. One thread; a handler may
 * watch and forget descriptors, its own included.
 */
class EventLoop
{
public:
    using Handler = std::function<void()>;

    EventLoop(); ///< throws std::system_error

    /// Calls @p handler whenever @p fd is readable or broken. The caller keeps the descriptor.
    /// False, with errno, when the kernel refuses it.
    [[nodiscard]] bool watch(int fd, Handler handler);
    /// To be called before the descriptor is closed, or right after.
    void forget(int fd);

    /// Serves until stop().
    void run();
    void stop() { running = false; }

private:
    struct Watch
    {
        std::uint32_t stamp; ///< tells a late event of a closed descriptor from its successor's
        std::shared_ptr<Handler> handler;
    };

    UniqueFd epoll;
    std::unordered_map<int, Watch> watches;
    std::uint32_t nextStamp = 0;
    bool running = false;
};

/// An action that runs once, some time after it was armed; arming again while it is armed changes nothing.
class DelayedAction
{
public:
    DelayedAction(EventLoop& owner, std::function<void()> toRun); ///< throws std::system_error
    ~DelayedAction();
    DelayedAction(const DelayedAction&) = delete;
    DelayedAction& operator=(const DelayedAction&) = delete;

    void arm(std::chrono::milliseconds delay);

private:
    EventLoop& loop;
    UniqueFd timer;
    std::function<void()> action;
    bool armed = false;
};

} // namespace vnode
