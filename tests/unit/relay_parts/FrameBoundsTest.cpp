// Lengths that lie and frames that are cut: nothing outside of what has come is read, nothing outside of the
// buffer is written, and nothing of one frame is found in the next. For the views of both families.
#include "relay/frame/dhcpraMessage.h"
#include "relay/frame/dhcpraV6Message.h"
#include "support/Dhcpv6Frame.h"
#include "support/FrameTorture.h"

#include <algorithm>
#include <sstream>

using namespace test;

namespace {

/// Writes what a frame answers as one text.
template <typename Message>
class Observer
{
public:
    explicit Observer(const Message& of) : message(of) {}

    template <typename... Values>
    void put(const Values&... values)
    {
        ((out << values << ' '), ...);
        out << '\n';
    }
    std::ptrdiff_t at(const std::uint8_t* pointer) const
    {
        return pointer ? pointer - reinterpret_cast<const std::uint8_t*>(message.frameInfo) : -1;
    }
    std::string all()
    {
        put(message.getFrameVlan(), message.getFrameCVlan(), message.getFrameSrcInterfaceName(),
            message.getFrameSrcInterfaceId(), message.getFrameFullSize(), message.getOrigin());
        put(message.getFrameSize(), message.getIpFieldDest(), message.getIpHeaderSize(),
            message.getUdpFieldLength(), message.getDhcpHeaderSize(), message.getDhcpFieldHops(),
            message.getDhcpFieldOpcode(), message.dhcpMessageBytes().size(), message.bytesToSend().size());
        put(at(message.getEthHeader()), at(message.getIpHeader()), at(message.getUdpHeader()),
            at(message.getDhcpHeader()));
        for (unsigned number = 0; number < 256; ++number) {
            const auto code = static_cast<std::uint8_t>(number);
            if (message.getDhcpFieldOption(code) == nullptr)
                continue;
            out << number << '@' << at(message.getDhcpFieldOption(code));
            if (const auto value = message.dhcpOptionValue(code))
                for (const int byte : *value)
                    out << ' ' << byte;
            out << '\n';
        }
        put(message.isFrameValid(), message.isIpCrcValid(), message.getRecalcIpCrc(), message.isUdpCrcValid(),
            message.getRecalcUdpCrc());
        std::string text;
        message.printFrame(text);
        message.printFrameInfo(text);
        message.dump16(text, "x", static_cast<int>(message.getFrameFullSize()));
        return out.str() + text;
    }

private:
    const Message& message;
    std::ostringstream out;
};

struct V4
{
    using Message = dhcpraMessage;
    using Frame = DhcpFrame;
    using Edit = void (*)(Message&);
    using Lengths = std::vector<std::pair<std::size_t, const char*>>;
    static constexpr const char* noRecord = "dhcpraMessage::isValid(): frame_info is null.\n";

    static std::string observe(const Message& message)
    {
        std::string circuitId;
        std::string port;
        std::uint16_t vlan = 0;
        std::uint16_t cvlan = 0;
        Observer out(message);
        out.put(message.getFrameEthType(), message.getFrameCEthType(), message.isDestinationBroadcast(),
                out.at(message.getDhcpFieldChaddr()), message.getMessageType(),
                message.isAddingOpt82Possible("circuit", "remote"));
        out.put(message.parseOpt82ForCircuitId(circuitId), message.parseOpt82ForVlan(vlan),
                message.parseOpt82ForCVlan(cvlan), message.parseOpt82ForPort(port));
        out.put(circuitId, port, vlan, cvlan);
        return out.all();
    }
    static constexpr Edit edits[] = {
        [](Message& message) { message.doAddOption82(std::string(120, 'c'), std::string(120, 'r'), {}, {}); },
        [](Message& message) { message.doRemoveOption82(); },
        [](Message& message) { message.setFrameDstCVlan(200); },
        [](Message& message) { message.setFrameDstCVlan(201, 0x8100); },
        [](Message& message) { message.setFrameDstVlan(100); },
        [](Message& message) { message.setFrameDstVlan(101, 0x8100); },
        [](Message& message) { message.setEthFieldDest(macOf(1).data()); },
        [](Message& message) { message.setIpFieldDest(ip(1, 2, 3, 4)); },
        [](Message& message) { message.setUdpFieldDestPort(Message::udpPort::client); },
        [](Message& message) { message.setDhcpFieldGiaddr(ip(1, 2, 3, 4)); },
        [](Message& message) { message.setDhcpFieldMagicCookie(); },
        [](Message& message) { message.incrementDhcpFieldHops(); },
        [](Message& message) { message.setFrameDstInterfaceName("up"); },
        [](Message& message) { message.setFrameDstInterfaceIdx(3); },
        [](Message& message) { message.updateCRC(); },
    };
    /// Bytes that would make sense as options or sub-options, if somebody looked behind the end.
    static const inline std::vector<Bytes> bait{{0xFF}, {82, 2, 1, 0}, {0x81, 0x00}, {0x08, 0x00, 0x45}};

