#include "RelayFixture.h"

#include "log/LogText.h"

#include <cerrno>
#include <stdexcept>

// The chain of checks before the four paths, and the loop around it.

namespace {

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;
using test::discover;
using test::offer;
using test::request;

class FrameLoop : public RelayFixture
{
protected:
    void expectSentAsItCame(const test::DhcpFrame& frame)
    {
        io->written.clear();
        handle(frame);
        ASSERT_EQ(sent().size(), 1U);
        EXPECT_EQ(sent()[0], frame.build());
    }
};

} // namespace

TEST_F(FrameLoop, ADisabledRelayPassesEverythingAndCounts)
{
    engine.setDraEnabled(false);
    expectSentAsItCame(fromClient(discover()));
    expectSentAsItCame(fromClient(discover()).noEnd().wrongUdpChecksum());
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscover), 2U);
}

TEST_F(FrameLoop, ValidFramesOfUnknownInterfacesPass)
{
    expectSentAsItCame(discover().on(99).vlan(100));
    expectSentAsItCame(offer().on(99).vlan(100));
    const CapturedLog log;
    handle(discover().on(99, "ghost").noEnd());
    EXPECT_TRUE(log.has(LogImpl::warning, "dhcpraImpl::discard(): Interface (ghost) not found.\n"));
}

TEST_F(FrameLoop, DisabledInterfacesAndVlansPassValidFramesOnly)
{
    engine.getInterfaceById(line5)->setMode(interfaceMode::DISABLE);
    expectSentAsItCame(fromClient(discover()));
    handle(fromClient(discover()).noEnd());
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscardReaction), 1U);
    engine.getInterfaceById(line5)->setMode(interfaceMode::CLIENTS);
    engine.getVlanById(100, true)->setEnabled(threeStateBool::no);
    expectSentAsItCame(fromClient(discover()));
}

TEST_F(FrameLoop, TheWrongSideIsDiscardedByReaction)
{
    engine.getInterfaceById(uplink1)->setMode(interfaceMode::SERVERS);
    handle(offer().on(line5).vlan(100));
    handle(discover().on(uplink1).vlan(100));
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscardReaction), 1U);
    EXPECT_EQ(counter(uplink1, dhcpraTypes::counterDiscardReaction), 1U);
}

TEST_F(FrameLoop, OtherPortsAndOpcodesAreDiscardedByReaction)
{
    const CapturedLog log;
    handle(fromClient(discover()).ports(68, 546));
    EXPECT_EQ(log.text(), "");
    handle(fromClient(discover()).opcode(3));
    logText(LogImpl::critical, "\n"); // the text on the opcode has no line end of its own
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscardReaction), 2U);
    EXPECT_TRUE(sent().empty());
}

TEST_F(FrameLoop, AClientsUnicastPassesUntilTheExtensionIsOn)
{
    const auto renewal = fromClient(request()).unicast(serverMac, test::ip(10, 1, 0, 50), serverIp);
    expectSentAsItCame(renewal);
    // A multicast MAC alone does not make a broadcast.
    expectSentAsItCame(fromClient(request()).destinationIp(serverIp));
    engine.getInterfaceById(line5)->setUnicastExtension(threeStateBool::yes);
    io->written.clear();
    handle(renewal);
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_NE(sent()[0], renewal.build());
}

