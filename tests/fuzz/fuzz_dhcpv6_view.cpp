#include "Require.h"
#include "relay/frame/dhcpraV6Message.h"
#include "relay/frame/icmpV6Message.h"
#include "support/FakeFrameOwner.h"

#include <algorithm>

namespace {

void read(const dhcpraV6Message& message)
{
    for (const int code : {0, 1, 8, 9, 18, 37, 255})
        (void)message.dhcpOptionValue(static_cast<std::uint8_t>(code));
    std::string text;
    std::uint16_t vlan = 0;
    (void)message.parseOpt18ForPort(text);
    (void)message.parseOpt18ForVlan(vlan);
    (void)message.getOrigin();
    (void)message.isUdpCrcValid();
    (void)message.getDhcpFieldLinkLayerAddr();
    message.printFrame(text);
    message.printFrameInfo(text);
    require(message.bytesToSend().size() <= message.receivedSize());
    require(message.dhcpMessageBytes().size() <= message.receivedSize());
}

/// What was wrapped comes out again, and the backup brings the frame back.
void wrapAndUnwrap(dhcpraV6Message& message, const std::string& interfaceId, const std::string& remoteId)
{
    if (!message.isFrameValid())
        return;
    const auto frame = copyOf(message.received());
    const auto inner = copyOf(message.dhcpMessageBytes());
    message.backupOriginalFrame();
    if (message.createRelayFwdMessage(interfaceId, {})) {
        require(message.dhcpOptionValue(9).has_value());
        const auto wrapped = message.dhcpMessageBytes().size();
        require(message.getUdpFieldLength() == wrapped + 8 && message.getIpFieldLength() == wrapped + 8);
        std::string seen;
        require(interfaceId.empty() ||
                (message.parseOpt18ForInterfaceId(seen) && seen == interfaceId.substr(0, 253)));
        if (message.addOpt37_RemoteId(remoteId, {}, 7731))
            require(remoteId.size() % 256 == 0 || message.getDhcpFieldOption(37) != nullptr);
        message.updateCRC();
        require(message.isUdpCrcValid());
        require(message.createOriginalFromRelayRplyMessage());
        require(copyOf(message.dhcpMessageBytes()) == inner);
    }
    message.restoreOriginalFrame();
    require(copyOf(message.received()) == frame);
}

void edit(dhcpraV6Message& message)
{
    message.setFrameDstVlan(100);
    message.incrementDhcpFieldHops();
    message.setUdpFieldDestPort(dhcpraV6Message::udpPort::client);
    if (const auto* peer = message.getDhcpFieldPeerAddr())
        message.setIpFieldDest(peer);
    (void)message.createOriginalFromRelayRplyMessage();
    if (const auto* mac = message.getDhcpFieldLinkLayerAddr())
        message.setEthFieldDest(mac);
    message.updateCRC();
}

} // namespace

/// The first two bytes: sizes of interface id and remote id, and in one of eight frames debug texts, which
/// cost more than all else; then record and frame.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static FakeFrameOwner engine;
    static dhcpraV6Message message(&engine);
    static icmpV6Message icmp;
    if (size < 2)
        return 0;
    const std::string interfaceId(data[0] * 2u, 'i');
    const std::string remoteId(data[1] * 2u, 'r');

    message.debugEnabled = data[1] % 8 == 0;
    if (message.load({data + 2, size - 2})) {
        read(message);
        require(icmp.load(message.received()));
        (void)(icmp.getIpFieldDest() + icmp.getIpFieldNextHeader() + icmp.getFrameSize() +
               icmp.getEthHeaderSize());
        wrapAndUnwrap(message, interfaceId, remoteId);
        edit(message);
        read(message);
    }
    const auto target = message.prepareReceive();
    require(std::count(target.begin(), target.end(), 0) == std::ssize(target));
    engine.text.clear();
    return 0;
}
