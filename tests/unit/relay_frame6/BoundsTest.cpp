// Lengths that lie and frames that are cut: nothing outside of what has come is read, nothing outside of the
// buffer is written, and nothing of one frame is found in the next.
#include "relay/frame/dhcpraV6Message.h"
#include "support/Dhcpv6Frame.h"
#include "support/FrameTorture.h"

#include <sstream>

using namespace test;

namespace {

/// Everything that can be read from a frame, as one text.
std::string observe(const dhcpraV6Message& message)
{
    const auto distance = [&](const std::uint8_t* pointer) {
        return pointer ? pointer - reinterpret_cast<const std::uint8_t*>(message.frameInfo) : -1;
    };
    std::ostringstream out;
    out << message.getFrameVlan() << ' ' << message.getFrameCVlan() << ' ' << message.getOrigin() << ' '
        << message.getFrameSize() << ' ' << message.getIpFieldDest() << ' '
        << unsigned{message.getIpFieldNextHeader()} << ' ' << message.getUdpFieldLength() << ' '
        << message.getDhcpHeaderSize() << ' ' << message.dhcpMessageBytes().size() << ' '
        << message.bytesToSend().size() << '\n';
    out << distance(message.getEthHeader()) << ' ' << distance(message.getIpHeader()) << ' '
        << distance(message.getUdpHeader()) << ' ' << distance(message.getDhcpHeader()) << ' '
        << distance(message.getDhcpFieldPeerAddr()) << ' ' << distance(message.getDhcpFieldLinkLayerAddr())
        << '\n';
    for (unsigned code = 0; code < 48; ++code) {
        if (message.getDhcpFieldOption(static_cast<std::uint8_t>(code)) == nullptr)
            continue;
        out << code << '@' << distance(message.getDhcpFieldOption(static_cast<std::uint8_t>(code)));
        if (const auto value = message.dhcpOptionValue(static_cast<std::uint8_t>(code)))
            for (const auto byte : *value)
                out << ' ' << int{byte};
        out << '\n';
    }
    std::string id;
    std::string port;
    std::uint16_t vlan = 0;
    out << message.isFrameValid() << message.isUdpCrcValid() << message.getRecalcUdpCrc()
        << message.parseOpt18ForInterfaceId(id) << message.parseOpt18ForPort(port)
        << message.parseOpt18ForVlan(vlan) << id << ' ' << port << ' ' << vlan << '\n';
    std::string text;
    message.printFrame(text);
    message.printFrameInfo(text);
    message.dump16(text, "x", static_cast<int>(message.getFrameFullSize()));
    return out.str() + text;
}

using Edit = void (*)(dhcpraV6Message&);

constexpr Edit edits[] = {
    [](dhcpraV6Message& message) { (void)message.createRelayFwdMessage(std::string(120, 'c'), {}); },
    [](dhcpraV6Message& message) { (void)message.addOpt37_RemoteId(std::string(120, 'r'), {}, 7731); },
    [](dhcpraV6Message& message) { (void)message.createOriginalFromRelayRplyMessage(); },
    [](dhcpraV6Message& message) { message.setFrameDstVlan(100); },
    [](dhcpraV6Message& message) { message.setEthFieldDest(macOf(1).data()); },
    [](dhcpraV6Message& message) { message.setIpFieldDest(linkLocal(9).data()); },
    [](dhcpraV6Message& message) { message.setUdpFieldDestPort(dhcpraV6Message::udpPort::client); },
    [](dhcpraV6Message& message) { message.incrementDhcpFieldHops(); },
    [](dhcpraV6Message& message) { message.setFrameDstInterfaceIdx(3); },
    [](dhcpraV6Message& message) { message.updateCRC(); },
    [](dhcpraV6Message& message) {
        message.backupOriginalFrame();
        (void)message.createRelayFwdMessage(std::string(300, 'c'), {});
        (void)message.addOpt37_RemoteId("", Bytes(253, 9), 1);
        message.restoreOriginalFrame();
    },
};

/// Options, tags and an IPv6 header, for whoever looks behind the end.
const std::vector<Bytes> bait{
    {0xFF}, {0, 18, 0, 2, '/', ':'}, {0, 9, 0, 1}, {0x81, 0x00}, {0, 1, 0, 14, 0, 1}};

using Torture = FrameTorture<dhcpraV6Message>;

Dhcpv6Frame reply()
{
    const Bytes inner = message6(7, {clientIdLlt(macOf(0x11)), option6(2, Bytes(14, 2))});
    return Dhcpv6Frame(relayMessage6(13, 0, {}, linkLocal(0x11),
                                     {option6(18, "sh1 eth 99/3/2/5:100"), option6(9, inner)}))
        .on(1)
        .vlan(100)
        .ports(547, 547);
}

} // namespace

TEST(Bounds6, FramesCutAtEveryLength)
{
    Torture torture{observe, edits, bait};
    for (const auto& frame : {reply(), solicit().vlan(100).cvlan(7).ethernetPadding(5, 0xAA)})
        for (std::size_t length = 0; length <= frame.size(); ++length) {
            auto cut = frame;
            torture.run(cut.cutTo(length).build(), "cut to " + std::to_string(length));
            Bytes whole = frame.build();
            whole.resize(length);
            torture.run(whole, "shortened to " + std::to_string(length));
            if (testing::Test::HasFailure())
                return;
        }
}

TEST(Bounds6, LengthBytesAtTheirExtremes)
{
    const auto frame = reply();
    const std::size_t dhcp = frame.offsetOf(Part::dhcp);
    const std::pair<std::size_t, const char*> lengths[] = {
        {frame.offsetOf(Part::ip) + 4, "payload length, high"},
        {frame.offsetOf(Part::ip) + 5, "payload length, low"},
        {frame.offsetOf(Part::ip) + 6, "next header"},
        {frame.offsetOf(Part::udp) + 4, "UDP length, high"},
        {frame.offsetOf(Part::udp) + 5, "UDP length, low"},
        {dhcp, "message type"},
        {dhcp + 36, "option 18, high"},
        {dhcp + 37, "option 18, low"},
        {dhcp + 60, "option 9, high"},
        {dhcp + 61, "option 9, low"},
        {dhcp + 68, "client id, high"},
        {dhcp + 69, "client id, low"},
        {48, "full_size, first"},
        {51, "full_size, last"},
    };
    const Bytes plain = frame.build();
    ASSERT_EQ(plain.at(dhcp + 35), 18);
    ASSERT_EQ(plain.at(dhcp + 59), 9);
    ASSERT_EQ(plain.at(dhcp + 67), 1);

    Torture torture{observe, edits, bait};
    for (const bool untilTheBufferEnds : {false, true})
        for (const auto& [offset, name] : lengths)
            for (const int value : {0, 1, 2, 254, 255}) {
                auto padded = frame;
                if (untilTheBufferEnds)
                    padded.ethernetPadding(dhcpraV6Message::capacity - frame.size());
                Bytes bytes = padded.build();
                bytes.at(offset) = static_cast<std::uint8_t>(value);
                torture.run(bytes, std::string(name) + " = " + std::to_string(value));
                if (testing::Test::HasFailure())
                    return;
            }
}

TEST(Bounds6, MessagesThatFillTheBufferGrowNoFurther)
{
    Torture torture{observe, edits, bait};
    for (const std::size_t size : {1413u, 1500u, 1800u, 1879u}) {
        Bytes message = message6(1);
        message.resize(size);
        torture.run(Dhcpv6Frame(message).build(), std::to_string(size));
    }
}
