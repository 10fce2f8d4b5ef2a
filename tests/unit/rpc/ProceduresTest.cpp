#include "Exchanges.h"
#include "RpcFixture.h"

#include <cctype>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

using namespace test;

/// The library loses a few bytes a call when no port mapper answers.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:__rpc_uaddr2taddr_af"; }

namespace {

using Story = std::vector<Exchange> (*)();

constexpr Story stories[] = {
    globalExchanges,        counterExchanges, interfaceExchanges, intfVlanExchanges,    eventExchanges,
    serverAndVlanExchanges, nodeExchanges,    globalV6Exchanges,  interfaceV6Exchanges, vlanV6Exchanges};

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

class EveryProcedure : public RpcFixture, public testing::WithParamInterface<std::tuple<Story, bool>>
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

TEST(Procedures, AllAreInTheStories)
{
    std::set<std::uint32_t> called;
    for (const Story story : stories)
        for (const Exchange& each : story())
            called.insert(each.procedure);
    EXPECT_EQ(called, numbersOfContract());
    EXPECT_EQ(called.size(), 148U);
}

TEST(Procedures, RowsAreThoseOfTheInterfaceDefinition)
{
    std::ifstream file(DHCPRA_X);
    std::stringstream text;
    text << file.rdbuf();
    const std::string definition = text.str();

    std::map<std::uint32_t, std::string> defined;
    const std::regex procedure(R"((rpc_\w+)\s*\([^)]*\)\s*=\s*(\d+);)");
    for (std::sregex_iterator found(definition.begin(), definition.end(), procedure), end; found != end;
         ++found)
        defined[static_cast<std::uint32_t>(std::stoul((*found)[2]))] = (*found)[1];

    std::map<std::uint32_t, std::string> served;
    for (const ProcedureRow& row : dhcpraProcedures())
        served[static_cast<std::uint32_t>(row.number)] = row.name;
    EXPECT_EQ(served, defined);
    EXPECT_EQ(served.size(), numbersOfContract().size());
}

} // namespace
