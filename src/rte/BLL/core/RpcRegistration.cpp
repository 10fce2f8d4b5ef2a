#include "rte/BLL/core/RpcRegistration.h"

#include "rte/BLL/core/RpcStreams.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <rpc/pmap_clnt.h>

namespace {

/// Held while a transport is entered into svc_fdset, and while the set is copied. A leaf: never held around
/// svc_register, which talks to the port mapper and may wait for it.
constinit std::mutex transports;

constexpr int listenQueue = 128;

struct Program
{
    rpcprog_t number;
    rpcvers_t version;
    rpcDispatcher_t dispatch;
};

// The text says "service 0xPROGRAM/PROGRAM": the number twice, in both notations.

void reportFailure(int line, const char* task, const Program& program, const char* tail = "")
{
    std::fprintf(stderr, "%s:%d Cannot %s RPC service 0x%08lx/%lu, version %lu%s.\n", "rte/BLL/core/rpcProxy",
                 line, task, static_cast<unsigned long>(program.number),
                 static_cast<unsigned long>(program.number), static_cast<unsigned long>(program.version),
                 tail);
}

void reportSystemFailure(int line, const char* task, const Program& program, const char* middle = "")
{
    const int error = errno;
    char tail[160];
    std::snprintf(tail, sizeof tail, "%s (%d - %s)", middle, error, std::strerror(error));
    reportFailure(line, task, program, tail);
}

bool bindToLoopback(int socket)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0; // the kernel picks one; peers ask the port mapper
    return bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

SVCXPRT* makeUdpTransport(int socket)
{
    const std::lock_guard guard(transports);
    return svcudp_create(socket);
}

SVCXPRT* makeTcpTransport(int socket)
{
    const std::lock_guard guard(transports);
    return svctcp_create(socket, 0, 0);
}

bool registerOn(SVCXPRT* transport, const Program& program, int protocol)
{
    return svc_register(transport, program.number, program.version, program.dispatch, protocol) != 0;
}

void registerUdp(const Program& program)
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (socket == -1)
        return reportSystemFailure(__LINE__, "create UDP socket for", program);
    if (!bindToLoopback(socket)) // left open, as ever: the process goes on without this transport
        return reportSystemFailure(__LINE__, "bind UDP socket for", program);
    SVCXPRT* const transport = makeUdpTransport(socket);
    if (transport == nullptr) {
        reportFailure(__LINE__, "create UDP", program);
        close(socket);
        return;
    }
    if (!registerOn(transport, program, IPPROTO_UDP))
        reportFailure(__LINE__, "register UDP", program);
}

void registerTcp(const Program& program)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    if (socket == -1)
        return reportSystemFailure(__LINE__, "create TCP socket for", program);
    if (!bindToLoopback(socket)) // as above
        return reportSystemFailure(__LINE__, "bind TCP socket for", program);
    if (listen(socket, listenQueue) != 0) {
        reportSystemFailure(__LINE__, "set TCP socket for", program, " to listen mode");
        close(socket);
        return;
    }
    SVCXPRT* const transport = makeTcpTransport(socket);
    if (transport == nullptr) {
        reportFailure(__LINE__, "create TCP", program);
        close(socket);
        return;
    }
    acceptStreamsOn(*transport);
    if (!registerOn(transport, program, IPPROTO_TCP))
        reportFailure(__LINE__, "register TCP", program);
}

} // namespace

fd_set rpcDescriptors()
{
    const std::lock_guard guard(transports);
    return svc_fdset;
}

void rpcProxyRegisterSvc(rpcprog_t prog, rpcvers_t vers, rpcDispatcher_t dispatch)
{
    const Program program{prog, vers, dispatch};
    // A process that was killed leaves its ports with the port mapper, and svc_register would fail on them.
    pmap_unset(prog, vers);
    registerUdp(program);
    registerTcp(program);
}
