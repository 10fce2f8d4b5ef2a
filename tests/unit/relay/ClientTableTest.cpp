#include "relay/clients/ClientTable.h"

#include "TextSink.h"
#include "common/Clock.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

ClientFrame client(std::uint8_t number, std::uint32_t xid, std::uint16_t vlan = 100,
                   std::uint16_t cvlan = 4095)
{
    return {.xid = xid,
            .mac = clientMac_t{2, 0, 0, 0, 0, number},
            .vlan = vlan,
            .cvlan = cvlan,
            .ethType = 0x8100,
            .cEthType = 0,
            .messageType = 1};
}

class ClientTableTest : public testing::Test
{
protected:
    void TearDown() override { Clock::reset(); }

    [[nodiscard]] std::vector<std::uint32_t> xids() const
    {
        std::vector<std::uint32_t> all;
        for (const dhcprClientInfo_t& entry : table.all())
            all.push_back(entry.xid);
        return all;
    }

    TextSink sink;
    ClientTable table{sink};
};

} // namespace

TEST_F(ClientTableTest, FindsAndRemovesByTransactionAndClientOnly)
{
    table.add(client(1, 0xABCD, 100, 7), 12);
    EXPECT_EQ(sink.take(),
              "\t Client entry added: intf=12, VLAN=100, CVLAN=7, MAC=02:00:00:00:00:01, xid=0000abcd\n");

    dhcprClientInfo_t entry;
    ASSERT_TRUE(table.find(client(1, 0xABCD, 999), entry)); // the server's side has another VLAN
    EXPECT_EQ(entry.interfaceId, 12U);
    EXPECT_EQ(entry.vlan, 100);
    EXPECT_EQ(entry.cvlan, 7);
    EXPECT_EQ(entry.ethType, 0x8100);
    for (const ClientFrame& other : {client(2, 0xABCD), client(1, 0xABCE)}) {
        EXPECT_FALSE(table.find(other, entry));
        table.remove(other);
        EXPECT_EQ(sink.take(), "");
    }
    table.remove(client(1, 0xABCD));
    EXPECT_EQ(sink.take(),
              "\t Client entry deleted: intf=12, VLAN=100, CVLAN=7, MAC=02:00:00:00:00:01, xid=0000abcd\n");
    EXPECT_TRUE(table.all().empty());
}

TEST_F(ClientTableTest, ANewTransactionReplacesTheClientsOldOne)
{
    table.add(client(1, 1), 12);
    table.add(client(2, 2), 12);
    sink.take();
    table.add(client(1, 3), 12);
    EXPECT_EQ(sink.take(), "\t Replacing existing client entry\n"
                           "\t Client entry added: intf=12, VLAN=100, CVLAN=4095, MAC=02:00:00:00:00:01, "
                           "xid=00000003\n");
    EXPECT_EQ(xids(), (std::vector<std::uint32_t>{2, 3}));

    // Another interface, VLAN or C-VLAN is another client.
    table.add(client(1, 4), 13);
    table.add(client(1, 5, 101), 12);
    table.add(client(1, 6, 100, 9), 12);
    EXPECT_EQ(xids(), (std::vector<std::uint32_t>{2, 3, 4, 5, 6}));
}

TEST_F(ClientTableTest, EverythingIsStaleThirtySecondsAfterTheLastAdd)
{
    table.add(client(1, 1), 12);
    Clock::advance(29s);
    table.add(client(2, 2), 12);
    EXPECT_EQ(table.all().size(), 2U);
    Clock::advance(30s);
    sink.take();
    table.add(client(3, 3), 12);
    EXPECT_EQ(xids(), std::vector<std::uint32_t>{3});
    EXPECT_TRUE(sink.take().starts_with("\t Client entries timed out after 30 seconds\n"
                                        "\t Deleting client entry: intf=12, VLAN=100, CVLAN=4095, "
                                        "MAC=02:00:00:00:00:01, xid=00000001\n"));
}

TEST_F(ClientTableTest, AFrameWithoutTransactionMovesTheTimerAndEmptiesAStaleTable)
{
    table.add(client(1, 1), 12);
    Clock::advance(20s);
    sink.take();
    table.add(client(2, 0), 12);
    EXPECT_EQ(sink.take(), "\t dhcprAddClientEntry: invalid frameXid for intf: 12\n");
    Clock::advance(20s); // 40 s after the entry, 20 s after the timer
    table.add(client(3, 3), 12);
    EXPECT_EQ(table.all().size(), 2U);
    Clock::advance(30s);
    table.add(client(4, 0), 12);
    EXPECT_TRUE(table.all().empty());
}

TEST_F(ClientTableTest, RefusesFramesWithoutMacOrVlan)
{
    ClientFrame noMac = client(1, 1);
    noMac.mac.reset();
    table.add(noMac, 12);
    EXPECT_EQ(sink.take(), "\t dhcprAddClientEntry: invalid frameMac for intf: 12\n");
    table.add(client(1, 1, 4095), 12);
    EXPECT_EQ(sink.take(), "\t dhcprAddClientEntry: invalid VLAN for intf: 12\n");
    EXPECT_TRUE(table.all().empty());

    dhcprClientInfo_t entry;
    EXPECT_FALSE(table.find(noMac, entry));
    EXPECT_EQ(sink.take(), "\t dhcprFindClientEntry: invalid frameMac\n");
    table.remove(client(1, 0));
    EXPECT_EQ(sink.take(), "\t dhcprDeleteClientEntry: invalid frameXid\n");
}

TEST_F(ClientTableTest, AFullTableLosesItsOldestEvenWhenAnotherIsReplaced)
{
    for (std::uint8_t number = 1; number <= 100; ++number)
        table.add(client(number, number), 12);
    ASSERT_EQ(table.all().size(), 100U);

    sink.take();
    table.add(client(101, 101), 12);
    EXPECT_TRUE(sink.take().starts_with("\t Deleting oldest client entry: intf=12, VLAN=100, CVLAN=4095, "
                                        "MAC=02:00:00:00:00:01, xid=00000001\n"));
    EXPECT_EQ(table.all().size(), 100U);

    table.add(client(50, 500), 12); // number 2 goes as the oldest, number 50 as the same client
    EXPECT_EQ(table.all().size(), 99U);
    EXPECT_EQ(table.all().front().xid, 3U);
    EXPECT_EQ(table.all().back().xid, 500U);
}

TEST(HistoryTime, WritesLocalTime)
{
    ::setenv("TZ", "UTC-2", 1); // two hours east
    ::tzset();
    EXPECT_EQ(HistoryTime::text(1700000000), "00:13:20 15/11/2023");
    ::unsetenv("TZ");
    ::tzset();
}
