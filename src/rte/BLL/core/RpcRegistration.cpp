#include "rte/BLL/core/RpcRegistration.h"

#include "rte/BLL/core/RpcStreams.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <netinet/in.h>
#include <optional>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

#include <rpc/pmap_clnt.h>

namespace {

/// Held while a transport or a program is entered into the library's tables, and while svc_fdset is copied.
constinit std::mutex transports;

constexpr int listenQueue = 128;

struct Program
{
    rpcprog_t number;
    rpcvers_t version;
    rpcDispatcher_t dispatch;
};

// The text says "service 0xPROGRAM/PROGRAM": the number twice, in both notations.

/// Returns null, which callers return in place of the transport.
std::nullptr_t reportFailure(int line, const char* task, const Program& program, const char* tail = "")
{
    std::fprintf(stderr, "%s:%d Cannot %s RPC service 0x%08lx/%lu, version %lu%s.\n", "rte/BLL/core/rpcProxy",
                 line, task, static_cast<unsigned long>(program.number),
                 static_cast<unsigned long>(program.number), static_cast<unsigned long>(program.version),
                 tail);
    return nullptr;
}

std::nullptr_t reportSystemFailure(int line, const char* task, const Program& program,
                                   const char* middle = "")
{
    const int error = errno;
    char tail[160];
    std::snprintf(tail, sizeof tail, "%s (%d - %s)", middle, error, std::strerror(error));
    return reportFailure(line, task, program, tail);
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

/// Enters the program at the library. With protocol 0 the library does not talk to the port mapper.
bool enter(SVCXPRT* transport, const Program& program)
{
    const std::lock_guard guard(transports);
    return svc_register(transport, program.number, program.version, program.dispatch, 0) != 0;
}

SVCXPRT* makeUdp(const Program& program)
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (socket == -1)
        return reportSystemFailure(__LINE__, "create UDP socket for", program);
    if (!bindToLoopback(socket)) // stays open; the process goes on without this transport
        return reportSystemFailure(__LINE__, "bind UDP socket for", program);
    SVCXPRT* const transport = makeUdpTransport(socket);
    if (transport == nullptr) {
        close(socket);
        return reportFailure(__LINE__, "create UDP", program);
    }
    if (!enter(transport, program))
        reportFailure(__LINE__, "register UDP", program);
    return transport;
}

SVCXPRT* makeTcp(const Program& program)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    if (socket == -1)
        return reportSystemFailure(__LINE__, "create TCP socket for", program);
    if (!bindToLoopback(socket)) // as above
        return reportSystemFailure(__LINE__, "bind TCP socket for", program);
    if (listen(socket, listenQueue) != 0) {
        reportSystemFailure(__LINE__, "set TCP socket for", program, " to listen mode");
        close(socket);
        return nullptr;
    }
    SVCXPRT* const transport = makeTcpTransport(socket);
    if (transport == nullptr) {
        close(socket);
        return reportFailure(__LINE__, "create TCP", program);
    }
    acceptStreamsOn(*transport);
    if (!enter(transport, program))
        reportFailure(__LINE__, "register TCP", program);
    return transport;
}

/// The transports of a program that was registered. They are never destroyed.
struct Registration
{
    std::mutex making; ///< guards the transports
    SVCXPRT* udp = nullptr;
    SVCXPRT* tcp = nullptr;
    std::mutex announcing; ///< held while the port mapper is told about this program
};

/// Built on first use and never destroyed, like everything that a thread may use at any time.
Registration& registrationOf(const Program& program)
{
    static std::mutex leaf; // guards the map
    static auto& registrations = *new std::map<std::pair<rpcprog_t, rpcvers_t>, Registration>;
    const std::lock_guard guard(leaf);
    return registrations[{program.number, program.version}];
}

struct Ports
{
    std::optional<u_short> udp;
    std::optional<u_short> tcp;
};

Ports makeTransports(const Program& program)
{
    const auto portOf = [](const SVCXPRT* transport) {
        return transport == nullptr ? std::nullopt : std::optional(transport->xp_port);
    };
    Registration& registration = registrationOf(program);
    const std::lock_guard guard(registration.making);
    if (registration.udp == nullptr)
        registration.udp = makeUdp(program);
    if (registration.tcp == nullptr)
        registration.tcp = makeTcp(program);
    return {portOf(registration.udp), portOf(registration.tcp)};
}

/// Tells the port mapper the ports of the program. Takes up to nine minutes if the port mapper is silent.
void announce(const Program& program, const Ports& ports)
{
    const std::lock_guard oneAtATime(registrationOf(program).announcing);
    // A process that was killed leaves its ports with the port mapper, which would refuse the new ones.
    pmap_unset(program.number, program.version);
    if (ports.udp && !pmap_set(program.number, program.version, IPPROTO_UDP, *ports.udp))
        reportFailure(__LINE__, "register UDP", program);
    if (ports.tcp && !pmap_set(program.number, program.version, IPPROTO_TCP, *ports.tcp))
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
    const Ports ports = makeTransports(program);
    const auto announcement = [program, ports] { announce(program, ports); };
    try {
        std::thread(announcement).detach();
    } catch (const std::system_error&) { // no thread can be made, so the caller has to wait
        announcement();
    }
}
