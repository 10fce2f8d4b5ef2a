#pragma once

#include "relay/v6/dhcpraV6Impl.h"
#include "support/CapturedLog.h"
#include "support/Dhcpv6Frame.h"
#include "support/FakeFrameIo.h"
#include "support/NodeBuilder.h"

#include <gtest/gtest.h>

/// A board with two subscriber lines and an uplink, and the frames of a client and its server.
class BoardV6 : public testing::Test
{
protected:
    static constexpr std::uint32_t uplink = 1;
    static constexpr std::uint32_t line5 = 7; // "0/2/5"
    static constexpr std::uint32_t named = 8; // "3/6": the name that its own interface id leads back to
    static constexpr test::Mac boardMac{2, 0, 0x5E, 0, 0, 0xFE};
    static constexpr test::Mac clientMac{2, 0, 0, 0, 0, 0x11};
    static constexpr test::Mac serverMac{2, 0, 0, 0, 0, 0x99};

    /// A client's message on line 5 in VLAN 100.
    [[nodiscard]] static test::Dhcpv6Frame fromClient(std::uint8_t type)
    {
        return test::fromClient6(type, clientMac).on(line5, "if7").vlan(100).source(test::linkLocal(0x11));
    }
    [[nodiscard]] static test::Bytes messageFromClient(std::uint8_t type)
    {
        return test::message6(type, {test::clientIdLlt(clientMac), test::option6(8, test::Bytes{0, 0})});
    }
    /// What a server says to that client. Of even length, as the checksum of real peers wants it.
    [[nodiscard]] static test::Bytes messageFromServer(std::uint8_t type)
    {
        return test::message6(type, {test::clientIdLlt(clientMac), test::option6(2, test::Bytes(14, 2))});
    }
    /// A relay-reply on the uplink with these options.
    [[nodiscard]] static test::Dhcpv6Frame fromServer(const std::vector<test::Bytes>& options)
    {
        return test::Dhcpv6Frame(test::relayMessage6(13, 0, {}, test::linkLocal(0x11), options))
            .on(uplink, "if1")
            .vlan(100)
            .sourceMac(serverMac)
            .to(clientMac)
            .source(test::linkLocal(0x99))
            .destination(test::linkLocal(0x11))
            .ports(547, 547);
    }
    [[nodiscard]] static test::Dhcpv6Frame neighbourSolicitation(std::uint16_t on)
    {
        test::Bytes icmp{135, 0, 0, 0, 0, 0, 0, 0};
        icmp.resize(24, 0xFE);
        return test::solicit().bare(58, icmp).on(on, "if7").vlan(100);
    }

    std::unique_ptr<test::TestNode> node = test::NodeBuilder()
                                               .slot(3)
                                               .mac(boardMac)
                                               .vlan(100)
                                               .vlan(200)
                                               .eth(uplink, "0/1")
                                               .subscriber(line5, "0/2/5")
                                               .subscriber(named, "3/6")
                                               .use();
};

/// Its DHCPv6 relay, enabled, with no socket and no thread.
class RelayFixtureV6 : public BoardV6
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(engine.applyDefaultSettings());
        engine.setDraEnabled(true);
        engine.setShelfId("sh1");
    }

    void handle(const test::Dhcpv6Frame& frame)
    {
        ASSERT_TRUE(engine.message().load(frame.build()));
        engine.handleFrame();
    }
    [[nodiscard]] std::uint64_t counter(std::uint32_t interfaceId, std::size_t id) const
    {
        return interface(interfaceId).getAllCountersV6()[id];
    }
    [[nodiscard]] std::uint64_t ndpCounter(std::uint32_t interfaceId, std::size_t id) const
    {
        return interface(interfaceId).getAllCountersV6Ndp()[id];
    }
    [[nodiscard]] const dhcpraInterface& interface(std::uint32_t id) const
    {
        return *static_cast<const dhcpraV6Impl&>(engine).getInterfaceById(id);
    }
    [[nodiscard]] const std::vector<test::Bytes>& sent() const { return io->written; }
    void expectSentAsItCame(const test::Dhcpv6Frame& frame)
    {
        io->written.clear();
        handle(frame);
        ASSERT_EQ(sent().size(), 1U);
        EXPECT_EQ(sent()[0], frame.build());
    }
    void expectDiscarded(const test::Dhcpv6Frame& frame, std::uint32_t interfaceId, std::size_t counterId)
    {
        io->written.clear();
        const std::uint64_t before = counter(interfaceId, counterId);
        handle(frame);
        EXPECT_TRUE(sent().empty());
        EXPECT_EQ(counter(interfaceId, counterId), before + 1);
    }

    test::FakeFrameIo* io = new test::FakeFrameIo;
    dhcpraV6Impl engine{std::unique_ptr<FrameIo>(io)};
};
