#include "RelayFixtureV6.h"

#include <cerrno>
#include <stdexcept>
#include <string>

// The chain of checks before the two paths, the ICMPv6 path, and the loop around them.

namespace {

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;
using test::Bytes;
using test::message6;
using test::option6;

class FrameLoopV6 : public RelayFixtureV6
{};

} // namespace

TEST_F(FrameLoopV6, WhatIsNoDhcpv6PassesUncounted)
{
    expectSentAsItCame(fromClient(1).etherType(0x0800));
    expectSentAsItCame(fromClient(1).bare(0, Bytes(60, 0)));  // hop-by-hop options
    expectSentAsItCame(fromClient(1).bare(44, Bytes(60, 0))); // a fragment
    const CapturedLog log;
    expectSentAsItCame(fromClient(1).message({1, 2, 3}));
    EXPECT_TRUE(
        log.has(LogImpl::debug, "dhcpraV6Message::isFrameValid(): from if7, frame without options\n"));
    for (std::size_t id = 0; id < 17; ++id)
        EXPECT_EQ(counter(line5, id), 0U);
    expectSentAsItCame(fromClient(1).cutTo(100));
}

TEST_F(FrameLoopV6, EachTypeHasItsCounterWhateverBecomesOfTheFrame)
{
    for (int type = 0; type <= 14; ++type)
        handle(fromClient(static_cast<std::uint8_t>(type)));
    for (std::size_t id = 0; id <= 12; ++id)
        EXPECT_EQ(counter(line5, id), 1U) << id;
    EXPECT_EQ(counter(line5, 13), 5U); // 2, 9, 10, 13, and 12 on a line that is not trusted
    EXPECT_EQ(counter(line5, 14), 0U);
    EXPECT_EQ(interface(line5).getCountersPerVlanV6().at(100).size(), 17U);
    handle(fromClient(1).on(99));
    EXPECT_EQ(counter(line5, 0), 1U);

    engine.setDraEnabled(false);
    EXPECT_EQ(counter(line5, 0), 0U);
    EXPECT_TRUE(interface(line5).getCountersPerVlanV6().empty());
}

TEST_F(FrameLoopV6, VlanOneAndNoneAskTheInterfaceId)
{
    // No interface id in a client's message: back as it came, counted by type, and nobody is told.
    int told = 0;
    engine.setFrameSentHook([&told](const dhcpraV6Message&, dhcpraTypes::counterId*) { return ++told != 0; });
    expectSentAsItCame(test::solicit().on(line5).vlan(1));
    expectSentAsItCame(test::solicit().on(line5));
    EXPECT_EQ(counter(line5, 0), 2U);
    EXPECT_EQ(told, 0);
    // VLAN 0 is a VLAN.
    handle(test::solicit().on(line5).vlan(0));
    EXPECT_EQ(told, 1);
    EXPECT_EQ(sent().at(1).at(107 + 18 + 48), 12);

    // VLAN 4095 in a tag that the reply's interface id puts right, in record and frame, priority kept.
    io->written.clear();
    engine.getVlanById(200, true)->setEnabledV6(threeStateBool::yes);
    for (const std::uint16_t vid : {std::uint16_t{1}, std::uint16_t{0x0FFF}}) {
        auto frame = fromServer({option6(18, "sh1 eth 99/3/6:200"), option6(9, messageFromServer(2))});
        Bytes bytes = frame.build();
        const auto control = static_cast<std::uint16_t>(0xA000 | vid);
        bytes[4] = bytes[107 + 14] = static_cast<std::uint8_t>(control >> 8);
        bytes[5] = bytes[107 + 15] = static_cast<std::uint8_t>(control);
        ASSERT_TRUE(engine.message().load(bytes));
        engine.handleFrame();
        ASSERT_FALSE(sent().empty());
        EXPECT_EQ(Bytes(sent().back().begin() + 4, sent().back().begin() + 6), (Bytes{0xA0, 200}));
        EXPECT_EQ(Bytes(sent().back().begin() + 107 + 12, sent().back().begin() + 107 + 16),
                  (Bytes{0x81, 0x00, 0xA0, 200}));
    }
    // The VLAN's own setting decides: of the one that was found.
    engine.getVlanById(200, true)->setEnabledV6(threeStateBool::no);
    io->written.clear();
    handle(fromServer({option6(18, "x/y/z:200"), option6(9, messageFromServer(2))}).recordTags(1, 0x0FFF));
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(sent()[0].at(107 + 18 + 48), 13) << "not unwrapped";
}

TEST_F(FrameLoopV6, TheTagIsWrittenAlsoIntoAFrameWithoutOne)
{
    engine.setDraEnabled(false);
    handle(test::solicit().on(line5).recordTags(0x6064, 0x0FFF));
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(Bytes(sent()[0].begin() + 107 + 14, sent()[0].begin() + 107 + 16), (Bytes{0x60, 0x64}));
}

TEST_F(FrameLoopV6, WhatIsSwitchedOffPassesAndIsTold)
{
    std::vector<std::uint8_t> told;
    engine.setFrameSentHook([&told](const dhcpraV6Message& frame, dhcpraTypes::counterId*) {
        told.push_back(frame.getDhcpFieldOpcode());
        return true;
    });
    engine.setDraEnabled(false);
    expectSentAsItCame(fromClient(1));
    expectSentAsItCame(fromServer({option6(18, "x/y/z:100"), option6(9, messageFromServer(2))}));
    engine.setDraEnabled(true);
    engine.getInterfaceById(line5)->setModeV6(interfaceMode::DISABLE);
    expectSentAsItCame(fromClient(3));
    engine.getInterfaceById(line5)->setModeV6(interfaceMode::CLIENTS);
    // A record made for an interface id alone switches its VLAN off.
    engine.getVlanById(100, true)->setInterfaceIdV6(threeStateBool::yes);
    expectSentAsItCame(fromClient(5));
    EXPECT_EQ(told, (std::vector<std::uint8_t>{1, 13, 3, 5}));
}

