#include "log/LogText.h"
#include "rpc/Program.h"
#include "rte/BLL/core/RpcDatagrams.h"

#include <algorithm>
#include <array>
#include <boost/thread/thread.hpp>
#include <cstdio>
#include <exception>
#include <optional>
#include <poll.h>
#include <sys/socket.h>

namespace {

const ProcedureRow* findRow(std::span<const ProcedureRow> rows, rpcproc_t number)
{
    const auto found = std::ranges::lower_bound(rows, number, {}, &ProcedureRow::number);
    return found != rows.end() && found->number == number ? &*found : nullptr;
}

xdrproc_t asLibraryFilter(ProcedureRow::filter_t filter) { return reinterpret_cast<xdrproc_t>(filter); }

/**
 * The argument in the dispatcher's buffer. Decoding fails also when it went past the end of the datagram that
 * the request came in. Whatever it allocated is freed at the end, also when it stopped half-way.
 */
class Argument
{
public:
    Argument(SVCXPRT* from, ProcedureRow::filter_t argumentFilter)
        : transport(from), filter(argumentFilter), end(datagramSize(from->xp_fd))
    {}
    Argument(const Argument&) = delete;
    Argument& operator=(const Argument&) = delete;
    ~Argument()
    {
        if (!svc_freeargs(transport, asLibraryFilter(pass), this))
            std::fputs("unable to free arguments", stderr);
    }

    [[nodiscard]] bool decode() { return svc_getargs(transport, asLibraryFilter(pass), this); }
    [[nodiscard]] void* data() { return buffer.data(); }

private:
    static bool_t pass(XDR* xdrs, void* self)
    {
        auto& argument = *static_cast<Argument*>(self);
        const bool good = argument.filter(xdrs, argument.buffer.data());
        return good && (xdrs->x_op != XDR_DECODE || !argument.end || XDR_GETPOS(xdrs) <= *argument.end);
    }

    SVCXPRT* transport;
    ProcedureRow::filter_t filter;
    std::optional<std::size_t> end;
    alignas(std::max_align_t) std::array<char, largestArgument> buffer{};
};

bool canBeWritten(int fd)
{
    pollfd asked{fd, POLLOUT, 0};
    return poll(&asked, 1, 0) != 0; // an error counts: writing answers at once then
}

/**
 * The result on its way to the peer. Where a peer does not read what it asked for, the library tries to write
 * for two seconds, and again for whatever follows; its connection ends after the first time, as nobody else
 * is served meanwhile.
 */
class Reply
{
public:
    Reply(SVCXPRT* to, ProcedureRow::filter_t resultFilter, void* resultData)
        : transport(to), filter(resultFilter), result(resultData)
    {}

    [[nodiscard]] bool send() { return svc_sendreply(transport, asLibraryFilter(pass), this); }

private:
    static bool_t pass(XDR* xdrs, void* self)
    {
        const auto& reply = *static_cast<Reply*>(self);
        const bool good = reply.filter(xdrs, reply.result);
        if (!good && !canBeWritten(reply.transport->xp_fd))
            shutdown(reply.transport->xp_fd, SHUT_RDWR);
        return good;
    }

    SVCXPRT* transport;
    ProcedureRow::filter_t filter;
    void* result;
};

struct Served
{
    bool failed = false;
    void* result = nullptr;
};

void logFailure(const ProcedureRow& row, const char* what)
{
    logText(LogImpl::critical, "RPC procedure ", row.name, " failed: ", what, "\n");
}

Served serve(const ProcedureRow& row, void* argument) noexcept
{
    try {
        return {false, row.serve(argument)};
    } catch (const std::exception& error) {
        logFailure(row, error.what());
    } catch (...) {
        logFailure(row, "unknown exception");
    }
    return {true, nullptr};
}

void serveCall(const ProcedureRow& row, SVCXPRT* transport)
{
    Argument argument(transport, row.argumentFilter);
    if (!argument.decode()) {
        svcerr_decode(transport);
        return;
    }
    const Served served = serve(row, argument.data());
    // Sending fails where a long list does not fit: over UDP.
    const bool answered = !served.failed && (served.result == nullptr ||
                                             Reply(transport, row.resultFilter, served.result).send());
    if (!answered)
        svcerr_systemerr(transport);
}

} // namespace

void dispatch(std::span<const ProcedureRow> rows, svc_req* request, SVCXPRT* transport)
{
    const boost::this_thread::disable_interruption uninterrupted;
    if (request->rq_proc == NULLPROC) {
        Nothing nothing;
        static_cast<void>(svc_sendreply(transport, asLibraryFilter(untyped<xdr_void>), &nothing));
        return;
    }
    if (const ProcedureRow* row = findRow(rows, request->rq_proc))
        serveCall(*row, transport);
    else
        svcerr_noproc(transport);
}
