#include "rte/BLL/core/RpcStreams.h"

#include "rte/BLL/core/RpcRecord.h"

#include <cerrno>
#include <chrono>
#include <exception>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <new>
#include <poll.h>
#include <sys/socket.h>
#include <type_traits>
#include <unistd.h>
#include <utility>
#include <vector>

#include <rpc/svc_mt.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Bytes taken from a connection at a time. What a peer sends ahead is served before the next connection's
/// turn, so this also says how many small calls one peer may have served in a row.
constexpr std::size_t readSize = std::size_t{8} * 1024;

/// A reply leaves in fragments of this size.
constexpr unsigned int replyFragment = 64 * 1024;

/// Time that one reply may spend on waiting for its peer to read; nobody else is served meanwhile.
constexpr milliseconds replyPatience{2000};

constinit fd_set streams{};

/// One connection. The library owns it from the constructor on, until it asks for its destruction.
class Stream
{
public:
    Stream(int socket, const sockaddr_in& peer);
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream();

    bool receive(rpc_msg& call);
    void end() { ended = true; } ///< the library destroys it when it asks status()
    [[nodiscard]] xprt_stat status() const;
    bool passArguments(xdr_op direction, xdrproc_t filter, void* arguments);
    bool reply(rpc_msg& message);

private:
    void read();
    bool fillRecord();
    bool encode(XDR& out, rpc_msg& message);
    int write(const char* data, int size);
    bool waitUntilWritable();

    SVCXPRT transport{};
    SVCXPRT_EXT extension{};
    sockaddr_in address;

    std::vector<std::uint8_t> ahead; ///< received, but not yet part of a message
    std::size_t used = 0;            ///< how many of these are in `record` already
    RpcRecord record;
    bool isServed = false; ///< the message in `record` was given to the library
    XDR arguments{};
    std::uint32_t xid = 0;
    bool ended = false;
    milliseconds patience{};
};

Stream& streamOf(SVCXPRT* transport) { return *static_cast<Stream*>(transport->xp_p1); }

// ---- Operations that the library calls. No exception may pass through its C frames. ----

bool_t receiveCall(SVCXPRT* transport, rpc_msg* call)
{
    try {
        return streamOf(transport).receive(*call);
    } catch (const std::exception&) { // no memory: ends this connection only
        streamOf(transport).end();
        return FALSE;
    }
}

xprt_stat statusOf(SVCXPRT* transport) { return streamOf(transport).status(); }

bool_t getArguments(SVCXPRT* transport, xdrproc_t filter, void* arguments)
{
    return streamOf(transport).passArguments(XDR_DECODE, filter, arguments);
}

bool_t freeArguments(SVCXPRT* transport, xdrproc_t filter, void* arguments)
{
    return streamOf(transport).passArguments(XDR_FREE, filter, arguments);
}

bool_t sendReply(SVCXPRT* transport, rpc_msg* message) { return streamOf(transport).reply(*message); }

void destroyStream(SVCXPRT* transport) { delete &streamOf(transport); }

bool_t controlNothing(SVCXPRT*, u_int, void*) { return FALSE; }

// ---- Calls without authentication: arguments and results are not changed. For other calls the library puts
// its own operations in place of these. ----

int passThrough(SVCAUTH*, XDR* xdrs, xdrproc_t filter, caddr_t data) { return (*filter)(xdrs, data); }

bool_t noResult(XDR*, void*) { return TRUE; }

int nothingToDestroy(SVCAUTH*) { return TRUE; }

SVCAUTH::svc_auth_ops plainOperations{passThrough, passThrough, nothingToDestroy};

/// The library's tables of what a transport can do; the types have no names of their own in C++.
using Operations = std::remove_const_t<std::remove_pointer_t<decltype(SVCXPRT::xp_ops)>>;
using FurtherOperations = std::remove_const_t<std::remove_pointer_t<decltype(SVCXPRT::xp_ops2)>>;

constexpr Operations streamOperations{receiveCall, statusOf,      getArguments,
                                      sendReply,   freeArguments, destroyStream};
constexpr FurtherOperations streamControl{controlNothing};

// ---- One connection ----

Stream::Stream(int socket, const sockaddr_in& peer) : address(peer)
{
    transport.xp_fd = socket;
    transport.xp_ops = &streamOperations;
    transport.xp_ops2 = &streamControl;
    transport.xp_rtaddr = {sizeof address, sizeof address, &address};
    transport.xp_addrlen = sizeof address;
    transport.xp_verf = _null_auth;
    transport.xp_p1 = this;
    transport.xp_p3 = &extension;
    extension.xp_auth.svc_ah_ops = &plainOperations;
    xprt_register(&transport);
    FD_SET(socket, &streams);
}

Stream::~Stream()
{
    xprt_unregister(&transport);
    SVCAUTH_DESTROY(&extension.xp_auth);
    FD_CLR(transport.xp_fd, &streams);
    close(transport.xp_fd);
}