TEST_F(FrameLoopV6, TheWrongSideIsDiscardedAndNotTold)
{
    bool told = false;
    engine.setFrameSentHook([&told](const dhcpraV6Message&, dhcpraTypes::counterId*) { return told = true; });
    engine.getInterfaceById(uplink)->setModeV6(interfaceMode::SERVERS);
    constexpr std::size_t byReaction = 13;
    expectDiscarded(fromClient(1).on(uplink), uplink, byReaction);
    expectDiscarded(fromClient(7).on(uplink), uplink, byReaction);
    expectDiscarded(fromClient(2), line5, byReaction);
    expectDiscarded(fromClient(9), line5, byReaction); // a Decline by its number
    expectDiscarded(fromClient(1).ports(546, 546), line5, byReaction);
    expectDiscarded(fromClient(12), line5, byReaction);
    EXPECT_FALSE(told);
    handle(fromClient(7)); // a Reply by its number
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(sent()[0].at(107 + 18 + 48), 12);

    const CapturedLog log;
    io->written.clear();
    handle(fromClient(1).on(99, "ghost"));
    EXPECT_TRUE(sent().empty());
    EXPECT_TRUE(log.has(LogImpl::warning, "dhcpraV6Impl::discard(): Interface (ghost) not found.\n"));
}

TEST_F(FrameLoopV6, TheHookSeesTheClientsFrameAndTheUnwrappedReply)
{
    std::vector<Bytes> told;
    engine.setFrameSentHook([&told](const dhcpraV6Message& frame, dhcpraTypes::counterId*) {
        told.emplace_back(frame.received().begin(), frame.received().end());
        return false; // too late
    });
    handle(fromClient(1));
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0], fromClient(1).build());
    handle(fromServer({option6(18, "sh1 eth 99/3/6:100"), option6(9, messageFromServer(2))}));
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[1].at(107 + 18 + 48), 2);
    EXPECT_EQ(told[1], sent().back());
    // Also of a frame that was too long and of one that nobody could be found for.
    Bytes large = message6(1);
    large.resize(1450);
    handle(fromClient(1).message(large));
    handle(fromServer({option6(18, "x"), option6(9, message6(2))}));
    EXPECT_EQ(told.size(), 4U);
    EXPECT_EQ(told[2], fromClient(1).message(large).build());
}

TEST_F(FrameLoopV6, IcmpPassesUnlessTheCheckSaysNo)
{
    expectSentAsItCame(neighbourSolicitation(line5));
    EXPECT_EQ(ndpCounter(line5, 0), 1U);

    Bytes seen;
    engine.setNdpCheckHook([&seen](const icmpV6Message& frame) {
        seen.assign(frame.received().begin(), frame.received().end());
        return NdpVerdict{false, 3, 17};
    });
    io->written.clear();
    handle(neighbourSolicitation(line5));
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(seen, neighbourSolicitation(line5).build());
    EXPECT_EQ(ndpCounter(line5, 0), 2U);
    EXPECT_EQ(ndpCounter(line5, 1), 1U);
    EXPECT_EQ(interface(line5).getCountersPerVlanV6Ndp().at(100), (counters_t{2, 1}));

    const CapturedLog log;
    handle(neighbourSolicitation(99));
    EXPECT_TRUE(log.has(LogImpl::warning, "dhcpraV6Impl::discardNdp(): Interface (if7) not found.\n"));
    engine.setNdpCheckHook([](const icmpV6Message&) { return NdpVerdict{}; });
    expectSentAsItCame(neighbourSolicitation(line5));
}

TEST_F(FrameLoopV6, AnExceptionOrAFullQueueCostsOneFrame)
{
    engine.setFrameSentHook([](const dhcpraV6Message&, dhcpraTypes::counterId*) -> int {
        throw std::runtime_error("disk on fire");
    });
    engine.setNdpCheckHook([](const icmpV6Message&) -> NdpVerdict { throw std::runtime_error("no memory"); });
    const CapturedLog log;
    handle(fromClient(1));
    handle(neighbourSolicitation(line5));
    EXPECT_TRUE(log.has(LogImpl::critical, "dhcpraV6Impl::processFrame: frame lost: disk on fire\n"));
    EXPECT_TRUE(log.has(LogImpl::critical, "dhcpraV6Impl::processFrame: frame lost: no memory\n"));
    engine.setFrameSentHook({});
    handle(fromClient(1));
    EXPECT_EQ(sent().size(), 2U);
    io->writeErrors.assign(5, ENOBUFS);
    handle(fromClient(1));
    EXPECT_EQ(sent().size(), 2U);
    EXPECT_NE(log.text().find("dhcpraV6Impl::sendFrame - socket send error, errno:105"), std::string::npos);
}

TEST_F(FrameLoopV6, EveryFrameWaitsForTheRateLimit)
{
    const CapturedLog log;
    io->reads = {{fromClient(1).build()},
                 {fromClient(1).fullSize(5000).build()}, // incomplete: no frame, no wait
                 {neighbourSolicitation(line5).build()},
                 {{}, ENETDOWN},
                 {fromClient(3).build()}};
    engine.processFrame();
    EXPECT_EQ(io->rests, std::vector<std::chrono::microseconds>(3, std::chrono::microseconds(3125)));
    EXPECT_EQ(sent().size(), 3U);
    EXPECT_EQ(io->opened, 1);
    EXPECT_TRUE(log.has(LogImpl::critical,
                        "DHCPRA: dhcpraV6Impl::dhcpra_socket_read - error in recv() errno=100.\n"));
}