    static Frame full()
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
    static std::vector<Frame> frames()
    {
        return {full(), discover().ipOptions({1, 1, 1, 0}).option82("c").padAfterEnd(9)};
    }
    static Lengths lengths(const Frame& frame)
    {
        const auto ipHeader = frame.offsetOf(Part::ip);
        const auto udp = frame.offsetOf(Part::udp);
        const auto options = frame.offsetOf(Part::options);
        return {{ipHeader, "IP header size"},  {ipHeader + 2, "IP length, high"},
                {udp + 4, "UDP length, high"}, {ipHeader + 3, "IP length, low"},
                {udp + 5, "UDP length, low"},  {options + 1, "option 53"},
                {options + 5, "option 82"},    {options + 7, "circuit id"},
                {options + 41, "remote id"},   {options + 49, "option 51"}};
    }
};

struct V6
{
    using Message = dhcpraV6Message;
    using Frame = Dhcpv6Frame;
    using Edit = void (*)(Message&);
    static constexpr const char* noRecord = "dhcpraV6Message::isValid(): frame_info is null.\n";

    static std::string observe(const Message& message)
    {
        std::string id;
        std::string port;
        std::uint16_t vlan = 0;
        Observer out(message);
        out.put(unsigned{message.getIpFieldNextHeader()}, out.at(message.getDhcpFieldPeerAddr()),
                out.at(message.getDhcpFieldLinkLayerAddr()));
        out.put(message.parseOpt18ForInterfaceId(id), message.parseOpt18ForPort(port),
                message.parseOpt18ForVlan(vlan));
        out.put(id, port, vlan);
        return out.all();
    }
    static constexpr Edit edits[] = {
        [](Message& message) { (void)message.createRelayFwdMessage(std::string(120, 'c'), {}); },
        [](Message& message) { (void)message.addOpt37_RemoteId(std::string(120, 'r'), {}, 7731); },
        [](Message& message) { (void)message.createOriginalFromRelayRplyMessage(); },
        [](Message& message) { message.setFrameDstVlan(100); },
        [](Message& message) { message.setEthFieldDest(macOf(1).data()); },
        [](Message& message) { message.setIpFieldDest(linkLocal(9).data()); },
        [](Message& message) { message.setUdpFieldDestPort(Message::udpPort::client); },
        [](Message& message) { message.incrementDhcpFieldHops(); },
        [](Message& message) { message.setFrameDstInterfaceIdx(3); },
        [](Message& message) { message.updateCRC(); },
        [](Message& message) {
            message.backupOriginalFrame();
            (void)message.createRelayFwdMessage(std::string(300, 'c'), {});
            (void)message.addOpt37_RemoteId("", Bytes(253, 9), 1);
            message.restoreOriginalFrame();
        },
    };
    static const inline std::vector<Bytes> bait{
        {0xFF}, {0, 18, 0, 2, '/', ':'}, {0, 9, 0, 1}, {0x81, 0x00}, {0, 1, 0, 14, 0, 1}};

