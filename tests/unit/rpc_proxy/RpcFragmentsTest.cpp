#include "RpcLoop.h"

#include "rte/BLL/core/RpcRecord.h"

using namespace test;

namespace {

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes fragment(const Bytes& content, bool isLast)
{
    Bytes bytes = recordOf(content);
    bytes[0] = isLast ? 0x80 : 0;
    return bytes;
}

/// The message in fragments of that size.
Bytes cut(const Bytes& message, std::size_t size)
{
    Bytes record;
    for (std::size_t at = 0; at < message.size(); at += size) {
        const std::size_t end = std::min(at + size, message.size());
        record = record + fragment(Bytes(message.begin() + static_cast<std::ptrdiff_t>(at),
                                         message.begin() + static_cast<std::ptrdiff_t>(end)),
                                   end == message.size());
    }
    return record;
}

/// What a peer sends on a stream, with a pause after each piece, and what it gets; nothing: its connection
/// ends.
struct Framing
{
    const char* name;
    std::vector<Bytes> pieces;
    std::vector<Bytes> replies;
};

std::vector<Framing> framings()
{
    const Bytes ping = measureCall(2);
    const Bytes record = recordOf(ping);
    const Bytes nothing;
    const Bytes largest = measureCall(RpcRecord::largest - 44); // the call's head and the length of the text
    Bytes endless;
    for (std::size_t i = 0; i <= RpcRecord::largest; ++i)
        endless.insert(endless.end(), {0, 0, 0, 1, 'e'});
    return {
        {"TwoHalves", {cut(ping, 22)}, {measureReply(2)}},
        {"TwoHalvesApart",
         {fragment(Bytes(ping.begin(), ping.begin() + 20), false),
          fragment(Bytes(ping.begin() + 20, ping.end()), true)},
         {measureReply(2)}},
        {"TextInTwoHalves", {cut(measureCall(300), 172)}, {measureReply(300)}},
        {"LongText", {cut(measureCall(66'000), 4000)}, {measureReply(66'000)}},
        {"OneByteEach", {cut(measureCall(300), 1)}, {measureReply(300)}},
        {"EmptyOnesBetweenAndLast",
         {fragment(nothing, false) + fragment(ping, false) + fragment(nothing, false),
          fragment(nothing, true)},
         {measureReply(2)}},
        {"AMarkInTwoSegments",
         {Bytes(record.begin(), record.begin() + 3), Bytes(record.begin() + 3, record.end())},
         {measureReply(2)}},
        {"TwoCallsAndAHalfInOneSegment",
         {recordOf(ping) + cut(measureCall(6), 9) + Bytes(record.begin(), record.begin() + 9),
          Bytes(record.begin() + 9, record.end())},
         {measureReply(2), measureReply(6), measureReply(2)}},
        {"TheLargest", {cut(largest, 100'000)}, {measureReply(RpcRecord::largest - 44)}},
        {"OneByteMore", {cut(largest + Bytes{0}, 100'000)}, {}},
        {"ClaimsToBeEnormous", {Bytes(8, 0xFF)}, {}},
        {"NeverTheLast", {endless}, {}},
        {"NoCall", {fragment(nothing, true)}, {}},
        // A call with Kerberos authentication and no ticket is denied with AUTH_FAILED (RFC 5531).
        {"UnknownTicket",
         {recordOf(Xdr{7, 0, 2, firstProgram, 1, measure, 6, 20, 1, 1, 0, 1, 0, 0, 0, 1}.bytes), record},
         {Xdr{7, 1, 1, 1, 7}.bytes, measureReply(2)}},
    };
}

class Fragments : public Served, public testing::WithParamInterface<Framing>
{};

} // namespace

TEST_P(Fragments, AreServedAsOneCallAndHoldUpNobody)
{
    const Framing& framing = GetParam();
    const PeerSocket peer(SOCK_STREAM, stream);
    for (const Bytes& piece : framing.pieces) {
        peer.send(piece);
        EXPECT_TRUE(answers(PeerSocket(SOCK_STREAM, stream)));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    for (const Bytes& reply : framing.replies)
        EXPECT_EQ(receiveRecord(peer), reply);
    const auto before = std::chrono::steady_clock::now();
    if (framing.replies.empty()) {
        EXPECT_EQ(peer.receive(1), Bytes());
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(3)) << "still connected";
    }
}

INSTANTIATE_TEST_SUITE_P(OnAStream, Fragments, testing::ValuesIn(framings()),
                         [](const auto& framing) { return std::string(framing.param.name); });
