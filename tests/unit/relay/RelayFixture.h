#pragma once

#include "relay/v4/dhcpraImpl.h"

#include "common/Clock.h"
#include "support/CapturedLog.h"
#include "support/DhcpFrame.h"
#include "support/FakeFrameIo.h"
#include "support/NodeBuilder.h"
#include "support/ParsedDhcpFrame.h"

#include <gtest/gtest.h>

/// A board with two subscriber lines and two uplinks, its relay enabled, no socket and no thread.
class RelayFixture : public testing::Test
{
protected:
    static constexpr std::uint32_t uplink1 = 1;
    static constexpr std::uint32_t uplink2 = 2;
    static constexpr std::uint32_t line5 = 7; // "0/2/5"
    static constexpr std::uint32_t line6 = 8; // "0/2/6"
    static constexpr test::Mac boardMac{2, 0, 0x5E, 0, 0, 0xFE};
    static constexpr test::Mac clientMac{2, 0, 0, 0, 0, 0x11};
    static constexpr test::Mac serverMac{2, 0, 0, 0, 0, 0x99};
    static constexpr std::uint32_t boardIp = test::ip(10, 0, 0, 1);
    static constexpr std::uint32_t serverIp = test::ip(192, 0, 2, 10);
    static constexpr const char* line5Vlan100 = "KORVANEL:sh1 eth 3/0/2/5:100";

    void SetUp() override
    {
        ASSERT_TRUE(engine.applyDefaultSettings());
        engine.setDraEnabled(true);
        engine.setShelfId("sh1");
        engine.rpcSetLocalIp(boardIp);
        engine.rpcSetLocalMac(boardMac.data());
        engine.setDefaultServer(serverIp);
    }
    void TearDown() override { Clock::reset(); }

    void handle(const test::DhcpFrame& frame) { handle(frame.build()); }
    void handle(const test::Bytes& frame)
    {
        ASSERT_TRUE(engine.message().load(frame));
        engine.handleFrame();
    }

    [[nodiscard]] std::uint64_t counter(std::uint32_t interfaceId, dhcpraTypes::counterId id) const
    {
        return static_cast<const dhcpraImpl&>(engine).getInterfaceById(interfaceId)->getAllCounters()[id];
    }
    [[nodiscard]] const std::vector<test::Bytes>& sent() const { return io->written; }
    [[nodiscard]] const std::vector<test::FakeServerSender::Datagram>& toServers() const { return udp->sent; }

    /// A client's frame on line 5 in VLAN 100.
    [[nodiscard]] static test::DhcpFrame fromClient(test::DhcpFrame frame)
    {
        return frame.on(line5, "if7").vlan(100).from(clientMac);
    }
    /// A server's answer for that client on uplink 1, on the wire as a layer 2 agent sees it.
    [[nodiscard]] static test::DhcpFrame fromServer(test::DhcpFrame frame, std::uint16_t vlan = 100,
                                                    std::uint8_t priority = 0)
    {
        return frame.on(uplink1, "if1")
            .vlan(vlan, priority)
            .sourceMac(serverMac)
            .chaddr(clientMac)
            .sourceIp(serverIp)
            .to(clientMac)
            .destinationIp(test::ip(10, 1, 0, 50))
            .yiaddr(test::ip(10, 1, 0, 50));
    }
    /// The same addressed to the board as the relay.
    [[nodiscard]] static test::DhcpFrame toBoard(test::DhcpFrame frame, std::uint16_t vlan = 100,
                                                 std::uint8_t priority = 0)
    {
        return fromServer(frame, vlan, priority)
            .ports(67, 67)
            .to(boardMac)
            .destinationIp(boardIp)
            .giaddr(boardIp);
    }
    /// The DHCP message of a frame.
    [[nodiscard]] static test::Bytes payloadOf(const test::DhcpFrame& frame)
    {
        const test::Bytes bytes = frame.build();
        return {bytes.begin() + static_cast<std::ptrdiff_t>(frame.offsetOf(test::Part::dhcp)), bytes.end()};
    }
    /// Record and frame with the name of the egress port in the record.
    [[nodiscard]] static test::Bytes leavingOn(const test::DhcpFrame& frame, std::string_view name)
    {
        test::Bytes bytes = frame.build();
        std::copy(name.begin(), name.end(), bytes.begin() + 90);
        return bytes;
    }

    std::unique_ptr<test::TestNode> node = test::NodeBuilder()
                                               .slot(3)
                                               .mac(boardMac)
                                               .ipv4(boardIp)
                                               .vlan(100)
                                               .vlan(200)
                                               .eth(uplink1, "0/1")
                                               .eth(uplink2, "0/2")
                                               .subscriber(line5, "0/2/5")
                                               .subscriber(line6, "0/2/6")
                                               .use();
    test::FakeFrameIo* io = new test::FakeFrameIo;
    test::FakeServerSender* udp = new test::FakeServerSender;
    dhcpraImpl engine{std::unique_ptr<FrameIo>(io), std::unique_ptr<ServerSender>(udp)};
};
