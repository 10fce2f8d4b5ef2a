// Debug texts: what is printed, and that nothing is formatted while nobody wants it.
#include "relay/frame/dhcpraMessage.h"
#include "support/DhcpFrame.h"
#include "support/FakeFrameOwner.h"

#include <gtest/gtest.h>

using namespace test;

namespace {

std::string printed(const dhcpraMessage& message)
{
    std::string out;
    message.printFrame(out);
    return out;
}

} // namespace

TEST(FrameText, FrameInfo)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(discover().on(7, "0/2/5").outputIndex(9).vlan(100, 5).fullSize(460).build()));
    message.setFrameDstInterfaceName("up1");
    std::string out;
    message.printFrameInfo(out);
    // The tag word stands as a little-endian machine reads it, then in host form: 5 * 8192 + 100.
    EXPECT_EQ(out, "=== Frame info ==========================\n"
                   "    full_size:      460\n"
                   "    input_dev:      0/2/5 idx: 7\n"
                   "    output_dev:     up1 idx: 9\n"
                   "    vlan_tag1_nf:   0x64a0(HF: 41060)\n"
                   "    vlan_tag2_nf:   0xff0f(HF: 4095)\n"
                   "=========================================\n");
    message.frameInfo = nullptr;
    out.clear();
    message.printFrameInfo(out);
    EXPECT_EQ(out, "=== Frame info invalid\n");
}

TEST(FrameText, Frame)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    // IP sum by hand: 4510 + 0117 + ABCD + 0000 + 4011 + 0A00 + 0001 + 0A00 + 0002 = 14608, folded 4609.
    ASSERT_TRUE(message.load(request()
                                 .from(macOf(0xAB))
                                 .unicast(macOf(1), ip(10, 0, 0, 1), ip(10, 0, 0, 2))
                                 .vlan(9)
                                 .noUdpChecksum()
                                 .xid(0xDEADBEEF)
                                 .secs(4)
                                 .broadcastFlag()
                                 .hops(2)
                                 .ciaddr(ip(10, 0, 0, 1))
                                 .yiaddr(ip(10, 0, 0, 2))
                                 .set(Part::dhcp, 20, 10)
                                 .set(Part::dhcp, 23, 3)
                                 .giaddr(ip(10, 0, 0, 4))
                                 .pad(1)
                                 .option82("ab")
                                 .spoil(Part::ip, 10, 0x12)
                                 .spoil(Part::ip, 11, 0x34)
                                 .build()));
    const std::string text = printed(message);
    const auto has = [&](const char* part) {
        EXPECT_NE(text.find(part), std::string::npos) << part << "\nis not in\n" << text;
    };
    has("[ETH] (18)\n   MAC dest     : 02:00:00:00:00:01\n   MAC src      : 02:00:00:00:00:AB\n"
        "   Type         : 0x8100\n[IP] (20)\n   Total length : 279\n   ID           : 0xabcd\n"
        "   TTL          : 64\n   Protocol     : 17\n   Checksum     : 0x1234\n   Checksum My  : 0xb9f6\n"
        "   SrcIP        : 10.0.0.1\n   DestIP       : 10.0.0.2\n[UDP] (8)\n   SrcPort      : 68\n"
        "   DestPort     : 67\n   Length       : 259\n   Checksum     : 0x0000\n   Checksum My  : 0x");
    has("[DHCP] (251)\n   op           : 1\n   htype        : 1\n   hlen         : 6\n   hops         : 2\n"
        "   xid          : 0xdeadbeef\n   secs         : 4\n   flags        : 0x8000\n"
        "   ciaddr       : 10.0.0.1\n   yiaddr       : 10.0.0.2\n   siaddr       : 10.0.0.3\n"
        "   giaddr       : 10.0.0.4\n   chaddr       : 02:00:00:00:00:AB\n"
        "   option 53 (1): 03\n   option 82 (4): 01 02 61 62\n   option 255\n");
    EXPECT_FALSE(message.isIpCrcValid());
    EXPECT_EQ(owner.text,
              "\t dhcpraMessage::isIpCrcValid(). getIpFieldCrc()=0x1234,getRecalcIpCrc()=0xb9f6\n");

    ASSERT_TRUE(message.load(discover().noEnd().rawOptions({12, 3, 'x'}).build()));
    EXPECT_TRUE(printed(message).ends_with("   option 53 (1): 01\n   option 12 (3): 78 (cut)\n"));
}

TEST(FrameText, MissingLayers)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    ASSERT_TRUE(message.load(discover().etherType(0x86DD).build()));
    EXPECT_NE(printed(message).find("[IP] NULL\n[UDP] NULL\n[DHCP] NULL\n"), std::string::npos);
    EXPECT_NE(owner.text.find("\t getIpHeader(): not an IP packet (0x86dd).\n"), std::string::npos);
    (void)message.prepareReceive();
    EXPECT_EQ(printed(message), "[ETH] NULL\n[IP] NULL\n[UDP] NULL\n[DHCP] NULL\n");

    // Each text names the missing header and who missed it.
    owner.text.clear();
    EXPECT_EQ(message.getUdpFieldLength(), 0);
    EXPECT_FALSE(message.isFrameValid());
    std::size_t at = 0;
    for (const char* part : {"dhcpraMessage::getIpHeader:", ": ethHeader NULL pointer\n",
                             "dhcpraMessage::getUdpHeader:", ": ipHeader NULL pointer\n",
                             "dhcpraMessage::getUdpFieldLength:", ": udpHeader NULL pointer\n",
                             "dhcpraMessage::isFrameValid:", ": dhcpHeader NULL pointer\n"}) {
        at = owner.text.find(part, at);
        ASSERT_NE(at, std::string::npos) << part << " in\n" << owner.text;
    }
}

TEST(FrameText, Dump)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    Bytes bytes(125, 0x11);
    bytes[107] = 0xAB;
    bytes[123] = 0x0C;
    bytes[124] = 0xFF;
    ASSERT_TRUE(message.load(bytes));
    const std::string header = "ethFrameStart =  sizeof(struct zobridge_frame_info) = 107";
    const std::string rows = "\n [in 6b]  ab 11 11 11 11 11 11 11 11 11 11 11 11 11 11 11\n [in 7b]  0c ff";
    const std::pair<int, std::string> dumps[] = {
        {9999, header + rows}, // clamped to what has come
        {125, header + rows},  {107, header}, {1, header}, {0, ""}, {-2, ""}};
    for (const auto& [size, expected] : dumps) {
        std::string out;
        owner.text.clear();
        message.dump16(out, "in", size);
        message.dump16("in", size);
        EXPECT_EQ(out, expected) << size;
        EXPECT_EQ(owner.text, expected) << size;
    }
    owner.debugWanted = false;
    owner.text.clear();
    message.dump16("in", 125);
    EXPECT_EQ(owner.text, "");
    std::string whole;
    message.dump16(whole, "in", -1);
    EXPECT_TRUE(whole.starts_with(header + rows + " 00"));
    EXPECT_EQ(whole.size(), header.size() + 1941 * 3 + (1941 + 15) / 16 * 10 + 112)
        << "the whole buffer; positions from 0x10b on have three digits";
}

TEST(FrameText, DebugTextsOfAnyLengthArriveWhole)
{
    FakeFrameOwner owner;
    for (const std::size_t length : {998u, 999u, 1000u, 1001u, 70000u}) {
        owner.text.clear();
        owner.log("%s", std::string(length, 'x').c_str());
        EXPECT_EQ(owner.text, std::string(length, 'x'));
    }
}
