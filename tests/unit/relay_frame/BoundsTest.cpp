// Lengths that lie and frames that are cut: nothing outside of what has come is read, nothing outside of the
// buffer is written, and nothing of one frame is found in the next.
#include "relay/frame/dhcpraMessage.h"
#include "support/DhcpFrame.h"
#include "support/FrameTorture.h"

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

using namespace test;

namespace {

std::ptrdiff_t distance(const dhcpraMessage& message, const std::uint8_t* pointer)
{
    return pointer ? pointer - reinterpret_cast<const std::uint8_t*>(message.frameInfo) : -1;
}

/// Everything that can be read from a frame, as one text.
std::string observe(const dhcpraMessage& message)
{
    std::ostringstream out;
    out << message.getFrameVlan() << ' ' << message.getFrameCVlan() << ' '
        << message.getFrameSrcInterfaceName() << ' ' << message.getFrameSrcInterfaceId() << ' '
        << message.getFrameFullSize() << ' ' << message.getFrameEthType() << ' ' << message.getFrameCEthType()
        << ' ' << message.getOrigin() << ' ' << message.isDestinationBroadcast() << '\n';
    out << distance(message, message.getEthHeader()) << ' ' << distance(message, message.getIpHeader()) << ' '
        << distance(message, message.getUdpHeader()) << ' ' << distance(message, message.getDhcpHeader())
        << ' ' << distance(message, message.getDhcpFieldChaddr()) << '\n';
    for (unsigned code = 0; code < 256; ++code) {
        const auto option = message.getDhcpFieldOption(static_cast<std::uint8_t>(code));
        if (option == nullptr)
            continue;
        out << code << '@' << distance(message, option);
        if (const auto value = message.dhcpOptionValue(static_cast<std::uint8_t>(code)))
            for (const auto byte : *value)
                out << ' ' << int{byte};
        out << '\n';
    }
    out << message.isFrameValid() << message.isIpCrcValid() << message.isUdpCrcValid() << ' '
        << message.getRecalcIpCrc() << ' ' << message.getRecalcUdpCrc() << ' ' << message.getMessageType()
        << ' ' << message.getFrameSize() << ' ' << message.getDhcpHeaderSize() << ' '
        << message.dhcpMessageBytes().size() << ' ' << message.bytesToSend().size() << ' '
        << message.isAddingOpt82Possible("circuit", "remote") << '\n';
    std::string circuitId;
    std::string port;
    std::uint16_t vlan = 0;
    std::uint16_t cvlan = 0;
    out << message.parseOpt82ForCircuitId(circuitId) << message.parseOpt82ForVlan(vlan)
        << message.parseOpt82ForCVlan(cvlan) << message.parseOpt82ForPort(port) << ' ' << circuitId << ' '
        << port << ' ' << vlan << ' ' << cvlan << '\n';
    std::string text;
    message.printFrame(text);
    message.printFrameInfo(text);
    message.dump16(text, "x", static_cast<int>(message.getFrameFullSize()));
    return out.str() + text;
}

using Edit = void (*)(dhcpraMessage&);

constexpr Edit edits[] = {
    [](dhcpraMessage& message) {
        message.doAddOption82(std::string(120, 'c'), std::string(120, 'r'), {}, {});
    },
    [](dhcpraMessage& message) { message.doRemoveOption82(); },
    [](dhcpraMessage& message) { message.setFrameDstCVlan(200); },
    [](dhcpraMessage& message) { message.setFrameDstCVlan(201, 0x8100); },
    [](dhcpraMessage& message) { message.setFrameDstVlan(100); },
    [](dhcpraMessage& message) { message.setFrameDstVlan(101, 0x8100); },
    [](dhcpraMessage& message) { message.setEthFieldDest(macOf(1).data()); },
    [](dhcpraMessage& message) { message.setIpFieldDest(ip(1, 2, 3, 4)); },
    [](dhcpraMessage& message) { message.setUdpFieldDestPort(dhcpraMessage::udpPort::client); },
    [](dhcpraMessage& message) { message.setDhcpFieldGiaddr(ip(1, 2, 3, 4)); },
    [](dhcpraMessage& message) { message.setDhcpFieldMagicCookie(); },
    [](dhcpraMessage& message) { message.incrementDhcpFieldHops(); },
    [](dhcpraMessage& message) { message.setFrameDstInterfaceName("up"); },
    [](dhcpraMessage& message) { message.setFrameDstInterfaceIdx(3); },
    [](dhcpraMessage& message) { message.updateCRC(); },
};

/// Bytes that would make sense as options or sub-options, if somebody looked behind the end.
const std::vector<Bytes> bait{{0xFF}, {82, 2, 1, 0}, {0x81, 0x00}, {0x08, 0x00, 0x45}};

DhcpFrame fullFrame()
{
    return ack()
        .on(3, "0/2/5")
        .from(macOf(9))
        .vlan(100)
        .cvlan(200)
        .giaddr(ip(10, 0, 0, 1))
        .pad(1)
        .option82("KORVANEL:sh1 eth 3/0/2/5:100:200", "remote")
        .option(51, {0, 0, 0, 9});
}

} // namespace

