#include "rte/BLL/core/RpcRegistration.h"
#include "RpcLoop.h"

#include <arpa/inet.h>
#include <cerrno>
#include <regex>
#include <sstream>
#include <unistd.h>

using namespace test;

/// The library loses a few bytes a call when no port mapper answers.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:__rpc_uaddr2taddr_af"; }

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
