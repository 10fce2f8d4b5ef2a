#pragma once

#include "rte/BLL/core/RPCProxy.h"
#include "rte/BLL/core/RpcRegistration.h"
#include "support/CapturedOutput.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <memory>
#include <netinet/in.h>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

// Programs for these tests only. They do not need a port mapper: without one the registration says so, and
// the transports serve all the same; the clients here take the port from the socket.

namespace test {

inline constexpr rpcprog_t firstProgram = 0x2000F001;
inline constexpr rpcprog_t secondProgram = 0x2000F002;
inline constexpr rpcvers_t version = 1;
inline constexpr rpcproc_t increase = 7; // int to int + 1
inline constexpr rpcproc_t measure = 8;  // string to its length

inline bool_t passText(XDR* xdrs, char** text) { return xdr_string(xdrs, text, ~0U); }

inline void dispatch(svc_req* request, SVCXPRT* transport)
{
    int value = 0;
    if (request->rq_proc == measure) {
        char* text = nullptr;
        const auto filter = reinterpret_cast<xdrproc_t>(passText);
        if (svc_getargs(transport, filter, reinterpret_cast<char*>(&text)) == 0) {
            svcerr_decode(transport);
            return;
        }
        value = static_cast<int>(std::strlen(text));
        svc_freeargs(transport, filter, reinterpret_cast<char*>(&text));
        svc_sendreply(transport, reinterpret_cast<xdrproc_t>(xdr_int), reinterpret_cast<char*>(&value));
        return;
    }
    if (request->rq_proc != increase) {
        svcerr_noproc(transport);
        return;
    }
    if (svc_getargs(transport, reinterpret_cast<xdrproc_t>(xdr_int), reinterpret_cast<char*>(&value)) == 0) {
        svcerr_decode(transport);
        return;
    }
    ++value;
    svc_sendreply(transport, reinterpret_cast<xdrproc_t>(xdr_int), reinterpret_cast<char*>(&value));
}

inline void* registerFirst(void*)
{
    rpcProxyRegisterSvc(firstProgram, version, dispatch);
    return nullptr;
}
inline void* registerSecond(void*)
{
    rpcProxyRegisterSvc(secondProgram, version, dispatch);
    return nullptr;
}

inline void* registerNothing(void*) { return nullptr; }

inline std::vector<int> descriptors()
{
    const fd_set set = rpcDescriptors();
    std::vector<int> result;
    for (int fd = 0; fd < FD_SETSIZE; ++fd) {
        if (FD_ISSET(fd, &set))
            result.push_back(fd);
    }
    return result;
}

inline sockaddr_in addressOf(int fd)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    EXPECT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size), 0);
    return address;
}

inline int typeOf(int fd)
{
    int type = 0;
    socklen_t size = sizeof type;
    EXPECT_EQ(getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size), 0);
    return type;
}

struct ClientDeleter
{
    void operator()(CLIENT* client) const { clnt_destroy(client); }
};
using Client = std::unique_ptr<CLIENT, ClientDeleter>;

/// The first of the transports of that type that answers for the program; null: none does.
inline Client clientOf(rpcprog_t program, int type, const std::vector<int>& transports)
{
    for (const int fd : transports) {
        if (typeOf(fd) != type)
            continue;
        sockaddr_in address = addressOf(fd);
        int socket = RPC_ANYSOCK;
        const timeval retry{1, 0};
        Client client(type == SOCK_DGRAM ? clntudp_create(&address, program, version, retry, &socket)
                                         : clnttcp_create(&address, program, version, &socket, 0, 0));
        if (client)
            return client;
    }
    return nullptr;
}

inline std::optional<int> call(const Client& client, int value)
{
    int answer = 0;
    const timeval timeout{20, 0}; // on a slow machine too: whoever is held up for good is never answered
    if (!client || clnt_call(client.get(), increase, reinterpret_cast<xdrproc_t>(xdr_int),
                             reinterpret_cast<char*>(&value), reinterpret_cast<xdrproc_t>(xdr_int),
                             reinterpret_cast<char*>(&answer), timeout) != RPC_SUCCESS)
        return std::nullopt;
    return answer;
}

inline int connectTo(const sockaddr_in& address)
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return fd;
}

/// More than select() can hold; the library looks at this once, at its first use.
inline void allowManyDescriptors()
{
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
}

/// The receive loop with both programs, for all tests with it: the library's tables are process-wide.
class Served : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        std::signal(SIGPIPE, SIG_IGN);
        allowManyDescriptors();
        if (!transports.empty()) { // of an earlier suite
            loop = std::make_unique<RPCProxy>(registerNothing, "dhcpra_fun");
            ASSERT_TRUE(loop->start());
            return;
        }
        said = standardErrorOf([] {
            loop = std::make_unique<RPCProxy>(registerFirst, "dhcpra_fun");
            ASSERT_TRUE(loop->start());
            waitForTransports(2);
            second = std::make_unique<RPCProxy>(registerSecond, "Ipsg_fun");
            ASSERT_TRUE(second->start());
            waitForTransports(4);
            second->stop(false); // its thread has ended; the loop serves its program
        });
        transports = descriptors();
    }
    static void TearDownTestSuite()
    {
        loop.reset();
        second.reset();
        pmap_unset(firstProgram, version);
        pmap_unset(secondProgram, version);
    }
    static void waitForTransports(std::size_t count)
    {
        for (int i = 0; i < 1000 && descriptors().size() < count; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        // The second transport is registered after it has been made.
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }

    static inline std::unique_ptr<RPCProxy> loop;
    static inline std::unique_ptr<RPCProxy> second;
    static inline std::string said;
    static inline std::vector<int> transports;
};

} // namespace test