/// Called until status() answers something else than XPRT_MOREREQS. Reads at most once in all these rounds,
/// so that a peer that never stops sending leaves the others their turn.
bool Stream::receive(rpc_msg& call)
{
    if (!fillRecord())
        return false;
    isServed = true;
    const auto message = record.bytes();
    xdrmem_create(&arguments, reinterpret_cast<char*>(message.data()), static_cast<u_int>(message.size()),
                  XDR_DECODE);
    if (!xdr_callmsg(&arguments, &call)) { // not an RPC call
        ended = true;
        return false;
    }
    xid = call.rm_xid;
    return true;
}

xprt_stat Stream::status() const
{
    if (ended)
        return XPRT_DIED;
    return ahead.empty() ? XPRT_IDLE : XPRT_MOREREQS;
}

/// Whether a message is complete.
bool Stream::fillRecord()
{
    if (std::exchange(isServed, false))
        record.clear();
    if (ahead.empty())
        read();
    auto rest = std::span<const std::uint8_t>(ahead).subspan(used);
    const RpcRecord::State state = record.take(rest);
    used = ahead.size() - rest.size();
    if (rest.empty()) {
        ahead.clear();
        used = 0;
    }
    if (state == RpcRecord::State::tooLarge)
        ended = true;
    return state == RpcRecord::State::complete;
}

void Stream::read()
{
    ahead.resize(readSize);
    const ssize_t count = recv(transport.xp_fd, ahead.data(), ahead.size(), MSG_DONTWAIT);
    const bool nothingYet = count == -1 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
    ahead.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    if (count <= 0 && !nothingYet)
        ended = true;
}

bool Stream::passArguments(xdr_op direction, xdrproc_t filter, void* data)
{
    arguments.x_op = direction;
    if (direction == XDR_DECODE)
        return SVCAUTH_UNWRAP(&extension.xp_auth, &arguments, filter, static_cast<caddr_t>(data)) != 0;
    return (*filter)(&arguments, data) != 0;
}

bool Stream::reply(rpc_msg& message)
{
    if (ended)
        return false;
    patience = replyPatience;
    message.rm_xid = xid;
    XDR out{};
    xdrrec_create(
        &out, replyFragment, 0, this, [](void*, void*, int) { return -1; },
        [](void* self, void* data, int size) {
            return static_cast<Stream*>(self)->write(static_cast<const char*>(data), size);
        });
    out.x_op = XDR_ENCODE;
    const bool good = encode(out, message);
    static_cast<void>(xdrrec_endofrecord(&out, TRUE));
    XDR_DESTROY(&out);
    return good && !ended;
}

/// The head of the reply is written first, without the result; the result then goes through the call's
/// authentication, which may encrypt it.
bool Stream::encode(XDR& out, rpc_msg& message)
{
    const bool hasResult = message.rm_reply.rp_stat == MSG_ACCEPTED && message.acpted_rply.ar_stat == SUCCESS;
    if (!hasResult)
        return xdr_replymsg(&out, &message) != 0;
    const auto result =
        std::exchange(message.acpted_rply.ar_results, {nullptr, reinterpret_cast<xdrproc_t>(noResult)});
    return xdr_replymsg(&out, &message) != 0 &&
           SVCAUTH_WRAP(&extension.xp_auth, &out, result.proc, result.where) != 0;
}

/// Answers what the library's record stream expects: @p size when all was written, else -1.
int Stream::write(const char* data, int size)
{
    for (int written = 0; written < size && !ended;) {
        const ssize_t count = send(transport.xp_fd, data + written, static_cast<std::size_t>(size - written),
                                   MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count >= 0)
            written += static_cast<int>(count);
        else if (errno != EINTR && !((errno == EAGAIN || errno == EWOULDBLOCK) && waitUntilWritable()))
            ended = true;
    }
    return ended ? -1 : size;
}

bool Stream::waitUntilWritable()
{
    const auto start = steady_clock::now();
    pollfd asked{transport.xp_fd, POLLOUT, 0};
    const int answer = patience.count() > 0 ? poll(&asked, 1, static_cast<int>(patience.count())) : 0;
    patience -= std::chrono::ceil<milliseconds>(steady_clock::now() - start);
    return answer > 0 || (answer == -1 && errno == EINTR);
}

// ---- New connections ----

/// Replaces the library's own operation, which would make a connection with the library's reader. Always
/// answers FALSE: a listening transport never has a call to serve.
bool_t acceptStream(SVCXPRT* listener, rpc_msg*)
{
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    const int socket =
        accept4(listener->xp_fd, reinterpret_cast<sockaddr*>(&peer), &size, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket == -1) // gone again, or no descriptor is left: see RpcConnections.h
        return FALSE;
    if (socket >= FD_SETSIZE) { // select() cannot wait for it
        close(socket);
        return FALSE;
    }
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (new (std::nothrow) Stream(socket, peer) == nullptr)
        close(socket);
    return FALSE;
}

} // namespace

void acceptStreamsOn(SVCXPRT& listener)
{
    // All listening transports of the library share one table, so one changed copy is enough.
    static const Operations listenerOperations = [&listener] {
        Operations changed = *listener.xp_ops;
        changed.xp_recv = acceptStream;
        return changed;
    }();
    listener.xp_ops = &listenerOperations;
}

const fd_set& openStreams() { return streams; }
