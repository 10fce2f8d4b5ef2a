#pragma once

#include "vnode/control/Service.h"
#include "vnode/loop/EventLoop.h"

#include <string>
#include <unordered_set>

namespace vnode::control {

/**
 * Serves the control protocol on a unix socket, on the loop's thread. The RPC library keeps its state in the
 * process, so there is one server at a time. Whatever a client sends, or fails to read, costs at most its own
 * connection.
 */
class ControlServer
{
public:
    static constexpr std::size_t clientLimit = 64;

    ControlServer(EventLoop& eventLoop, Service& answers);
    ~ControlServer(); ///< closes all connections and removes the socket file
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    /// Makes the socket, accessible to its owner only. When the file is there, clients can connect.
    /// A socket file of a node that is gone is replaced: the caller has made sure that no other node lives.
    [[nodiscard]] bool listen(const std::string& socketPath, std::string& reason);

    [[nodiscard]] std::size_t clients() const { return watched.size(); }

private:
    static void dispatch(svc_req* request, SVCXPRT* transport);

    void onListener();
    void reap();
    void serve(int fd);
    void follow();

    EventLoop& loop;
    Service& service;
    std::string path;
    SVCXPRT* listener = nullptr;
    std::unordered_set<int> watched; ///< connections, owned by the RPC library
};

} // namespace vnode::control
