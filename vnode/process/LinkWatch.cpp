#include "vnode/process/LinkWatch.h"

#include <array>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

namespace vnode {

LinkWatch::LinkWatch(EventLoop& eventLoop, std::function<void()> onChange)
    : loop(eventLoop), socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, NETLINK_ROUTE)),
      listener(std::move(onChange))
{
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK;
    const bool listening =
        socket && ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    // Without it (some emulators) a device that comes back is still found by the retry for closed ones.
    if (!listening || !loop.watch(socket.get(), [this] { drain(); }))
        socket.reset();
}

LinkWatch::~LinkWatch()
{
    if (socket)
        loop.forget(socket.get());
}

void LinkWatch::drain()
{
    // Bounded: more than this is read in the loop's next turn. An overrun (ENOBUFS) is a change like any
    // other.
    std::array<char, 8192> message{};
    for (int i = 0; i < 64; ++i)
        if (::recv(socket.get(), message.data(), message.size(), 0) < 0)
            break;
    listener();
}

} // namespace vnode
