#pragma once

#include "vnode/loop/EventLoop.h"

#include <functional>

namespace vnode {

/// Calls back when any network device of this namespace comes, goes or changes. What changed is not told:
/// events get lost under load, so the listener has to look for itself anyway.
class LinkWatch
{
public:
    LinkWatch(EventLoop& eventLoop, std::function<void()> onChange);
    ~LinkWatch();
    LinkWatch(const LinkWatch&) = delete;
    LinkWatch& operator=(const LinkWatch&) = delete;

private:
    void drain();

    EventLoop& loop;
    UniqueFd socket;
    std::function<void()> listener;
};

} // namespace vnode
