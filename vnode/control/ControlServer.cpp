#include "vnode/control/ControlServer.h"

#include "vnode/control/Procedures.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/sockios.h>
#include <netconfig.h>
#include <poll.h>
#include <rpc/rpc_com.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <vector>

namespace vnode::control {

namespace {

// The dispatch function gets no context from the library.
Service* activeService = nullptr;

// Well-behaved clients read an answer before they send the next request. One that does not could fill the
// socket, and the library would wait for room.
constexpr int unreadBytesLimit = 64 * 1024;

// The longest request is a driver write. With a limit the library also reads without waiting, so that half a
// request holds up nobody.
constexpr int requestBytesMax = VNODE_WRITE_MAX + 16 * 1024;

std::string problem(const std::string& path, const char* step)
{
    return path + ": " + step + ": " + std::strerror(errno);
}

/// A listening socket under a name of its own that becomes @p path when all is ready.
UniqueFd listenAt(const std::string& path, std::string& reason)
{
    const std::string draft = path + ".new";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (draft.size() >= sizeof address.sun_path) {
        reason = path + ": too long for a socket";
        return {};
    }
    draft.copy(address.sun_path, draft.size());

    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ::unlink(draft.c_str());
    const bool bound =
        fd && ::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (bound && ::chmod(draft.c_str(), 0600) == 0 && ::listen(fd.get(), SOMAXCONN) == 0 &&
        ::rename(draft.c_str(), path.c_str()) == 0)
        return fd;
    reason = problem(path, "control socket");
    if (bound)
        ::unlink(draft.c_str());
    return {};
}

// Without that line the library sleeps ten seconds at the first connection, and no frame moves meanwhile.
bool libraryKnowsUnixSockets()
{
    netconfig* local = getnetconfigent("local");
    if (local != nullptr)
        freenetconfigent(local);
    return local != nullptr;
}

bool isServed(int fd) { return fd < FD_SETSIZE && FD_ISSET(fd, &svc_fdset); }

} // namespace

ControlServer::ControlServer(EventLoop& eventLoop, Service& answers) : loop(eventLoop), service(answers)
{
    activeService = &answers;
}

ControlServer::~ControlServer()
{
    activeService = nullptr;
    if (listener != nullptr) {
        svc_unreg(VNODE_CONTROL, VNODE_CONTROL_V1);
        loop.forget(listener->xp_fd);
        svc_destroy(listener);
        ::unlink(path.c_str());
    }
    for (const int fd : watched) {
        loop.forget(fd);
        ::shutdown(fd, SHUT_RDWR);
        svc_getreq_common(fd); // the library finds the end of the connection and closes it
        service.end(fd);
    }
}

bool ControlServer::listen(const std::string& socketPath, std::string& reason)
{
    if (!libraryKnowsUnixSockets()) {
        reason = "/etc/netconfig has no transport \"local\", which the RPC library needs for unix sockets";
        return false;
    }
    int limit = requestBytesMax;
    rpc_control(RPC_SVC_CONNMAXREC_SET, &limit);

    UniqueFd fd = listenAt(socketPath, reason);
    if (!fd)
        return false;
    SVCXPRT* transport = fd.get() < FD_SETSIZE ? svc_vc_create(fd.get(), 0, 0) : nullptr;
    if (transport == nullptr || !svc_reg(transport, VNODE_CONTROL, VNODE_CONTROL_V1, &dispatch, nullptr) ||
        !loop.watch(fd.get(), [this] { onListener(); })) {
        reason = socketPath + ": the RPC library refuses it";
        ::unlink(socketPath.c_str());
        return false;
    }
    path = socketPath;
    listener = transport;
    static_cast<void>(fd.release());
    return true;
}

/// Closes connections whose clients are gone now, before the loop gets to them.
void ControlServer::reap()
{
    const std::vector<int> candidates(watched.begin(), watched.end());
    for (const int fd : candidates) {
        pollfd state{fd, POLLRDHUP, 0};
        if (::poll(&state, 1, 0) > 0)
            serve(fd);
    }
}

// The library watches descriptors below FD_SETSIZE only, and would keep others without ever serving them.
void ControlServer::onListener()
{
    if (watched.size() >= clientLimit)
        reap();
    const UniqueFd next(::fcntl(listener->xp_fd, F_DUPFD_CLOEXEC, 0));
    if (watched.size() >= clientLimit || !next || next.get() >= FD_SETSIZE) {
        const UniqueFd refused(::accept4(listener->xp_fd, nullptr, nullptr, SOCK_CLOEXEC));
        return;
    }
    serve(listener->xp_fd);
}

void ControlServer::serve(int fd)
{
    svc_getreq_common(fd);
    follow();
}

/// The library opens and closes connections by itself; this makes the loop watch the same ones.
void ControlServer::follow()
{
    for (auto fd = watched.begin(); fd != watched.end();) {
        if (isServed(*fd)) {
            ++fd;
            continue;
        }
        loop.forget(*fd);
        service.end(*fd);
        fd = watched.erase(fd);
    }
    for (int fd = 0; fd < FD_SETSIZE; ++fd) {
        if (fd == listener->xp_fd || !isServed(fd) || watched.contains(fd))
            continue;
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
        if (loop.watch(fd, [this, fd] { serve(fd); }))
            watched.insert(fd);
    }
}

void ControlServer::dispatch(svc_req* request, SVCXPRT* transport)
{
    if (activeService == nullptr)
        return;
    int unread = 0;
    if (::ioctl(transport->xp_fd, SIOCOUTQ, &unread) == 0 && unread > unreadBytesLimit) {
        ::shutdown(transport->xp_fd, SHUT_RDWR);
        return;
    }
    activeService->begin(transport->xp_fd);
    serveProcedure(*activeService, request->rq_proc, transport);
}

} // namespace vnode::control
