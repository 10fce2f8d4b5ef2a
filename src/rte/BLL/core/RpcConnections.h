#pragma once

#include <array>
#include <cstdint>
#include <sys/select.h>

/**
 * Keeps the receive loop able to take new connections. Peers that open connections and leave them would use
 * up what select() can hold: beyond it the library enters a connection nowhere and never serves it, and
 * without a free descriptor it fails to accept, again and again without a pause. So there is a bound: the
 * connection that has been idle longest makes room for a new one, and where nothing can make room the new
 * ones wait while everybody else is served.
 *
 * On the thread of the receive loop only.
 */
class RpcConnections
{
public:
    /// Most connections at a time. The other half of what select() can hold stays free for the process
    /// itself.
    static constexpr int most = FD_SETSIZE / 2;

    /// What to wait for among @p transports: not for new connections right after there was no room for one.
    [[nodiscard]] fd_set toWatch(const fd_set& transports);

    /// Before the library serves @p ready: takes out the sockets for new connections if there is no room.
    void makeRoom(fd_set& ready);

private:
    void noteNew(const fd_set& transports);
    void endLongestIdle();

    fd_set known{};
    std::array<std::uint64_t, FD_SETSIZE> lastUsed{}; ///< by descriptor, the pass
    std::uint64_t pass = 0;
    bool wasFull = false;
};