// What becomes of a request with the marks of another relay: neither, giaddr, option 82, both.
TEST_F(FrameLoop, EveryMixOfMarksHasItsOutcome)
{
    const struct
    {
        bool full, trusted, unicast;
        /// Discarded for (o)ption 82, (g)iaddr or (b)oth; else (F)looded, (P)assed on or sent to (S)ervers,
        /// and with it the own (i)d, the own (r)elay address and the lower option 82 (k)ept.
        const char* outcomes;
    } rows[] = {
        {false, false, false, "Fi g o b "},  {false, false, true, "Pi Pi o Pi "},
        {false, true, false, "Fi g Fk b "},  {false, true, true, "Pi Pi Fk Pi "},
        {true, false, false, "Sir g o b "},  {true, false, true, "Sir g o b "},
        {true, true, false, "Sir g Srk b "}, {true, true, true, "Si Si Sir Si "},
    };
    const auto outcome = [this](const test::DhcpFrame& frame) -> std::string {
        io->written.clear();
        udp->sent.clear();
        engine.getInterfaceById(line5)->resetCounters();
        handle(frame);
        if (sent().empty() && toServers().empty())
            return std::string(counter(line5, dhcpraTypes::counterDiscardOpt82), 'o') +
                   std::string(counter(line5, dhcpraTypes::counterDiscardGiaddr), 'g') +
                   std::string(counter(line5, dhcpraTypes::counterDiscardOpt82Giaddr), 'b');
        const test::Bytes& out = sent().empty() ? toServers()[0].payload : sent()[0];
        const std::string text(out.begin(), out.end());
        const bool ownGiaddr = !toServers().empty() && text.substr(24, 4) == std::string("\x0A\0\0\x01", 4);
        return std::string(!toServers().empty() ? "S"
                           : sent().size() == 2 ? "F"
                                                : "P") +
               (text.find(line5Vlan100) == std::string::npos ? "" : "i") + (ownGiaddr ? "r" : "") +
               (text.find("lower relay") == std::string::npos ? "" : "k");
    };
    engine.setUnicastExtension(true);
    for (const auto& row : rows) {
        engine.setFullMode(row.full);
        engine.setCircuitTrusted(row.trusted);
        std::string outcomes;
        for (const int marks : {0, 1, 2, 3}) {
            auto frame = fromClient(request());
            if (row.unicast)
                frame.unicast(boardMac, test::ip(10, 1, 0, 50), boardIp);
            if ((marks & 1) != 0)
                frame.giaddr(test::ip(10, 9, 9, 9));
            outcomes += outcome((marks & 2) != 0 ? frame.option82("lower relay") : frame) + " ";
        }
        EXPECT_EQ(outcomes, row.outcomes) << row.full << row.trusted << row.unicast;
    }
}

TEST_F(FrameLoop, WrongChecksumsAreDiscardedAndNoneIsFine)
{
    handle(fromClient(discover()).wrongUdpChecksum());
    handle(fromClient(discover()).wrongIpChecksum());
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscardInvalid), 2U);
    handle(fromClient(discover()).noUdpChecksum());
    EXPECT_EQ(sent().size(), 2U);
}

TEST_F(FrameLoop, FullModeIsChosenByTheVlan)
{
    engine.getVlanById(100, true)->setFullMode(threeStateBool::yes);
    handle(fromClient(discover()));
    EXPECT_EQ(toServers().size(), 1U);
    handle(discover().on(line5).vlan(200).from(clientMac));
    EXPECT_EQ(toServers().size(), 1U);
    EXPECT_EQ(sent().size(), 2U);
}

TEST_F(FrameLoop, EachMessageTypeHasItsCounter)
{
    for (std::uint8_t type = 1; type <= 9; ++type)
        handle(fromClient(test::DhcpFrame(type, false)));
    const std::vector<std::uint64_t>& counters = engine.getInterfaceById(line5)->getAllCounters();
    for (std::size_t id = 0; id < 8; ++id)
        EXPECT_EQ(counters[id], 1U) << id;
    EXPECT_EQ(counters.size(), 19U);
    // Type 3 is a request, type 2 an offer: the counters stand in another order than the types.
    handle(fromClient(request()));
    EXPECT_EQ(counter(line5, dhcpraTypes::counterRequest), 2U);
    EXPECT_EQ(counter(line5, dhcpraTypes::counterOffer), 1U);

    engine.setDraEnabled(false);
    EXPECT_EQ(counter(line5, dhcpraTypes::counterRequest), 0U);
    EXPECT_TRUE(engine.getInterfaceById(line5)->getCountersPerVlan().empty());
}

