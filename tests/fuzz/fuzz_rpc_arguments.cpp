#include "Require.h"
#include "relay/entity/dhcpra.h"
#include "rpc/programs.h"
#include "support/NodeBuilder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <dhcpra.h> // made from dhcpra.x
#include <memory>
#include <optional>
#include <span>
#include <type_traits>
#include <vector>

/// A text that says it has gigabytes is allocated before it is read; a board has no such memory.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1:max_allocation_size_mb=64";
}

namespace {

using Bytes = std::span<const std::uint8_t>;

/// A transport without a socket: arguments are read from memory, the reply is encoded into memory.
class MemoryTransport
{
public:
    MemoryTransport()
    {
        operations.xp_getargs = getArguments;
        operations.xp_freeargs = freeArguments;
        operations.xp_reply = reply;
        transport.xp_fd = -1;
        transport.xp_ops = &operations;
        transport.xp_p1 = this;
    }

    /// The status of the one reply that comes of a call.
    accept_stat call(rpcproc_t procedure, Bytes callArguments)
    {
        arguments = callArguments;
        status.reset();
        svc_req request{};
        request.rq_prog = dhcpraProgram;
        request.rq_vers = programVersion;
        request.rq_proc = procedure;
        request.rq_xprt = &transport;
        dhcpraDispatch(&request, &transport);
        require(status.has_value());
        return *status;
    }

private:
    static MemoryTransport& of(SVCXPRT* transport)
    {
        return *static_cast<MemoryTransport*>(transport->xp_p1);
    }

    static bool_t getArguments(SVCXPRT* from, xdrproc_t filter, void* data)
    {
        XDR xdrs;
        const Bytes bytes = of(from).arguments;
        xdrmem_create(&xdrs, reinterpret_cast<char*>(const_cast<std::uint8_t*>(bytes.data())),
                      static_cast<u_int>(bytes.size()), XDR_DECODE);
        return filter(&xdrs, data);
    }

    static bool_t freeArguments(SVCXPRT*, xdrproc_t filter, void* data)
    {
        XDR xdrs{};
        xdrs.x_op = XDR_FREE;
        return filter(&xdrs, data);
    }

    static bool_t reply(SVCXPRT* to, rpc_msg* message)
    {
        MemoryTransport& self = of(to);
        XDR xdrs;
        xdrmem_create(&xdrs, self.buffer.data(), static_cast<u_int>(self.buffer.size()), XDR_ENCODE);
        const bool_t encoded = xdr_replymsg(&xdrs, message);
        if (encoded == TRUE) {
            require(!self.status.has_value());
            self.status = message->acpted_rply.ar_stat;
        }
        return encoded;
    }

    std::remove_const_t<std::remove_pointer_t<decltype(SVCXPRT::xp_ops)>> operations{};
    SVCXPRT transport{};
    Bytes arguments;
    std::optional<accept_stat> status;
    std::vector<char> buffer = std::vector<char>(8U << 20U); // more than the longest list
};

/// Words that write to a file of the caller's choice, or stall the process for good.
bool isHarmful(rpcproc_t procedure, Bytes arguments)
{
    if (procedure != rpc_dra_ext_message && procedure != rpc_dra_ext_message_dhcpr)
        return false;
    rpc_dra_ext_message_1_argument message{};
    XDR xdrs;
    xdrmem_create(&xdrs, reinterpret_cast<char*>(const_cast<std::uint8_t*>(arguments.data())),
                  static_cast<u_int>(arguments.size()), XDR_DECODE);
    const bool harmful = xdr_rpc_dra_ext_message_1_argument(&xdrs, &message) == TRUE &&
                         (*message.TTY != '\0' || std::strcmp(message.KEY, "dhcpraSimulateDeadlock") == 0);
    xdr_free(reinterpret_cast<xdrproc_t>(xdr_rpc_dra_ext_message_1_argument), &message);
    return harmful;
}

std::unique_ptr<test::TestNode> makeNode()
{
    using Interfaces::interfaceType;
    auto node = test::NodeBuilder()
                    .slot(3)
                    .eth(1, "0/1")
                    .subscriber(7, "0/2/5")
                    .interface(9, interfaceType::pvc, "0/2/5/1", 7)
                    .interface(20, interfaceType::pon, "0/4")
                    .interface(21, interfaceType::onu, "0/4/1", 20)
                    .interface(22, interfaceType::gem, "0/4/1/1", 21)
                    .use();
    require(singleton<dhcpra>::instance().applyDefaultSettings());
    return node;
}

} // namespace

/// Calls, one after the other: a byte that selects the procedure, two of the arguments' length, the
/// arguments.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static MemoryTransport transport;
    static std::unique_ptr<test::TestNode> node;
    static unsigned runs = 0;
    if (runs++ % 10000 == 0) { // what calls have added to the node would grow
        node.reset();
        node = makeNode();
    } else {
        require(singleton<dhcpra>::instance().applyDefaultSettings());
    }

    const std::span<const ProcedureRow> rows = dhcpraProcedures();
    for (Bytes rest(data, size); rest.size() >= 3;) {
        const rpcproc_t procedure = rows[rest[0] % rows.size()].number;
        const std::size_t length = std::min<std::size_t>(rest[1] << 8 | rest[2], rest.size() - 3);
        const Bytes arguments = rest.subspan(3, length);
        rest = rest.subspan(3 + length);
        if (isHarmful(procedure, arguments))
            continue;
        const accept_stat status = transport.call(procedure, arguments);
        require(status == SUCCESS || status == GARBAGE_ARGS);
    }
    return 0;
}
