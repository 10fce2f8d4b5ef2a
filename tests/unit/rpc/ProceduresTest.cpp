#include "RpcFixture.h"

#include <fstream>
#include <regex>
#include <set>

using namespace test;

/// The library loses a few bytes a call when no port mapper answers.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:__rpc_uaddr2taddr_af"; }

namespace {

/// A call and its reply as bytes behind the message headers.
struct Exchange
{
    std::string line;
    std::uint32_t procedure;
    Xdr request;
    Xdr reply;
};
struct Story
{
    std::string name;
    std::vector<Exchange> exchanges;
};

Xdr textOf(const std::string& form, const std::string& written)
{
    std::string text = written;
    if (const std::size_t star = text.find('*'); star == 1)
        text = std::string(std::stoul(text.substr(2)), text[0]);
    if (form == "f")
        return Xdr().format(text);
    if (form == "s")
        return Xdr().suboption(text);
    if (form.starts_with('c'))
        return Xdr().chars(text, std::stoul(form.substr(1)));
    if (form == "h") {
        text.clear();
        for (std::size_t at = 0; at < written.size(); at += 2)
            text += static_cast<char>(std::stoi(written.substr(at, 2), nullptr, 16));
    }
    return Xdr().text(text);
}

/// The words of a line of stories.txt, which says how they travel.
Xdr xdrOf(const std::string& words)
{
    static const std::regex word(R"re((c\d+|[fsh]|)"([^"]*)"|([-\w]+)(\*(\d+))?)re");
    Xdr xdr;
    for (std::sregex_iterator at(words.begin(), words.end(), word), end; at != end; ++at) {
        const std::smatch& found = *at;
        if (!found[3].matched)
            xdr.add(textOf(found[1], found[2]));
        for (int i = 0; found[3].matched && i < (found[5].matched ? std::stoi(found[5]) : 1); ++i)
            xdr.u32(std::stoll(found[3], nullptr, 0));
    }
    return xdr;
}

std::vector<Story> stories()
{
    static const std::regex exchange(R"((\d+) +(.*?) *-> (.*?)(  # .*)?)");
    std::vector<Story> all;
    std::ifstream file(STORIES);
    std::smatch found;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("story "))
            all.push_back({line.substr(6), {}});
        else if (std::regex_match(line, found, exchange))
            all.back().exchanges.push_back(
                {line, static_cast<std::uint32_t>(std::stoul(found[1])), xdrOf(found[2]), xdrOf(found[3])});
        else
            EXPECT_TRUE(line.empty() || line.starts_with('#')) << line;
    }
    return all;
}

class EveryProcedure : public RpcFixture, public testing::WithParamInterface<std::tuple<Story, bool>>
{
protected:
    void SetUp() override
    {
        RpcFixture::SetUp();
        dhcpraInterface& v4 = *relay().engine().getInterfaceById(7);
        dhcpraInterface& v6 = *relay().engineV6().getInterfaceById(7);
        for (int i = 0; i < 4; ++i) {
            v6.incrementCounterV6Ndp(dhcpraTypes::counterV6NdpReceived, 100);
            if (i < 3)
                v6.incrementCounterV6(dhcpraTypes::counterV6FirstType, 100);
            if (i < 2)
                v4.incrementCounter(dhcpraTypes::counterDiscover, 100);
        }
    }
};

TEST_P(EveryProcedure, AnswersByteForByte)
{
    const auto& [story, tcp] = GetParam();
    const PeerSocket peer = tcp ? tcpPeer() : udpPeer();
    std::uint32_t xid = 0x1000;
    for (const Exchange& each : story.exchanges) {
        const Bytes call = callMessage(++xid, 0x20000202, each.procedure, each.request);
        ASSERT_EQ(exchange(peer, tcp, call), replyMessage(xid, 0, each.reply)) << each.line;
    }
}

INSTANTIATE_TEST_SUITE_P(Wire, EveryProcedure,
                         testing::Combine(testing::ValuesIn(stories()), testing::Bool()),
                         [](const auto& test) {
                             return std::get<0>(test.param).name + (std::get<1>(test.param) ? "Tcp" : "Udp");
                         });

TEST(Procedures, AreThoseOfTheStories)
{
    std::set<rpcproc_t> called;
    for (const Story& story : stories())
        for (const Exchange& each : story.exchanges)
            called.insert(each.procedure);
    std::set<rpcproc_t> served;
    for (const ProcedureRow& row : dhcpraProcedures())
        served.insert(row.number);
    EXPECT_EQ(called, served);
}

} // namespace
