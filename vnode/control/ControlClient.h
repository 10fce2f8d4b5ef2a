#pragma once

#include "vnode_control.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <string>

namespace vnode::control {

/**
 * A connection to a node's control socket that is made when it is needed and made again when the node went
 * away. Calls may come from any thread and run one after the other; the lock is a leaf. The process gets no
 * SIGPIPE.
 */
class ControlClient
{
public:
    explicit ControlClient(std::string socketPath) : path(std::move(socketPath)) {}
    ~ControlClient();
    ControlClient(const ControlClient&) = delete;
    ControlClient& operator=(const ControlClient&) = delete;

    /**
     * Runs @p stub(CLIENT*), one of the client stubs of vnode_control.x, connected. 0 when the node answered;
     * ECONNREFUSED when it cannot be reached; ETIMEDOUT; EINVAL for arguments that do not fit the protocol;
     * EPROTO for an answer that is none.
     */
    template <typename Stub>
    [[nodiscard]] int call(Stub&& stub)
    {
        return callNumbered([&stub](CLIENT* client, std::uint64_t) { return stub(client); });
    }

    /// The same, with the number of the connection as second argument: what the node keeps for a connection
    /// (driver handles) is gone when the number is another one.
    template <typename Stub>
    [[nodiscard]] int callNumbered(Stub&& stub)
    {
        const std::lock_guard lock(mutex);
        const NoSigpipe guard;
        if (!connected())
            return ECONNREFUSED;
        return outcome(stub(handle, connection));
    }

private:
    /// SIGPIPE blocked in this thread, and taken back if it came: the RPC library writes with plain write().
    class NoSigpipe
    {
    public:
        NoSigpipe();
        ~NoSigpipe();

    private:
        sigset_t before;
        bool wasPending;
    };

    [[nodiscard]] bool connected();
    [[nodiscard]] bool isBroken() const;
    void disconnect();
    [[nodiscard]] int outcome(clnt_stat status);

    const std::string path;
    std::mutex mutex; ///< guards what follows
    CLIENT* handle = nullptr;
    int socket = -1;
    std::uint64_t connection = 0;
};

} // namespace vnode::control
