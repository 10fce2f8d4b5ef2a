#include "rte/BLL/core/RpcRegistration.h"
#include "rte/BLL/core/RPCProxy.h"
#include "support/CapturedOutput.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <netinet/in.h>
#include <optional>
#include <regex>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

// Programs for this test only. It does not need a port mapper: without one the registration says so, and the
// transports serve all the same; the clients here take the port from the socket.

/// The library loses a few bytes a call when no port mapper answers.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:__rpc_uaddr2taddr_af"; }

namespace {

constexpr rpcprog_t firstProgram = 0x2000F001;
constexpr rpcprog_t secondProgram = 0x2000F002;
constexpr rpcvers_t version = 1;
constexpr rpcproc_t increase = 7; // int to int + 1

void dispatch(svc_req* request, SVCXPRT* transport)
{
    if (request->rq_proc != increase) {
        svcerr_noproc(transport);
        return;
    }
    int value = 0;
    if (svc_getargs(transport, reinterpret_cast<xdrproc_t>(xdr_int), reinterpret_cast<char*>(&value)) == 0) {
        svcerr_decode(transport);
        return;
    }
    ++value;
    svc_sendreply(transport, reinterpret_cast<xdrproc_t>(xdr_int), reinterpret_cast<char*>(&value));
}

void* registerFirst(void*)
{
    rpcProxyRegisterSvc(firstProgram, version, dispatch);
    return nullptr;
}
void* registerSecond(void*)
{
    rpcProxyRegisterSvc(secondProgram, version, dispatch);
    return nullptr;
}

std::vector<int> descriptors()
{
    const fd_set set = rpcDescriptors();
    std::vector<int> result;
    for (int fd = 0; fd < FD_SETSIZE; ++fd) {
        if (FD_ISSET(fd, &set))
            result.push_back(fd);
    }
    return result;
}

sockaddr_in addressOf(int fd)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    EXPECT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size), 0);
    return address;
}

int typeOf(int fd)
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
Client clientOf(rpcprog_t program, int type, const std::vector<int>& transports)
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

std::optional<int> call(const Client& client, int value)
{
    int answer = 0;
    const timeval timeout{3, 0};
    if (!client || clnt_call(client.get(), increase, reinterpret_cast<xdrproc_t>(xdr_int),
                             reinterpret_cast<char*>(&value), reinterpret_cast<xdrproc_t>(xdr_int),
                             reinterpret_cast<char*>(&answer), timeout) != RPC_SUCCESS)
        return std::nullopt;
    return answer;
}

int connectTo(const sockaddr_in& address)
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return fd;
}

/// The receive loop with both programs, for all tests of this file: the library's tables are process-wide.
class Served : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        std::signal(SIGPIPE, SIG_IGN);
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
        testing::internal::CaptureStderr();
        loop.reset();
        second.reset();
        testing::internal::GetCapturedStderr();
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

    static std::unique_ptr<RPCProxy> loop;
    static std::unique_ptr<RPCProxy> second;
    static std::string said;
    static std::vector<int> transports;
};

std::unique_ptr<RPCProxy> Served::loop;
std::unique_ptr<RPCProxy> Served::second;
std::string Served::said;
std::vector<int> Served::transports;

} // namespace

TEST_F(Served, EveryTransportIsOnLoopbackOnly)
{
    ASSERT_EQ(transports.size(), 4U);
    int datagrams = 0;
    for (const int fd : transports) {
        const sockaddr_in address = addressOf(fd);
        EXPECT_EQ(ntohl(address.sin_addr.s_addr), INADDR_LOOPBACK);
        EXPECT_NE(address.sin_port, 0);
        datagrams += typeOf(fd) == SOCK_DGRAM ? 1 : 0;
    }
    EXPECT_EQ(datagrams, 2);
}

TEST_F(Served, OneLoopServesAllProgramsOverBothProtocols)
{
    for (const rpcprog_t program : {firstProgram, secondProgram}) {
        for (const int type : {SOCK_DGRAM, SOCK_STREAM})
            EXPECT_EQ(call(clientOf(program, type, transports), 41), 42) << program << ' ' << type;
    }
}

/// A failed registration with the port mapper is told in these words, and nothing else is.
TEST_F(Served, WhatRegistrationSays)
{
    const std::regex line(R"(rte/BLL/core/rpcProxy:\d+ Cannot register (UDP|TCP) RPC service )"
                          R"(0x2000f00[12]/(536932353|536932354), version 1\.)");
    std::istringstream lines(said);
    for (std::string text; std::getline(lines, text);) {
        EXPECT_TRUE(text.starts_with("[") || std::regex_match(text, line)) << text;
    }
}

/// A peer that sends half a record and falls silent holds up nobody.
TEST_F(Served, HalfARecordDoesNotStopTheOthers)
{
    std::vector<int> silent;
    for (const int fd : transports) {
        if (typeOf(fd) != SOCK_STREAM)
            continue;
        for (const std::string& start : {std::string("\x80"), std::string("\x80\0\0\x40half", 8)}) {
            silent.push_back(connectTo(addressOf(fd)));
            ASSERT_EQ(send(silent.back(), start.data(), start.size(), 0), static_cast<ssize_t>(start.size()));
        }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // the loop has seen them
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(call(clientOf(firstProgram, SOCK_STREAM, transports), 1), 2);
    EXPECT_EQ(call(clientOf(secondProgram, SOCK_DGRAM, transports), 2), 3);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2));
    for (const int fd : silent)
        close(fd);
}

/// A record that claims to be enormous ends its connection only.
TEST_F(Served, AnEnormousRecordEndsItsConnection)
{
    for (const int fd : transports) {
        if (typeOf(fd) != SOCK_STREAM)
            continue;
        const int peer = connectTo(addressOf(fd));
        const timeval patience{3, 0};
        ASSERT_EQ(setsockopt(peer, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience), 0);
        const char claim[] = "\xff\xff\xff\xff....";
        ASSERT_EQ(send(peer, claim, 8, 0), 8);
        char byte = 0;
        errno = 0;
        EXPECT_LE(recv(peer, &byte, 1, 0), 0);
        EXPECT_FALSE(errno == EAGAIN) << "still connected";
        close(peer);
    }
    EXPECT_EQ(call(clientOf(firstProgram, SOCK_STREAM, transports), 1), 2);
}

TEST(RpcRegistration, WithoutDescriptorsBothSocketsFailByName)
{
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const std::string said = standardErrorOf([&] {
        rlimit none = before;
        none.rlim_cur = 3; // those in use stay usable
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
        rpcProxyRegisterSvc(0x2000F003, 2, dispatch);
        setrlimit(RLIMIT_NOFILE, &before);
    });
    const std::regex lines(
        R"(rte/BLL/core/rpcProxy:\d+ Cannot create UDP socket for RPC service 0x2000f003/536932355, )"
        R"(version 2 \(24 - Too many open files\)\.\n)"
        R"(rte/BLL/core/rpcProxy:\d+ Cannot create TCP socket for RPC service 0x2000f003/536932355, )"
        R"(version 2 \(24 - Too many open files\)\.\n)");
    EXPECT_TRUE(std::regex_match(said, lines)) << said;
}
