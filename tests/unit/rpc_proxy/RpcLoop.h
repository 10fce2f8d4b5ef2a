#pragma once

#include "rte/BLL/core/RPCProxy.h"
#include "support/CapturedOutput.h"
#include "support/RpcPeer.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

// Programs for these tests only. They do not need a port mapper: without one the registration says so, and
// the transports serve all the same, each all programs.

namespace test {

inline constexpr std::uint32_t firstProgram = 0x2000F001;
inline constexpr std::uint32_t secondProgram = 0x2000F002;
inline constexpr std::uint32_t measure = 8; // string to its length

inline bool_t passText(XDR* xdrs, char** text) { return xdr_string(xdrs, text, ~0U); }

inline void dispatch(svc_req*, SVCXPRT* transport)
{
    char* text = nullptr;
    const auto filter = reinterpret_cast<xdrproc_t>(passText);
    if (svc_getargs(transport, filter, &text) == 0) {
        svcerr_decode(transport);
        return;
    }
    auto length = static_cast<int>(std::strlen(text));
    svc_freeargs(transport, filter, &text);
    svc_sendreply(transport, reinterpret_cast<xdrproc_t>(xdr_int), &length);
}

template <std::uint32_t program>
void* registerProgram(void*)
{
    rpcProxyRegisterSvc(program, 1, dispatch);
    return nullptr;
}

inline Bytes measureCall(std::size_t length, std::uint32_t program = firstProgram)
{
    return callMessage(6, program, measure, Xdr().text(std::string(length, 't')));
}
inline Bytes measureReply(std::size_t length)
{
    return replyMessage(6, 0, {static_cast<std::int64_t>(length)});
}

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

/// The receive loop with both programs, for all tests with it: the library's tables are process-wide.
class Served : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        std::signal(SIGPIPE, SIG_IGN);
        // More descriptors than select() can hold; the library looks at the limit once, at its first use.
        rlimit limit{};
        ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
        limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
        standardErrorOf([] { // programs that register again keep their transports
            loop = std::make_unique<RPCProxy>(registerProgram<firstProgram>, "dhcpra_fun");
            ASSERT_TRUE(loop->start());
            waitForTransports(2);
            RPCProxy second(registerProgram<secondProgram>, "Ipsg_fun"); // ends; the loop serves its program
            ASSERT_TRUE(second.start());
            waitForTransports(4);
        });
        transports = descriptors();
        stream = *transportAddress(SOCK_STREAM);
        datagram = *transportAddress(SOCK_DGRAM);
    }
    static void TearDownTestSuite() { loop.reset(); }
    static void waitForTransports(std::size_t count)
    {
        for (int i = 0; i < 1000 && descriptors().size() < count; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        // The second transport is registered after it has been made.
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }

    static bool answers(const PeerSocket& peer, std::uint32_t program = firstProgram)
    {
        return exchange(peer, true, measureCall(7, program)) == measureReply(7);
    }
    static bool answersOverUdp()
    {
        return exchange(PeerSocket(SOCK_DGRAM, datagram), false, measureCall(9)) == measureReply(9);
    }

    static inline std::unique_ptr<RPCProxy> loop;
    static inline std::vector<int> transports;
    static inline sockaddr_in stream{};
    static inline sockaddr_in datagram{};
};

} // namespace test
