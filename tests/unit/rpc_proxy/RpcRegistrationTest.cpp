#include "rte/BLL/core/RpcRegistration.h"
#include "RpcLoop.h"

#include <regex>

using namespace test;

/// The library loses a few bytes a call when no port mapper answers.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:__rpc_uaddr2taddr_af"; }

TEST_F(Served, EveryTransportIsOnLoopbackOnly)
{
    ASSERT_EQ(transports.size(), 4U);
    for (const int fd : transports) {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        ASSERT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size), 0);
        EXPECT_EQ(ntohl(address.sin_addr.s_addr), INADDR_LOOPBACK);
        EXPECT_NE(address.sin_port, 0);
    }
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
