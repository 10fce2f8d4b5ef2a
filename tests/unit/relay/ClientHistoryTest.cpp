#include "relay/clients/ClientHistory.h"

#include "TextSink.h"
#include "support/NodeBuilder.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint32_t uplink = 1;
constexpr std::uint32_t lineA = 7;
constexpr std::uint32_t lineB = 8;

class ClientHistoryTest : public testing::Test
{
protected:
    void see(std::uint8_t client, std::uint32_t messageType, std::uint32_t interfaceId = lineA,
             std::uint16_t vlan = 100)
    {
        history.update({.xid = ++xid,
                        .mac = clientMac_t{2, 0, 0, 0, 0, client},
                        .vlan = vlan,
                        .cvlan = 4095,
                        .ethType = 0,
                        .cEthType = 0,
                        .messageType = messageType},
                       interfaceId);
    }

    /// One "client@interface/vlan history" for each entry, in order.
    [[nodiscard]] std::vector<std::string> lines() const
    {
        std::vector<std::string> all;
        history.copy().forEach([&all](const dhcprLocalClientInfo_t& entry) {
            all.push_back(std::to_string(entry.mac[5]) + "@" + std::to_string(entry.interfaceId) + "/" +
                          std::to_string(entry.vlan) + " " + entry.messageSeq);
        });
        return all;
    }
    using Lines = std::vector<std::string>;

    std::unique_ptr<test::TestNode> node =
        test::NodeBuilder().eth(uplink, "0/1").subscriber(lineA, "0/2/5").subscriber(lineB, "0/2/6").use();
    TextSink sink;
    ClientHistory history{sink};
    std::uint32_t xid = 0;
};

} // namespace

TEST_F(ClientHistoryTest, TellsAnExchangeAndStartsAfreshWithTheNext)
{
    for (const std::uint32_t type : {1U, 1U, 2U, 3U, 3U, 5U})
        see(1, type);
    EXPECT_EQ(lines(), Lines{"1@7/100 DISCOVER->OFFER->REQUEST->ACK"});
    see(1, 3);
    see(1, 6);
    EXPECT_EQ(lines(), Lines{"1@7/100 DISCOVER->OFFER->REQUEST->ACK->REQUEST->NACK"});
    see(1, 1);
    EXPECT_EQ(lines(), Lines{"1@7/100 DISCOVER"});
}

TEST_F(ClientHistoryTest, NamesEveryTypeAndKeepsTheTextForOthers)
{
    for (std::uint32_t type = 2; type <= 8; ++type)
        see(1, type);
    see(1, 0);
    see(1, 9);
    EXPECT_EQ(lines(), Lines{"1@7/100 ->OFFER->REQUEST->DECLINE->ACK->NACK->RELEASE->INFORM"});
    see(1, 8); // another type stood between
    EXPECT_EQ(lines(), Lines{"1@7/100 ->OFFER->REQUEST->DECLINE->ACK->NACK->RELEASE->INFORM->INFORM"});
}

TEST_F(ClientHistoryTest, OnlySubscribersHaveAHistory)
{
    see(1, 1, uplink);
    see(1, 1, 99); // not in the registry
    see(1, 1, lineA, 4095);
    history.update({.xid = 1, .mac = std::nullopt, .vlan = 100, .messageType = 1}, lineA);
    EXPECT_EQ(history.size(), 0U);
}

TEST_F(ClientHistoryTest, TheOneHeardLastStandsAtTheEnd)
{
    see(1, 1);
    see(2, 1);
    see(3, 1);
    see(2, 3);
    see(1, 1);
    EXPECT_EQ(lines(), (Lines{"3@7/100 DISCOVER", "2@7/100 DISCOVER->REQUEST", "1@7/100 DISCOVER"}));
}

TEST_F(ClientHistoryTest, EachOfThousandsOfClientsKeepsItsEntry)
{
    constexpr std::uint16_t vlans = 40;
    for (const std::uint32_t messageType : {1U, 2U, 3U}) {
        for (int client = 0; client < 100; ++client) {
            for (std::uint16_t vlan = 1; vlan <= vlans; ++vlan)
                see(static_cast<std::uint8_t>(client), messageType, vlan % 2 == 0 ? lineA : lineB, vlan);
        }
    }
    const Lines all = lines();
    ASSERT_EQ(all.size(), std::size_t{100} * vlans);
    for (std::size_t entry = 0; entry < all.size(); ++entry) {
        const std::size_t vlan = entry % vlans + 1;
        EXPECT_EQ(all[entry], std::to_string(entry / vlans) + (vlan % 2 == 0 ? "@7/" : "@8/") +
                                  std::to_string(vlan) + " DISCOVER->OFFER->REQUEST");
    }
}

TEST_F(ClientHistoryTest, AReplyWithoutTargetGoesToTheClientSilentLongest)
{
    see(1, 2, 0);
    EXPECT_EQ(history.size(), 0U); // nobody there yet

    see(1, 1, lineA);
    see(1, 1, lineB);
    see(1, 2, 0);
    EXPECT_EQ(lines(), (Lines{"1@8/100 DISCOVER", "1@7/100 DISCOVER->OFFER"}));
    see(1, 2, 0);
    EXPECT_EQ(lines(), (Lines{"1@7/100 DISCOVER->OFFER", "1@8/100 DISCOVER->OFFER"}));
    see(1, 5, lineB);
    see(1, 6, 0);
    EXPECT_EQ(lines(), (Lines{"1@8/100 DISCOVER->OFFER->ACK", "1@7/100 DISCOVER->OFFER->NACK"}));
    see(2, 2, 0);
    EXPECT_EQ(history.size(), 2U);
}

TEST(MessageSequences, HistoriesNobodyHasGoAway)
{
    MessageSequences sequences;
    const auto walk = [&sequences](MessageSequences::Sequence at,
                                   std::initializer_list<std::uint32_t> types) {
        for (const std::uint32_t type : types)
            at = sequences.advance(at, type);
        return at;
    };
    const auto first = walk(MessageSequences::empty, {1, 2, 3, 5});
    const auto second = walk(MessageSequences::empty, {1, 2, 3, 5});
    EXPECT_EQ(first, second);
    EXPECT_EQ(sequences.size(), 4U);
    EXPECT_EQ(sequences.text(first), "DISCOVER->OFFER->REQUEST->ACK");

    const auto restarted = walk(first, {1});
    EXPECT_EQ(sequences.size(), 4U);
    EXPECT_EQ(sequences.text(second), "DISCOVER->OFFER->REQUEST->ACK");
    const auto both = walk(second, {1});
    EXPECT_EQ(both, restarted);
    EXPECT_EQ(sequences.size(), 1U);

    // A client that renews for years and then starts afresh gives its whole chain back.
    auto renewing = walk(MessageSequences::empty, {1, 3, 5});
    for (int day = 0; day < 1000; ++day)
        renewing = walk(renewing, {3, 5});
    EXPECT_EQ(sequences.size(), 2003U);
    EXPECT_EQ(sequences.text(walk(renewing, {1})), "DISCOVER");
    EXPECT_EQ(sequences.size(), 1U);
}