TEST(Bounds, FramesCutAtEveryLength)
{
    FrameTorture<dhcpraMessage> torture{observe, edits, bait};
    for (const auto& frame : {fullFrame(), discover().ipOptions({1, 1, 1, 0}).option82("c").padAfterEnd(9)})
        for (std::size_t length = 0; length <= frame.size(); ++length) {
            // What the bridge says about the size, once as cut and once as sent.
            auto cut = frame;
            torture.run(cut.cutTo(length).build(), "cut to " + std::to_string(length));
            Bytes whole = frame.build();
            whole.resize(length);
            torture.run(whole, "shortened to " + std::to_string(length));
            if (testing::Test::HasFailure())
                return;
        }
}

TEST(Bounds, LengthBytesAtTheirExtremes)
{
    const auto frame = fullFrame();
    const std::size_t options = frame.offsetOf(Part::options);
    const std::size_t ipStart = frame.offsetOf(Part::ip);
    const std::size_t udpStart = frame.offsetOf(Part::udp);
    const std::pair<std::size_t, const char*> lengths[] = {
        {ipStart, "IP header size"},       {ipStart + 2, "IP length, high"},
        {ipStart + 3, "IP length, low"},   {udpStart + 4, "UDP length, high"},
        {udpStart + 5, "UDP length, low"}, {options + 1, "option 53"},
        {options + 5, "option 82"},        {options + 7, "circuit id"},
        {options + 41, "remote id"},       {options + 49, "option 51"},
        {48, "full_size, first"},          {49, "full_size, second"},
        {51, "full_size, last"},
    };
    Bytes plain = frame.build();
    ASSERT_EQ(plain.at(options + 4), 82);
    ASSERT_EQ(plain.at(options + 40), 2);
    ASSERT_EQ(plain.at(options + 48), 51);

    FrameTorture<dhcpraMessage> torture{observe, edits, bait};
    for (const bool untilTheBufferEnds : {false, true}) {
        auto padded = frame;
        if (untilTheBufferEnds)
            padded.padAfterEnd(dhcpraMessage::capacity - frame.size());
        for (const auto& [offset, name] : lengths)
            for (const int value : {0, 1, 2, 254, 255}) {
                Bytes bytes = padded.build();
                bytes.at(offset) = static_cast<std::uint8_t>(value);
                torture.run(bytes, std::string(name) + " = " + std::to_string(value));
                if (testing::Test::HasFailure())
                    return;
            }
    }
}

TEST(Bounds, AFullSizeThatLiesIsClampedToWhatHasCome)
{
    dhcpraMessage message;
    const auto frame = discover();
    ASSERT_TRUE(message.load(frame.build()));
    for (const std::uint32_t claim : {0u, 1u, 200u, 5000u, 0xFFFFFFFFu}) {
        message.frameInfo->full_size = claim;
        EXPECT_EQ(message.bytesToSend().size(), std::min<std::size_t>(claim, frame.size()));
    }
}

TEST(Bounds, AShortFrameInheritsNothing)
{
    dhcpraMessage message;
    Bytes secret(dhcpraMessage::capacity, 0xC3);
    ASSERT_TRUE(message.load(secret));
    const auto target = message.prepareReceive();
    ASSERT_EQ(target.size(), dhcpraMessage::capacity);
    EXPECT_EQ(std::count(target.begin(), target.end(), 0xC3), 0);

    // Growing a frame that was much shorter than its predecessor.
    ASSERT_TRUE(message.load(secret));
    ASSERT_TRUE(message.load(discover().vlan(1).padAfterEnd(3).ethernetPadding(2).build()));
    message.doAddOption82("circuit", "remote", {}, {});
    message.setFrameDstCVlan(5);
    message.doRemoveOption82();
    message.doAddOption82(std::string(250, 'c'), "", {}, {});
    const auto sent = message.bytesToSend();
    EXPECT_EQ(std::count(sent.begin(), sent.end(), 0xC3), 0);

    // A read that brought nothing, after one that did.
    (void)message.prepareReceive();
    message.setReceived(0);
    EXPECT_EQ(message.getEthHeader(), nullptr);
    EXPECT_EQ(message.getFrameFullSize(), 0u);
    EXPECT_FALSE(message.load(Bytes(dhcpraMessage::capacity + 1)));
}

TEST(Bounds, WhatAnEditLeavesBehindTheFrameGoesWithIt)
{
    // A message that ends before its cookie: the new option reaches past the frame's new end, and the inner
    // tag moves it up once more.
    dhcpraMessage message;
    for (std::size_t size = 0; size < 240; ++size) {
        ASSERT_TRUE(message.load(discover().dhcpSize(size).build()));
        message.doAddOption82("circuit", "", {}, {});
        message.setFrameDstCVlan(5);
        const auto next = message.prepareReceive();
        EXPECT_EQ(std::count(next.begin(), next.end(), 0), std::ssize(next)) << size;
    }
}
