#include "RpcFixture.h"

#include "rpc/Wire.h"

#include <array>
#include <chrono>
#include <filesystem>
#include <iterator>

using namespace test;

namespace {

constexpr std::uint32_t unavailable = 3; // accept_stat, RFC 5531
constexpr std::uint32_t garbage = 4;
constexpr std::uint32_t systemError = 5;

using Refusals = RpcFixture;

TEST_F(Refusals, NullProcedureAnswersAtOnce)
{
    EXPECT_EQ(exchange(tcpPeer(), true, callMessage(7, 0x20000202, 0, {})), replyMessage(7, 0));
    EXPECT_EQ(exchange(udpPeer(), false, callMessage(7, 0x20000202, 0, {})), replyMessage(7, 0));
}

TEST_F(Refusals, NumbersInGapsAndPastTheEndAreUnavailable)
{
    const PeerSocket peer = tcpPeer();
    for (const std::uint32_t number :
         {14U,  48U,  49U,  79U,  84U,  92U,  99U,  112U, 119U, 121U, 131U, 149U, 152U,       199U,
          208U, 219U, 225U, 226U, 233U, 239U, 250U, 259U, 277U, 281U, 289U, 293U, 0xFFFFFFFFU})
        EXPECT_EQ(exchange(peer, true, callMessage(9, 0x20000202, number, {1})), replyMessage(9, unavailable))
            << number;
}

struct BadArguments
{
    const char* what;
    std::uint32_t procedure;
    Xdr arguments;
};

TEST_F(Refusals, ArgumentsThatDoNotDecodeReachNobody)
{
    const BadArguments cases[] = {
        {"no argument", 15, {}},
        {"half a number", 15,
         [] {
             Xdr x;
             x.bytes = {0, 0};
             return x;
         }()},
        {"second of two missing", 50, {7}},
        {"string shorter than it says", 23, {100, 0x61616161}},
        {"string of four gigabytes", 23, {0xFFFFFFFF, 0x61616161}},
        {"string of two gigabytes", 26, {0x7FFFFFFF}},
        {"second string missing, the first is freed", 69, Xdr().text("allocated")},
        {"MAC of 17 bytes", 102, Xdr().text(std::string(17, 'm'))},
        {"MAC of four gigabytes", 102, {0xFFFFFFF0}},
        {"interface record cut in its name", 104, Xdr{30}.chars("abc", 8)},
    };
    const PeerSocket tcp = tcpPeer();
    const PeerSocket udp = udpPeer();
    for (const BadArguments& each : cases) {
        const Bytes message = callMessage(11, 0x20000202, each.procedure, each.arguments);
        EXPECT_EQ(exchange(tcp, true, message), replyMessage(11, garbage)) << each.what;
        EXPECT_EQ(exchange(udp, false, message), replyMessage(11, garbage)) << each.what;
    }
    bool enabled = true;
    EXPECT_EQ(relay().isDraEnabled(enabled), 0U);
    EXPECT_FALSE(enabled);
}

TEST_F(Refusals, BytesBehindTheArgumentsAreIgnored)
{
    EXPECT_EQ(exchange(tcpPeer(), true, callMessage(12, 0x20000202, 24, Xdr{7, 8, 9})),
              replyMessage(12, 0, {0}));
}

TEST_F(Refusals, ListTooLongForUdpIsASystemErrorThereAndWholeOverTcp)
{
    for (std::uint16_t vlan = 1; vlan <= 400; ++vlan)
        ASSERT_EQ(relay().vlanSetEnabled(vlan, dhcpraTypes::threeStateBool::yes), 0U);
    const Bytes call = callMessage(13, 0x20000202, 85, {});
    EXPECT_EQ(exchange(udpPeer(), false, call), replyMessage(13, systemError));

    Xdr list{0, 400};
    for (int vlan = 1; vlan <= 400; ++vlan)
        list.add({vlan, 2, 0, 0, 0, 0, 0});
    EXPECT_EQ(exchange(tcpPeer(), true, call), replyMessage(13, 0, list));
}

TEST_F(Refusals, GarbageOnAStreamHurtsNobodyElse)
{
    const std::array<Bytes, 4> streams{Bytes{0xFF, 0xFF, 0xFF, 0xFF, 1, 2, 3, 4}, Bytes{0x80, 0, 0, 0},
                                       Bytes{0, 0, 0, 0, 0, 0, 0, 0},
                                       recordOf(Bytes{0xDE, 0xAD, 0xBE, 0xEF, 0xFF, 0xFF, 0xFF, 0xFF})};
    for (const Bytes& stream : streams) {
        const PeerSocket peer = tcpPeer();
        peer.send(stream);
        expectServed();
    }
}

TEST_F(Refusals, HalfARecordAndSilenceHoldsNobodyUp)
{
    const Bytes record = recordOf(callMessage(14, 0x20000202, 105, {}));
    const PeerSocket silent = tcpPeer();
    silent.send(std::span(record).first(record.size() / 2));
    expectServed();
    const PeerSocket onlyAMark = tcpPeer();
    onlyAMark.send(std::span(record).first(3));
    expectServed();
    silent.send(std::span(record).subspan(record.size() / 2));
    EXPECT_EQ(receiveRecord(silent), replyMessage(14, 0, {4}));
}

TEST_F(Refusals, ManyConnectionsLeftOpenHurtNobodyElse)
{
    std::vector<PeerSocket> left;
    for (int i = 0; i < 200; ++i)
        left.push_back(tcpPeer());
    expectServed();
}

/// Five lists of four megabytes fit in no socket's buffers. The library gives the peer two seconds.
TEST_F(Refusals, ALongReplyThatIsNotReadHoldsTheOthersUpForALittleOnlyAndOnce)
{
    for (std::uint16_t vlan = 1; vlan <= 4000; ++vlan)
        ASSERT_EQ(relay().vlanAdd(7, vlan), 0U);
    const PeerSocket deaf = tcpPeer();
    const Bytes call = recordOf(callMessage(15, 0x20000202, 44, {7}));
    for (int i = 0; i < 5; ++i)
        deaf.send(call);
    const auto before = std::chrono::steady_clock::now();
    for (int i = 0; i < 3; ++i)
        expectServed();
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(4));
}

