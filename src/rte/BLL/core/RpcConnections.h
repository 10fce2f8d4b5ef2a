#pragma once

#include <array>
#include <cstdint>
#include <sys/select.h>

/**
 * Bounds the number of TCP connections, so that peers that open connections and leave them cannot lock others
 * out. select() takes descriptors up to 1023 only; and when no descriptor is free, select() reports a waiting
 * peer again and again although it cannot be accepted. Therefore the connections that have been idle longest
 * are closed for new ones. When there is none to close, new peers wait in the kernel's queue while everybody
 * else is served.
 *
 * On the thread of the receive loop only.
 */
class RpcConnections
{
public:
    /// Most connections at a time. The other half of the descriptors that select() takes stays free for the
    /// process itself.
    static constexpr int most = FD_SETSIZE / 2;

    /// The part of @p transports to wait for. Leaves out the sockets for new connections right after one
    /// could not be accepted.
    [[nodiscard]] fd_set toWatch(const fd_set& transports);

    /// Before the library serves @p ready: takes out the sockets for new connections if there is no room.
    void makeRoom(fd_set& ready);

private:
    void noteNew(const fd_set& transports);
    void endLongestIdle();

    fd_set known{};
    std::array<std::uint64_t, FD_SETSIZE> lastUsed{}; ///< by descriptor: the pass in which it was ready
    std::uint64_t pass = 0;
    bool wasFull = false;
};
