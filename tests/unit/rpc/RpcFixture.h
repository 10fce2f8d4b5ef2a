#pragma once

#include "support/RpcPeer.h"

#include "relay/entity/dhcpra.h"
#include "rpc/programs.h"
#include "rte/BLL/core/RPCProxy.h"
#include "support/NodeBuilder.h"

#include <csignal>
#include <memory>

#include <gtest/gtest.h>

namespace test {

/// The relay's program on the real receive loop, once for all tests. No port mapper.
class ReceiveLoop : public testing::Environment
{
public:
    void SetUp() override
    {
        std::signal(SIGPIPE, SIG_IGN); // as the daemon does
        loop = std::make_unique<RPCProxy>(rpcDhcpraStart, "dhcpra_fun");
        ASSERT_TRUE(loop->start());
        const auto answers = [] {
            const auto address = transportAddress(SOCK_STREAM);
            return address && exchange(PeerSocket(SOCK_STREAM, *address), true,
                                       callMessage(5, 0x20000202, 0, {})) == replyMessage(5, 0);
        };
        for (int i = 0; i < 200 && !answers(); ++i)
            usleep(10'000);
        ASSERT_TRUE(answers());
    }
    void TearDown() override { loop.reset(); }

private:
    std::unique_ptr<RPCProxy> loop;
};
inline testing::Environment* const receiveLoop = testing::AddGlobalTestEnvironment(new ReceiveLoop);

/// A node with lines and an uplink, the relay with factory settings, and peers of its program.
class RpcFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        using Interfaces::interfaceType;
        node = NodeBuilder()
                   .slot(3)
                   .eth(1, "0/1")
                   .subscriber(7, "0/2/5")
                   .interface(9, interfaceType::pvc, "0/2/5/1", 7)
                   .interface(20, interfaceType::pon, "0/4")
                   .interface(21, interfaceType::onu, "0/4/1", 20)
                   .interface(22, interfaceType::gem, "0/4/1/1", 21)
                   .use();
        ASSERT_TRUE(relay().applyDefaultSettings());
    }
    void TearDown() override { relay().stop(); }

    static dhcpra& relay() { return singleton<dhcpra>::instance(); }
    static PeerSocket tcpPeer() { return {SOCK_STREAM, *transportAddress(SOCK_STREAM)}; }
    static PeerSocket udpPeer() { return {SOCK_DGRAM, *transportAddress(SOCK_DGRAM)}; }

    /// Somebody else is served meanwhile.
    static void expectServed()
    {
        const PeerSocket other = tcpPeer();
        EXPECT_EQ(exchange(other, true, callMessage(5, 0x20000202, 105, {})), replyMessage(5, 0, {4}));
    }

    std::unique_ptr<TestNode> node;
};

} // namespace test
