#include "RpcFixture.h"
#include "SmallProgram.h"

#include "rpc/dhcpra/Wire.h"

#include <chrono>
#include <filesystem>
#include <iterator>

using namespace test;

namespace {

constexpr std::uint32_t unavailable = 3; // accept_stat, RFC 5531
constexpr std::uint32_t garbage = 4;
constexpr std::uint32_t systemError = 5;

using Refusals = RpcFixture;

TEST_F(Refusals, NumbersInGapsAndPastTheEndAreUnavailable)
{
    const PeerSocket peer = tcpPeer();
    for (const std::uint32_t number :
         {14U,  48U,  49U,  79U,  84U,  92U,  99U,  112U, 119U, 121U, 131U, 149U, 152U,       199U,
          208U, 219U, 225U, 226U, 233U, 239U, 250U, 259U, 277U, 281U, 289U, 293U, 0xFFFFFFFFU})
        EXPECT_EQ(exchange(peer, true, callMessage(9, 0x20000202, number, {1})), replyMessage(9, unavailable))
            << number;
}

TEST_F(Refusals, ArgumentsThatDoNotDecodeReachNobody)
{
    Xdr half;
    half.bytes = {0, 0};
    const std::tuple<const char*, std::uint32_t, Xdr> cases[] = {
        {"no argument", 15, {}},
        {"half a number", 15, half},
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
    for (const auto& [what, procedure, arguments] : cases) {
        const Bytes message = callMessage(11, 0x20000202, procedure, arguments);
        EXPECT_EQ(exchange(tcp, true, message), replyMessage(11, garbage)) << what;
        EXPECT_EQ(exchange(udp, false, message), replyMessage(11, garbage)) << what;
    }
    bool enabled = true;
    EXPECT_EQ(relay().isDraEnabled(enabled), 0U);
    EXPECT_FALSE(enabled);
}

TEST_F(Refusals, LongTextsAreTakenAndBytesBehindTheArgumentsIgnored)
{
    EXPECT_EQ(
        exchange(tcpPeer(), true, callMessage(12, 0x20000202, 23, Xdr().text(std::string(66'000, 'n')))),
        replyMessage(12, 0, {0}));
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
    // A leak of one descriptor in each of three rounds shows. Fewer may come late: the port mapper is told on
    // a thread of its own, and the peer of the last round is still there.
    for (int i = 0; i < 400 && openDescriptors() > afterFirst + 2; ++i)
        usleep(5000);
    EXPECT_LE(openDescriptors(), afterFirst + 2);
    receiveLoop->SetUp();
}

/// A program of these tests, with other forms of rows than the relay's.
class OwnProgram : public RpcFixture
{
protected:
    void SetUp() override
    {
        RpcFixture::SetUp();
        small::serve();
    }

    [[nodiscard]] Bytes answer(std::uint32_t procedure, const Xdr& arguments) const
    {
        return exchange(socket, false, callMessage(1, SMALL_PROGRAM, procedure, arguments));
    }

    PeerSocket socket = udpPeer();
};

TEST_F(OwnProgram, TakesSixArgumentsAndAnswersNothing)
{
    EXPECT_EQ(answer(1, Xdr().text("name").add({1, 6, 7, 8, 9})), replyMessage(1, 0));
    EXPECT_EQ(small::values, (std::vector<u_int>{4, 6, 7, 8, 9}));
    EXPECT_EQ(answer(1, Xdr().text("name").add({1, 6, 7, 8})), replyMessage(1, garbage));
}

TEST_F(OwnProgram, FillsItsOwnLists)
{
    small::values = {2, 3};
    EXPECT_EQ(answer(2, {}), replyMessage(1, 0, {2, 2, 1, 3, 0, 0}));
    small::values = {7, 0, 5}; // one that cannot be told ends the list
    EXPECT_EQ(answer(2, {}), replyMessage(1, 0, {3, 7, 0, 0, 1, 0, 0, 1}));
    small::values.clear();
    EXPECT_EQ(answer(2, {}), replyMessage(1, 0, {0, 0}));
}

TEST_F(OwnProgram, ExceptionsAreSystemErrorsAndTheLoopGoesOn)
{
    EXPECT_EQ(answer(4, {1}), replyMessage(1, systemError));
    EXPECT_EQ(answer(4, {0}), replyMessage(1, systemError)); // no std::exception
    EXPECT_EQ(answer(3, {21}), replyMessage(1, 0, {42}));
}

TEST_F(OwnProgram, NullResultSendsNoReply)
{
    socket.send(callMessage(9, SMALL_PROGRAM, 5, {}));
    EXPECT_EQ(answer(3, {4}), replyMessage(1, 0, {8})); // the first reply to come
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