TEST_F(FrameLoop, TheHookSeesEveryFrameThatWent)
{
    std::vector<std::uint32_t> types;
    engine.setFrameSentHook([&types](const dhcpraMessage& frame, dhcpraTypes::counterId*) {
        types.push_back(frame.getMessageType());
        return 1; // too late: the frame has gone
    });
    handle(fromClient(discover())); // two uplinks
    engine.setFullMode(true);
    handle(fromClient(request()));
    handle(fromClient(discover()).option82("spoofed"));
    io->writeErrors.assign(5, EAGAIN);
    engine.setDraEnabled(false);
    handle(fromClient(discover())); // lost
    EXPECT_EQ(types, (std::vector<std::uint32_t>{1, 1, 3}));
}

TEST_F(FrameLoop, AnExceptionCostsOneFrame)
{
    engine.setFrameSentHook([](const dhcpraMessage&, dhcpraTypes::counterId*) -> int {
        throw std::runtime_error("disk on fire");
    });
    const CapturedLog log;
    handle(fromClient(discover()));
    EXPECT_TRUE(log.has(LogImpl::critical, "dhcpraImpl::processFrame: frame lost: disk on fire\n"));
    engine.setFrameSentHook({});
    io->written.clear();
    handle(fromClient(discover()));
    EXPECT_EQ(sent().size(), 2U);
}

TEST_F(FrameLoop, AnExceptionOfTheSocketCostsOneTurn)
{
    const CapturedLog log;
    io->reads = {{{}, 0, true}, {fromClient(discover()).build()}};
    engine.processFrame();
    EXPECT_TRUE(log.has(LogImpl::critical, "dhcpraImpl::processFrame: frame lost: std::bad_alloc\n"));
    EXPECT_EQ(sent().size(), 2U);
}

TEST_F(FrameLoop, ShortReadsAreDroppedAndTheNextIsTried)
{
    io->reads = {{fromClient(discover()).fullSize(5000).build()},
                 {test::Bytes(40, 0xEE)},
                 {fromClient(request()).build()}};
    engine.processFrame();
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscover), 0U);
    EXPECT_EQ(counter(line5, dhcpraTypes::counterRequest), 1U);
    EXPECT_EQ(io->closed, 0);
}

TEST_F(FrameLoop, ABrokenSocketIsReopenedAtOnce)
{
    for (const test::FakeFrameIo::Read& broken : {test::FakeFrameIo::Read{{}, ENETDOWN}, {}}) {
        const CapturedLog log;
        io->opened = io->closed = 0;
        io->reads = {broken, {fromClient(discover()).build()}};
        engine.processFrame();
        EXPECT_EQ(io->closed, 1);
        EXPECT_EQ(io->opened, 1);
        EXPECT_TRUE(io->rests.empty());
        EXPECT_TRUE(log.has(LogImpl::critical,
                            "DHCPRA: dhcpraImpl::dhcpra_socket_read - error in recv() errno=100.\n") ==
                    (broken.error != 0));
        EXPECT_TRUE(
            log.has(LogImpl::warning, "DHCPRA: dhcpraImpl::dhcpra_socket_read - socket has closed.\n") ==
            (broken.error == 0));
    }
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscover), 2U);
}

// A device that is down can be opened, and the first read fails; one that is missing cannot be opened. Both
// are asked for less and less often, until a frame has come.
TEST_F(FrameLoop, ADeviceThatFailsAgainAndAgainIsGivenGrowingRests)
{
    using test::FakeFrameIo;
    const auto frame = fromClient(discover()).build();
    const FakeFrameIo::Read down{{}, ENETDOWN};
    io->reads = {down, down, down, {frame}, down, down, down, down, down, down, down, {frame}};
    io->openAnswers = {6, 6, 6, 6, -1, 6, 6, 6, 6, -1};
    engine.processFrame();
    std::vector<long> rests;
    for (const std::chrono::microseconds rest : io->rests)
        rests.push_back(rest / std::chrono::milliseconds(1));
    EXPECT_EQ(rests, (std::vector<long>{10, 20, 10, 20, 40, 80, 160, 320, 640, 1000}));
    EXPECT_EQ(counter(line5, dhcpraTypes::counterDiscover), 2U);
}