/// The entity's own loop takes the place of the fixture's for a while.
TEST_F(Refusals, StoppingAndStartingTheEntityLeavesNoDescriptorOpen)
{
    const auto openDescriptors = [] {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    };
    receiveLoop->TearDown();
    relay().setProgram(rpcDhcpraStart);
    std::ptrdiff_t afterFirst = 0;
    for (int round = 0; round < 4; ++round) {
        ASSERT_TRUE(relay().start());
        ASSERT_TRUE(relay().applyDefaultSettings());
        expectServed();
        ASSERT_TRUE(relay().stop());
        if (round == 0)
            afterFirst = openDescriptors();
    }
    for (int i = 0; i < 400 && openDescriptors() > afterFirst; ++i)
        usleep(5000); // the port mapper is told on a thread of its own, the peer of the last round is still
                      // there
    EXPECT_LE(openDescriptors(), afterFirst);
    receiveLoop->SetUp();
}

/// The dispatcher with rows that misbehave.
class OwnRows : public RpcFixture
{
protected:
    static constexpr std::uint32_t program = 0x2000F0F0;

    static constexpr auto throwing = [](int&, int) -> void { throw std::runtime_error("on purpose"); };
    static constexpr auto throwingAnything = [](int&, int) -> void { throw 42; };
    static constexpr auto doubling = [](int& result, int value) { result = 2 * value; };
    static void* answerNothing(void*) { return nullptr; }

    static constexpr std::array rows{
        procedure<xdr_int, xdr_int, 1, doubling>(1, "doubling"),
        procedure<xdr_int, xdr_int, 1, throwing>(2, "throwing"),
        procedure<xdr_int, xdr_int, 1, throwingAnything>(3, "throwing anything"),
        ProcedureRow{4, "no reply", sizeof(int), untyped<xdr_int>, untyped<xdr_int>, answerNothing},
    };

    void SetUp() override
    {
        RpcFixture::SetUp();
        // Every program is served on every transport.
        static const bool registered = [] {
            rpcProxyRegisterSvc(program, 1, [](svc_req* r, SVCXPRT* t) { dispatch(rows, r, t); });
            return true;
        }();
        ASSERT_TRUE(registered);
    }
};

TEST_F(OwnRows, ExceptionsAreSystemErrorsAndTheLoopGoesOn)
{
    const PeerSocket socket = udpPeer();
    EXPECT_EQ(exchange(socket, false, callMessage(1, program, 1, {21})), replyMessage(1, 0, {42}));
    EXPECT_EQ(exchange(socket, false, callMessage(2, program, 2, {21})), replyMessage(2, systemError));
    EXPECT_EQ(exchange(socket, false, callMessage(3, program, 3, {21})), replyMessage(3, systemError));
    EXPECT_EQ(exchange(socket, false, callMessage(4, program, 1, {4})), replyMessage(4, 0, {8}));
}

TEST_F(OwnRows, NullResultSendsNoReply)
{
    const PeerSocket socket = udpPeer();
    socket.send(callMessage(1, program, 4, {21}));
    // The next call's reply is the first to come.
    EXPECT_EQ(exchange(socket, false, callMessage(2, program, 1, {4})), replyMessage(2, 0, {8}));
}

TEST(Wire, CountersTravelAsTheirLowBits)
{
    rpcDra6NdpCountersResult result{};
    wire::putCounters(result.counters, {0x1'0000'0005, 0xFFFF'FFFF'FFFF'FFFF});
    Bytes bytes(12);
    XDR xdrs;
    xdrmem_create(&xdrs, reinterpret_cast<char*>(bytes.data()), 12, XDR_ENCODE);
    ASSERT_TRUE(xdr_rpcDra6NdpCountersResult(&xdrs, &result));
    EXPECT_EQ(bytes, (Xdr{0, 5, 0xFFFFFFFF}.bytes));
}

TEST(Wire, TextArraysNeedNoTerminator)
{
    rpcDraSetInterface record{};
    record.value1 = 0xFFFFFFFF;
    record.type = 0xFFFFFFFF;
    std::memset(&record.name, 'n', sizeof record.name);
    std::memset(&record.linuxName, 'l', sizeof record.linuxName);
    std::memset(&record.description, 'd', sizeof record.description);
    const Interfaces::Interface port = wire::toEntity(record);
    EXPECT_EQ(port.name, std::string(16, 'n'));
    EXPECT_EQ(port.linuxName, std::string(16, 'l'));
    EXPECT_EQ(port.description, std::string(128, 'd'));
}

} // namespace
