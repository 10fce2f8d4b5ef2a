// One management peer that calls the relay as fast as it is answered, on the node itself:
//
//     rpc_load udp|tcp getter|setter|list SECONDS [INTERFACE]
//
// getter: whether the relay is enabled. setter: the node id, to and fro. list: everything that INTERFACE says
// for its VLANs. One JSON object at the end.

#include <arpa/inet.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include <dhcpra.h> // made from dhcpra.x

namespace {

struct ClientDeleter
{
    void operator()(CLIENT* client) const { clnt_destroy(client); }
};
using Client = std::unique_ptr<CLIENT, ClientDeleter>;

Client connectOver(std::string_view protocol)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int socket = RPC_ANYSOCK;
    if (protocol == "udp")
        return Client(
            clntudp_create(&address, RPC_DHCPRA_PROGRAM, RPC_DHCPRA_VERSION, timeval{1, 0}, &socket));
    return Client(clnttcp_create(&address, RPC_DHCPRA_PROGRAM, RPC_DHCPRA_VERSION, &socket, 0, 0));
}

bool get(CLIENT* client) { return rpc_dra_is_enabled_1(client) != nullptr; }

bool set(CLIENT* client)
{
    static bool even = false;
    even = !even;
    char text[] = "node1";
    text[4] = even ? '1' : '2';
    const rpcDraResultCode* code = rpc_dra_set_node_id_1(text, client);
    return code != nullptr && *code == RPC_DRA_SUCCESS;
}

/// Number of elements; -1 is a failure.
long list(CLIENT* client, u_int interface)
{
    rpcDraInterfaceVlanListResult* answer = rpc_dra_intf_vlan_list_1(interface, client);
    if (answer == nullptr || answer->code != RPC_DRA_SUCCESS)
        return -1;
    const long count = answer->list.list_len;
    clnt_freeres(client, reinterpret_cast<xdrproc_t>(xdr_rpcDraInterfaceVlanListResult),
                 reinterpret_cast<char*>(answer));
    std::memset(answer, 0, sizeof *answer);
    return count;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4)
        return std::fputs("usage: rpc_load udp|tcp getter|setter|list SECONDS [INTERFACE]\n", stderr), 2;
    const std::string_view kind = argv[2];
    const auto interface = static_cast<u_int>(argc > 4 ? std::strtoul(argv[4], nullptr, 10) : 0);
    const Client client = connectOver(argv[1]);
    if (!client)
        return std::fputs(clnt_spcreateerror("rpc_load"), stderr), 1;

    using Clock = std::chrono::steady_clock;
    using Seconds = std::chrono::duration<double>;
    const auto began = Clock::now();
    const auto end = began + Seconds(std::atof(argv[3]));
    long calls = 0;
    long elements = 0;
    for (; Clock::now() < end; ++calls) {
        const bool good = kind == "getter"   ? get(client.get())
                          : kind == "setter" ? set(client.get())
                                             : (elements = list(client.get(), interface)) >= 0;
        if (!good)
            return std::fputs(clnt_sperror(client.get(), "rpc_load: the call failed"), stderr), 1;
    }
    std::printf("{\"calls\": %ld, \"seconds\": %.3f, \"elements\": %ld}\n", calls,
                Seconds(Clock::now() - began).count(), elements);
    return 0;
}
