#include "RpcFixture.h"

#include <cctype>
#include <set>

using namespace test;

/// The library loses a few bytes a call when no port mapper answers.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:__rpc_uaddr2taddr_af"; }

namespace {

/// A call and its reply as bytes behind the message headers.
struct Exchange
{
    std::uint32_t procedure;
    Xdr request;
    Xdr reply;
};
/**
 * Stories that call every procedure, written from the wire contract: interface 1 "0/1" (uplink), 7 "0/2/5"
 * (line), 9 (PVC below 7), 20 to 22 (PON port, ONU, GEM port), slot 3. Before each, factory settings were
 * applied and interface 7 counted in VLAN 100 two DISCOVERs, three Solicits, four ICMPv6 frames.
 */
using Story = std::vector<Exchange>;

constexpr std::int64_t unset = 0, no = 1, yes = 2; // three states
constexpr std::int64_t refusedByConfig = -1, refusedByEntity = 1;
constexpr std::int64_t unknown = 99; // an interface that does not exist
constexpr std::size_t idWords = 512, recordWords = 3 + 129 + 129;

const Xdr nothing;
const Xdr good{0};
const std::string longest(128, 'f');

Xdr text(std::string_view value) { return Xdr().text(value); }
Xdr value(std::int64_t v) { return Xdr{0, v}; }
Xdr failed(std::int64_t code, std::size_t zeroWords) { return Xdr{code}.zeros(zeroWords); }
Xdr idText(std::string_view v) { return Xdr{0}.suboption(v); }
Xdr formatText(std::string_view v) { return Xdr{0}.format(v); }
/// Counters: the first one as given, the rest zero.
Xdr counters(std::int64_t first, std::size_t count) { return Xdr{first}.zeros(count - 1); }

Story globalStory()
{
    Story story{
        {10, nothing, idText("")},
        {23, text("node1"), good},
        {10, nothing, idText("node1")},
        {23, text(""), good},
        {10, nothing, idText("")},
        {23, text(std::string(511, 'n')), good},
        {10, nothing, idText(std::string(511, 'n'))},
        {23, text(std::string(512, 'n')), good}, // stored, but not told: it does not fit
        {10, nothing, idText("")},
        {24, {7}, good},
        {11, nothing, value(0)}, // never tells the chassis id
        {16, {-5}, good},        // any number that is not zero switches on
        {2, nothing, value(1)},
        {16, {0}, good},
        {75, nothing, value(0)},
        {76, {0x0A000001}, good},
        {75, nothing, value(0x0A000001)},
    };
    struct Switch
    {
        std::uint32_t getter, setter;
        std::int64_t factory;
    };
    for (const Switch& each : {Switch{1, 15, 0},
                               {2, 16, 0},
                               {3, 17, 1},
                               {4, 18, 0},
                               {5, 19, 0},
                               {6, 20, 0},
                               {7, 21, 1},
                               {8, 22, 0},
                               {12, 25, 0},
                               {200, 220, 0},
                               {201, 221, 0},
                               {202, 222, 1},
                               {206, 224, 0}})
        story.insert(story.end(), {{each.getter, nothing, value(each.factory)},
                                   {each.setter, {1 - each.factory}, good},
                                   {each.getter, nothing, value(1 - each.factory)}});
    struct Format
    {
        std::uint32_t getter, setter;
        const char* factory;
    };
    for (const Format& each :
         {Format{27, 26, ""}, {29, 28, "$PORT_REM_ID"}, {228, 227, ""}, {230, 229, "$PORT_REM_ID"}})
        story.insert(story.end(), {{each.getter, nothing, formatText(each.factory)},
                                   {each.setter, text(longest), good},
                                   {each.setter, text(longest + "g"), {refusedByConfig}},
                                   {each.getter, nothing, formatText(longest)}});
    return story;
}

Story counterStory()
{
    const Xdr ofVlan100V4 = Xdr{0, 1, 100}.add(counters(2, 19));
    const Xdr ofVlan100V6 = Xdr{0, 1, 100}.add(counters(3, 17));
    const Xdr ofVlan100Ndp{0, 1, 100, 4, 0};
    return {
        {9, nothing, Xdr{0}.add(counters(2, 19))},
        {13, nothing, ofVlan100V4},
        {40, {7}, Xdr{0}.add(counters(2, 19))},
        {40, {1}, Xdr{0}.zeros(19)},
        {41, {7}, ofVlan100V4},
        {41, {1}, {0, 0}},
        {203, nothing, Xdr{0}.add(counters(3, 17))},
        {207, nothing, {0, 4, 0}},
        {231, nothing, ofVlan100V6},
        {232, nothing, ofVlan100Ndp},
        {248, {7}, Xdr{0}.add(counters(3, 17))},
        {249, {7}, {0, 4, 0}},
        {275, {7}, ofVlan100V6},
        {276, {7}, ofVlan100Ndp},
        {43, {7}, good}, // the DHCPv4 engine's interface only
        {40, {7}, Xdr{0}.zeros(19)},
        {13, nothing, {0, 0}},
        {248, {7}, Xdr{0}.add(counters(3, 17))},
    };
}

Story interfaceStory()
{
    Story story{
        {30, {1}, value(3)}, // lines start as CLIENTS, uplinks as ENABLE
        {240, {1}, value(3)},
        {241, {1}, value(yes)},
        {50, {7, 4}, good}, // a mode that does not exist is refused without a word to the peer
        {30, {7}, value(1)},
        {54, {7, -7}, good}, // stored as it comes
        {34, {7}, value(-7)},
        {54, {7, unset}, good},
        // Circuit id mode: ATM is for PVCs; what an operator (value 1) set there stays.
        {42, {7}, value(0)},
        {59, {7, 1, 0}, good},
        {42, {7}, value(1)},
        {59, {7, 2, 0}, {refusedByEntity}},
        {59, {9, 2, 1}, good},
        {59, {9, 1, 0}, good},
        {42, {9}, value(2)},
        {60, {9, 7, 8, 35}, good},
        {245, {7}, {0, 0}},
        {266, {7, 12, 100}, good},
        {245, {7}, {0, 1, 100, 12}},
        {247, {7}, idText("")},
        {247, {unknown}, idText("")}, // asks nobody
    };
    struct Value
    {
        std::uint32_t getter, setter;
        std::int64_t factory, other;
    };
    for (const Value& each : {Value{30, 50, 1, 2},
                              {31, 51, unset, yes},
                              {32, 52, unset, no},
                              {33, 53, unset, yes},
                              {34, 54, unset, no},
                              {35, 55, 0, 1},
                              {36, 56, 0, -100},
                              {240, 260, 1, 2},
                              {241, 261, no, yes},
                              {244, 265, 7731, 4711},
                              {246, 264, yes, no}})
        story.insert(story.end(), {{each.getter, {7}, value(each.factory)},
                                   {each.setter, {7, each.other}, good},
                                   {each.getter, {7}, value(each.other)},
                                   {each.setter, {unknown, each.other}, {refusedByConfig}},
                                   {each.getter, {unknown}, {refusedByConfig, 0}}});
    struct RemoteId
    {
        std::uint32_t getter, setter, listOfVlans, setterOfVlan;
    };
    for (const RemoteId& each : {RemoteId{38, 57, 39, 58}, {242, 262, 243, 263}})
        story.insert(
            story.end(),
            {{each.getter, {7}, idText("")},
             {each.setter, Xdr{7}.text("customer-5"), good},
             {each.getter, {7}, idText("customer-5")},
             {each.getter, {unknown}, failed(refusedByConfig, idWords)},
             {each.setter, Xdr{7}.text(std::string(64, 'r')), {refusedByConfig}},
             {each.setter, Xdr{unknown}.text("r"), {refusedByConfig}},
             {each.listOfVlans, {7}, {0, 0}},
             {each.setterOfVlan, Xdr{7}.text("two-hundred").u32(200), good},
             {each.setterOfVlan, Xdr{7}.text("hundred").u32(100), good},
             {each.setterOfVlan, Xdr{7}.text("none").u32(4095), {refusedByConfig}},
             {each.listOfVlans, {7}, Xdr{0, 2, 100}.suboption("hundred").u32(200).suboption("two-hundred")},
             {each.setterOfVlan, Xdr{7}.text("").u32(200), good},
             {each.listOfVlans, {7}, Xdr{0, 1, 100}.suboption("hundred")}});
    return story;
}

/// Procedures that differ by family in numbers alone: each has a record for an interface and a VLAN.
struct RecordProcedures
{
    std::uint32_t list, get, setMode, setIdFormat, setRemoteIdFormat, generateRemoteId;
    std::int64_t mode;
};

Story recordStory(const RecordProcedures& family)
{
    const Xdr filled = Xdr{7, 100, family.mode}.format("C-$VLAN").format("R-$VLAN");
    const std::string tooLong(129, 'f');
    return {
        {family.list, {7}, {0, 0}},
        {family.list, {unknown}, {refusedByConfig, 0}},
        {family.get, {7, 100}, failed(refusedByConfig, recordWords)},
        {64, {7, 100}, good}, // adds in both families
        // A record without a mode cannot be told: code 1, and the list ends there.
        {family.list, {7}, Xdr{1, 1, 7, 100, 0}.format("").format("")},
        {family.get, {7, 100}, failed(1, recordWords)},
        {family.setMode, {7, 100, family.mode}, good},
        {family.setMode, {unknown, 100, family.mode}, {refusedByConfig}},
        {family.setIdFormat, Xdr{7, 100}.text("C-$VLAN"), good},
        {family.setIdFormat, Xdr{7, 100}.text(tooLong), {refusedByConfig}},
        {family.setIdFormat, Xdr{unknown, 100}.text("C"), {refusedByConfig}},
        {family.setRemoteIdFormat, Xdr{7, 100}.text("R-$VLAN"), good},
        {family.setRemoteIdFormat, Xdr{7, 100}.text(tooLong), {refusedByConfig}},
        {family.list, {7}, Xdr{0, 1}.add(filled)},
        {family.get, {7, 100}, Xdr{0}.add(filled)},
        {family.generateRemoteId, {7, 100}, idText("R-100")},
        {family.generateRemoteId, {unknown, 100}, failed(refusedByEntity, idWords)},
        {family.setMode, {7, 200, family.mode}, good},
        {family.list, {7}, Xdr{0, 2}.add(filled).add(Xdr{7, 200, family.mode}.format("").format(""))},
        {150, {7, 200}, good},
        {150, {7, 300}, good}, // there was none
        {family.list, {7}, Xdr{0, 1}.add(filled)},
        {130, nothing, good},
        {family.list, {7}, {0, 0}},
    };
}
Story recordStoryV4() { return recordStory({44, 45, 61, 62, 63, 47, 1}); }
Story recordStoryV6() { return recordStory({271, 272, 267, 268, 269, 274, 2}); }

Story idStory()
{
    return {
        {101, text("sh1"), good},
        {37, {7}, idText("KORVANEL:sh1 eth 3/0/2/5:<vid>")},
        {37, {unknown}, failed(refusedByEntity, idWords)},
        {46, {7, 100}, idText("KORVANEL:sh1 eth 3/0/2/5:100")},
        {46, {7, 4095}, idText("KORVANEL:sh1 eth 3/0/2/5:<vid>")},
        {46, {unknown, 100}, failed(refusedByEntity, idWords)},
        {25, {1}, good},
        {37, {7}, idText("KORVANEL:sh1 eth 3/0/2/5:<vid>:<cvid>")},
        {273, {7, 100}, idText("sh1 eth 99/3/2/5:100")},
        {273, {7, 4095}, idText("sh1 eth 99/3/2/5:<vid>")},
        {273, {unknown, 100}, failed(refusedByEntity, idWords)},
        {264, {7, no}, good},
        {273, {7, 100}, idText("KORVANEL:sh1 eth 3/0/2/5:100")},
        {270, {7, 100}, good}, // does nothing
        {271, {7}, {0, 0}},
        {61, {7, 100, 2}, {refusedByConfig}}, // ATM on a line
        {64, {7, 4095}, {refusedByConfig}},
        {268, Xdr{7, 100}.text("I-$VLAN"), good},
        {267, {7, 100, 2}, good},
        {273, {7, 100}, idText("I-100")},
    };
}

Story unknownInterfaceStory()
{
    return {
        {39, {unknown}, {refusedByConfig, 0}},
        {40, {unknown}, failed(refusedByEntity, 19)},
        {41, {unknown}, {refusedByEntity, 0}},
        {42, {unknown}, {refusedByConfig, 0}},
        {43, {unknown}, {refusedByEntity}},
        {59, {unknown, 1, 0}, {refusedByEntity}},
        {60, {unknown, 7, 8, 35}, {refusedByConfig}},
        {64, {unknown, 100}, {refusedByConfig}},
        {150, {unknown, 100}, {refusedByConfig}},
        {243, {unknown}, {refusedByConfig, 0}},
        {248, {unknown}, failed(refusedByEntity, 17)},
        {249, {unknown}, failed(refusedByEntity, 2)},
        {266, {unknown, 12, 100}, {refusedByConfig}},
        {275, {unknown}, {refusedByEntity, 0}},
        {276, {unknown}, {refusedByEntity, 0}},
    };
}

Story eventStory()
{
    return {
        {65, {1}, good},
        {66, {1}, good},
        {67, {1}, good},
        {68, {1}, good},
        {69, Xdr().text("dhcpraTestDump").text("").text(""), good},
        {69, Xdr().text("no such word").text("").text("/nonexistent"), good},
        {70, text("hello"), good},
        {71, {3}, good},
        {205, {3}, good},
        {151, Xdr().text("no such word").text("").text(""), good},
        {151, Xdr().text("lockingPeriod").text("soon").text(""), good}, // throws behind the peer's back
        {72, {7}, good},
        {73, nothing, value(7)},
        {204, nothing, value(7)}, // the level of both engines
        {223, {5}, good},
        {73, nothing, value(7)},
        {204, nothing, value(5)},
        {72, {-2}, good},
        {73, nothing, value(3)},
        {74, {1}, good},
        {120, nothing, value(1)},
        {74, {0}, good}, // factory settings leave it as it is
        {120, nothing, value(0)},
        {105, nothing, {4}},
    };
}

Story serverAndVlanStory()
{
    return {
        {77, nothing, {0, 0}},
        {78, {0xC0000202, 200, 1}, good},
        {78, {0xC0000201, 300, 1}, good},
        {78, {0xC0000202, 100, -1}, good},
        {77, nothing, {0, 3, 0xC0000201, 300, 0xC0000202, 200, 0xC0000202, 100}},
        {78, {0xC0000202, 200, 0}, good},
        {78, {0xC0000202, 999, 0}, good}, // is not there
        {77, nothing, {0, 2, 0xC0000201, 300, 0xC0000202, 100}},
        {85, nothing, {0, 0}},
        {86, {100, yes}, good},
        {87, {100, no}, good},
        {88, {100, yes}, good},
        {89, {50, no}, good},
        {90, {100, no}, good},
        {91, {100, yes}, good},
        {86, {4095, yes}, {refusedByConfig}},
        {85, nothing, {0, 2, 50, 0, 0, 0, no, 0, 0, 100, yes, no, yes, 0, no, yes}},
        {89, {50, unset}, good}, // the last one takes the VLAN away
        {85, nothing, {0, 1, 100, yes, no, yes, 0, no, yes}},
        {280, nothing, {0, 0}}, // the other family's are its own
        {290, {100, yes}, good},
        // A new record switches the remote id off and the interface id on.
        {280, nothing, {0, 1, 100, yes, no, yes}},
        {291, {100, no}, good},
        {292, {100, yes}, good},
        {280, nothing, {0, 1, 100, yes, yes, no}},
        {290, {4095, yes}, {refusedByConfig}},
    };
}

Story nodeStory()
{
    Xdr port{30};
    port.chars("0/3/1", 16).chars("if30", 16).add({1, 1, 0, 1, 1000, 1, 24000, 3000});
    port.chars("a new line", 128).add({77, 1, 0});
    port.chars("A", 10).add({5, 3, 1, 0});
    Xdr renamed{7};
    renamed.chars("0/2/sixteen-char", 16).chars("if7", 16).add({1, 0, 0, 0, 0, 0, 0, 0});
    renamed.chars("", 128).add({0, 0, 0});
    renamed.chars("tencharac.", 10).add({5, 3, 1, 0});
    return {
        {101, text("shelf"), good},
        {102, Xdr().text(std::string("\x02\x00\x00\x00\x00\x22zzzzzzzzzz", 16)), good},
        {102, Xdr().text(std::string("\x02\x00\x00\x00\x00", 5)), {refusedByEntity}},
        {28, text("$AGENT_MAC"), good},
        {47, {7, 100}, idText("02:00:00:00:00:22")},
        {103, {0x0A000001}, good},
        {28, text("$AGENT_IPV4"), good},
        {47, {7, 100}, idText("10.0.0.1")},
        {104, port, good},
        {104, renamed, good},
        {46, {7, 100}, idText("KORVANEL:shelf eth 3/0/2/sixteen-char:100")},
        {106, Xdr{7}.text("line five"), good},
        {106, Xdr{unknown}.text("x"), good},
        {107, text("contact"), good},
        {108, text("location"), good},
        {109, text("name"), good},
        {28, text("$SYSNAME"), good},
        {47, {7, 100}, idText("name")},
        {110, Xdr{21}.text("CPE1"), good},
        {110, Xdr{unknown}.text("CPE1"), good},
        {111, {21, 2, 0, 0, 0, 0, 0x77}, good},
        {111, {unknown, 2, 0, 0, 0, 0, 0x77}, good},
        {28, text("$CPE_SERIAL"), good},
        {47, {22, 100}, idText("CPE1")}, // a GEM port tells of the ONU above it
        {28, text("$CPE_MAC"), good},
        {47, {22, 100}, idText("02:00:00:00:00:77")},
        {100, nothing, good},
        {29, nothing, formatText("$PORT_REM_ID")},
    };
}

constexpr Story (*stories[])() = {globalStory,        counterStory, interfaceStory,        recordStoryV4,
                                  recordStoryV6,      idStory,      unknownInterfaceStory, eventStory,
                                  serverAndVlanStory, nodeStory};

/// The program's numbers, as the table of its contract has them.
std::set<std::uint32_t> numbersOfContract()
{
    constexpr std::pair<unsigned, unsigned> ranges[] = {
        {1, 13},    {15, 47},   {50, 78},   {85, 91},   {100, 111}, {120, 120}, {130, 130}, {150, 151},
        {200, 207}, {220, 224}, {227, 232}, {240, 249}, {260, 276}, {280, 280}, {290, 292}};
    std::set<std::uint32_t> numbers;
    for (const auto& [first, last] : ranges)
        for (unsigned number = first; number <= last; ++number)
            numbers.insert(number);
    return numbers;
}

/// The texts in an answer.
std::string readable(const Bytes& answer)
{
    std::string text;
    for (const std::uint8_t byte : answer)
        if (std::isprint(byte) != 0)
            text += static_cast<char>(byte);
    return text;
}

class EveryProcedure : public RpcFixture, public testing::WithParamInterface<std::tuple<Story (*)(), bool>>
{
protected:
    void SetUp() override
    {
        RpcFixture::SetUp();
        dhcpraInterface& v4 = *relay().engine().getInterfaceById(7);
        dhcpraInterface& v6 = *relay().engineV6().getInterfaceById(7);
        for (int i = 0; i < 2; ++i)
            v4.incrementCounter(dhcpraTypes::counterDiscover, 100);
        for (int i = 0; i < 3; ++i)
            v6.incrementCounterV6(dhcpraTypes::counterV6FirstType, 100);
        for (int i = 0; i < 4; ++i)
            v6.incrementCounterV6Ndp(dhcpraTypes::counterV6NdpReceived, 100);
    }
};

TEST_P(EveryProcedure, AnswersByteForByte)
{
    const auto [story, tcp] = GetParam();
    const PeerSocket peer = tcp ? tcpPeer() : udpPeer();
    std::uint32_t xid = 0x1000;
    for (const Exchange& each : story()) {
        ++xid;
        const Bytes answer = exchange(peer, tcp, callMessage(xid, 0x20000202, each.procedure, each.request));
        ASSERT_EQ(answer, replyMessage(xid, 0, each.reply))
            << "procedure " << each.procedure << ", call " << xid - 0x1000
            << " of the story: " << readable(answer);
    }
}

INSTANTIATE_TEST_SUITE_P(Wire, EveryProcedure, testing::Combine(testing::ValuesIn(stories), testing::Bool()));

TEST(Procedures, AreThoseOfTheContractAndAllInTheStories)
{
    std::set<std::uint32_t> called;
    for (const auto story : stories)
        for (const Exchange& each : story())
            called.insert(each.procedure);
    std::set<std::uint32_t> served;
    for (const ProcedureRow& row : dhcpraProcedures())
        served.insert(static_cast<std::uint32_t>(row.number));
    EXPECT_EQ(called, numbersOfContract());
    EXPECT_EQ(served, numbersOfContract());
}

} // namespace
