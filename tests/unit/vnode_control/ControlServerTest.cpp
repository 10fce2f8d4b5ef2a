#include "ForkedNode.h"

#include "support/NodeBuilder.h"
#include "vnode/control/ControlClient.h"
#include "vnode/control/Xdr.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using test::ForkedNode;
using vnode::control::ControlClient;
using vnode::control::Decoded;
using Bytes = std::vector<std::uint8_t>;

vnode::NodeDescription smallNode()
{
    return test::NodeBuilder().vlan(100).eth(1, "0/0").trunk("up0", 1, {100}).describe();
}

vnode::NodeDescription largeNode()
{
    test::NodeBuilder node;
    for (std::uint32_t id = 1; id < 2000; ++id)
        node.eth(id, "0/" + std::to_string(id)).description(std::string(100, 'd'));
    return node.describe();
}

/// A call of a procedure without arguments (RFC 5531), as one record fragment.
Bytes callOf(std::uint8_t procedure)
{
    // One fragment of 40 bytes; transaction 9, a call, RPC version 2, program, version 1; no credentials
    Bytes call{0x80, 0, 0,    40, 0, 0, 0, 9, 0, 0, 0, 0, 0, 0,
               0,    2, 0x20, 0,  3, 0, 0, 0, 0, 1, 0, 0, 0, procedure};
    call.resize(44);
    return call;
}

class ControlServerTest : public testing::Test
{
protected:
    void SetUp() override { ::signal(SIGPIPE, SIG_IGN); }

    static bool isServed(const ForkedNode& node)
    {
        ControlClient client(node.socket());
        u_quad_t stamp = 0;
        return client.call([&](CLIENT* rpc) { return vnode_stamp_1(&stamp, rpc); }) == 0 && stamp != 0;
    }

    static void send(int fd, const Bytes& bytes)
    {
        static_cast<void>(!::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL));
    }

    /// Whether the answer to procedure 1 arrives.
    static bool isAnswered(int fd)
    {
        std::array<char, 36> answer{};
        return ::recv(fd, answer.data(), answer.size(), MSG_WAITALL) == ssize_t{answer.size()};
    }
};

TEST_F(ControlServerTest, GarbageCostsItsOwnConnectionOnly)
{
    const ForkedNode process(smallNode());
    const Bytes call = callOf(2);
    Bytes wrongVersion = call;
    wrongVersion[15] = 3;
    Bytes unknownProgram = call;
    unknownProgram[18] = 4;
    std::vector<int> open;
    for (const Bytes& input : {
             Bytes(100, 0xFF),                           // a fragment of two gigabytes
             Bytes(100, 0x00),                           // empty fragments without end
             Bytes{0x80, 0, 0, 4, 1, 2, 3, 4},           // a record that is no call
             Bytes{'G', 'E', 'T', ' ', '/', '\r', '\n'}, // somebody took it for something else
             wrongVersion,
             unknownProgram,
             callOf(200), // no such procedure
             callOf(3),   // its argument is missing
             Bytes(call.begin(), call.begin() + 2),
             Bytes(call.begin(), call.begin() + 20),
         })
        for (const bool stays : {false, true}) {
            const int fd = process.connect();
            ASSERT_GE(fd, 0);
            send(fd, input);
            if (stays)
                open.push_back(fd);
            else
                ::close(fd);
            EXPECT_TRUE(isServed(process));
        }
    for (const int fd : open)
        ::close(fd);
}

TEST_F(ControlServerTest, AClientThatDoesNotReadHoldsNobodyUp)
{
    const ForkedNode process(largeNode());
    Bytes page = callOf(3);
    page[3] = 44;
    page.insert(page.end(), {0, 0, 0, 0}); // interfaces from the first on: some 32 kB each time
    const int fd = process.connect();
    ASSERT_GE(fd, 0);
    Bytes many;
    for (int i = 0; i < 200; ++i)
        many.insert(many.end(), page.begin(), page.end());
    send(fd, many);

    // The library itself would wait a second or two for room, everybody else with it.
    pollfd closed{fd, POLLRDHUP, 0};
    EXPECT_EQ(::poll(&closed, 1, 900), 1);
    EXPECT_TRUE(isServed(process));
    ::close(fd);
}

TEST_F(ControlServerTest, ManyClientsAreServedAndTooManyRefused)
{
    const ForkedNode process(smallNode());
    std::vector<int> clients;
    for (int i = 0; i < 100; ++i) {
        clients.push_back(process.connect());
        ASSERT_GE(clients.back(), 0);
    }
    for (const std::uint8_t byte : callOf(1)) { // a request may come in pieces
        send(clients.front(), {byte});
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_TRUE(isAnswered(clients.front()));
    pollfd closed{clients.back(), POLLRDHUP, 0};
    EXPECT_EQ(::poll(&closed, 1, 1000), 1) << "refused";
    for (const int fd : clients)
        ::close(fd);
    EXPECT_TRUE(isServed(process));
}

TEST_F(ControlServerTest, ListsComeWholeOverTheirPages)
{
    const ForkedNode process(smallNode());
    ControlClient client(process.socket());
    std::vector<std::string> names;
    Decoded<vnodeDevicePage, xdr_vnodeDevicePage> page;
    int pages = 0;
    do {
        page.reset();
        const auto behind = static_cast<u_int>(names.size());
        ASSERT_EQ(client.call([&](CLIENT* rpc) { return vnode_devices_1(behind, page.get(), rpc); }), 0);
        for (u_int i = 0; i < page->rows.rows_len; ++i)
            names.emplace_back(page->rows.rows_val[i].name);
        ++pages;
    } while (page->more != 0);
    EXPECT_GT(pages, 1);
    ASSERT_EQ(names.size(), 500u);
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(names[i], "port" + std::to_string(i));
}

TEST_F(ControlServerTest, FaultsThatAreAskedForHappen)
{
    const ForkedNode process(smallNode());
    ControlClient client(process.socket());
    const auto fault = [&](const char* operation, int error) {
        std::string name(operation);
        std::string none;
        const vnodeFault wire{name.data(), error, 1, 1, none.data(), 0};
        int answer = -1;
        EXPECT_EQ(client.call([&](CLIENT* rpc) { return vnode_fault_add_1(wire, &answer, rpc); }), 0);
        return answer;
    };
    EXPECT_EQ(fault("openControl", EPERM), 0);
    for (const int expected : {0, EPERM, 0}) { // skipped, then once only
        int answer = -1;
        EXPECT_EQ(client.call([&](CLIENT* rpc) { return vnode_open_control_1(&answer, rpc); }), 0);
        EXPECT_EQ(answer, expected);
    }
    EXPECT_EQ(fault("networkInfo", EPERM), EINVAL) << "served from the daemon's copy, so never asked here";
    EXPECT_EQ(fault("openControl", 0), EINVAL);
}

} // namespace