    static Frame full()
    {
        const Bytes inner = message6(7, {clientIdLlt(macOf(0x11)), option6(2, Bytes(14, 2))});
        return Frame(relayMessage6(13, 0, {}, linkLocal(0x11),
                                   {option6(18, "sh1 eth 99/3/2/5:100"), option6(9, inner)}))
            .on(1)
            .vlan(100)
            .ports(547, 547);
    }
    static std::vector<Frame> frames()
    {
        return {full(), solicit().vlan(100).cvlan(7).ethernetPadding(5, 0xAA)};
    }
    static V4::Lengths lengths(const Frame& frame)
    {
        const auto ipHeader = frame.offsetOf(Part::ip);
        const auto udp = frame.offsetOf(Part::udp);
        const auto dhcp = frame.offsetOf(Part::dhcp);
        return {{ipHeader + 4, "payload length, high"}, {ipHeader + 5, "payload length, low"},
                {ipHeader + 6, "next header"},          {udp + 4, "UDP length, high"},
                {udp + 5, "UDP length, low"},           {dhcp, "message type"},
                {dhcp + 36, "option 18, high"},         {dhcp + 37, "option 18, low"},
                {dhcp + 60, "option 9, high"},          {dhcp + 61, "option 9, low"},
                {dhcp + 68, "client id, high"},         {dhcp + 69, "client id, low"}};
    }
};

template <typename Family>
class Bounds : public testing::Test
{
protected:
    void torture(const Bytes& frame, const std::string& what)
    {
        if (!HasFailure())
            under.run(frame, what);
    }

    FrameTorture<typename Family::Message> under{Family::observe, Family::edits, Family::bait};
};

using Families = testing::Types<V4, V6>;
TYPED_TEST_SUITE(Bounds, Families);

} // namespace

TYPED_TEST(Bounds, FramesCutAtEveryLength)
{
    for (const auto& frame : TypeParam::frames())
        for (std::size_t length = 0; length <= frame.size(); ++length) {
            // What the bridge says about the size, once as cut and once as sent.
            auto cut = frame;
            this->torture(cut.cutTo(length).build(), "cut to " + std::to_string(length));
            Bytes whole = frame.build();
            whole.resize(length);
            this->torture(whole, "shortened to " + std::to_string(length));
        }
}

TYPED_TEST(Bounds, LengthBytesAtTheirExtremes)
{
    const auto frame = TypeParam::full();
    auto lengths = TypeParam::lengths(frame);
    lengths.insert(lengths.end(), {{48, "full_size, first"}, {49, "second"}, {51, "full_size, last"}});
    for (const bool untilTheBufferEnds : {false, true})
        for (const auto& [offset, name] : lengths)
            for (const int value : {0, 1, 2, 254, 255}) {
                auto padded = frame;
                if (untilTheBufferEnds)
                    padded.ethernetPadding(TypeParam::Message::capacity - frame.size());
                Bytes bytes = padded.build();
                bytes.at(offset) = static_cast<std::uint8_t>(value);
                this->torture(bytes, std::string(name) + " = " + std::to_string(value));
            }
}

TYPED_TEST(Bounds, AViewWithoutARecordAnswersNothingAndTakesEveryEdit)
{
    const CapturedLog log;
    typename TypeParam::Message message;
    message.frameInfo = nullptr;
    for (const auto edit : TypeParam::edits)
        edit(message);
    (void)TypeParam::observe(message);
    EXPECT_TRUE(log.has(LogImpl::debug, TypeParam::noRecord));
    EXPECT_EQ(message.getFrameVlan() & message.getFrameCVlan(), 4095);
    EXPECT_EQ(message.getFrameSrcInterfaceId() + message.getFrameFullSize(), 0u);
    EXPECT_EQ(message.getEthHeader(), nullptr);
    EXPECT_FALSE(message.isValid() || message.isFrameValid());
    EXPECT_TRUE(message.bytesToSend().empty());
}

TEST(Bounds6, MessagesThatFillTheBufferGrowNoFurther)
{
    FrameTorture<dhcpraV6Message> torture{V6::observe, V6::edits, V6::bait};
    for (const std::size_t size : {1413u, 1500u, 1800u, 1879u}) {
        Bytes message = message6(1);
        message.resize(size);
        torture.run(Dhcpv6Frame(message).build(), std::to_string(size));
    }
}

TEST(Bounds4, AShortFrameInheritsNothing)
{
    dhcpraMessage message;
    const Bytes secret(dhcpraMessage::capacity, 0xC3);
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
    message.frameInfo->full_size = 200;
    EXPECT_EQ(message.bytesToSend().size(), 200u);

    // A read that brought nothing, after one that did.
    (void)message.prepareReceive();
    message.setReceived(0);
    EXPECT_EQ(message.getEthHeader(), nullptr);
    EXPECT_EQ(message.getFrameFullSize(), 0u);
    EXPECT_FALSE(message.load(Bytes(dhcpraMessage::capacity + 1)));
}

TEST(Bounds4, WhatAnEditLeavesBehindTheFrameGoesWithIt)
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
