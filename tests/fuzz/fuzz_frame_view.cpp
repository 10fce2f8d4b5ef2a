#include "Require.h"
#include "relay/frame/dhcpraMessage.h"
#include "support/FakeFrameOwner.h"

#include <algorithm>

namespace {

/// Knows the line and the PVC of the seeds and wants every debug text.
class Engine : public FakeFrameOwner
{
public:
    Engine()
    {
        add(1, "0/4", Interfaces::interfaceType::subscriber);
        add(2, "0/4/1", Interfaces::interfaceType::pvc);
        interfaces.setCircuitIdModeATMParams(2, 1, 8, 35);
    }
};

void read(const dhcpraMessage& message)
{
    for (const int code : {0, 12, 53, 55, 82, 254, 255})
        (void)message.dhcpOptionValue(static_cast<std::uint8_t>(code));
    std::string text;
    std::uint16_t vlan = 0;
    (void)message.parseOpt82ForVlan(vlan);
    (void)message.parseOpt82ForCVlan(vlan);
    (void)message.parseOpt82ForPort(text);
    (void)message.getOrigin();
    (void)message.isDestinationBroadcast();
    (void)message.isIpCrcValid();
    (void)message.isUdpCrcValid();
    message.printFrame(text);
    message.printFrameInfo(text);
    message.dump16(text, "", static_cast<int>(message.getFrameFullSize()));
    require(message.bytesToSend().size() <= message.receivedSize());
    require(message.dhcpMessageBytes().size() <= message.receivedSize());
}

/// An option that was put into a valid message comes out of it again without a trace.
void addAndRemove(dhcpraMessage& message, const std::string& circuitId, const std::string& remoteId)
{
    // An IP header that claims less than its fixed part lies over UDP, where lengths and sums change each
    // other.
    if (!message.isFrameValid() || message.isOpt82Present() || message.getIpHeaderSize() < 20)
        return;
    const auto before = copyOf(message.dhcpMessageBytes());
    message.doAddOption82(circuitId, remoteId, {}, {});
    if (!message.addOk)
        return;
    require(message.isFrameValid());
    message.updateCRC();
    require(message.isIpCrcValid() && message.isUdpCrcValid());
    if (!circuitId.empty()) {
        std::string seen;
        require(message.parseOpt82ForCircuitId(seen) && seen == circuitId.substr(0, 253));
    }
    message.doRemoveOption82();
    require(message.removeOk && !message.isOpt82Present());
    require(copyOf(message.dhcpMessageBytes()) == before);
}

void edit(dhcpraMessage& message, const std::string& circuitId, const std::string& remoteId)
{
    message.doRemoveOption82();
    message.setFrameDstVlan(100);
    message.setFrameDstCVlan(200);
    message.setFrameDstCVlan(201, 0x8100);
    message.doAddOption82(circuitId, remoteId, {}, {});
    message.incrementDhcpFieldHops();
    message.setDhcpFieldGiaddr(0x0A000001);
    message.setUdpFieldDestPort(dhcpraMessage::udpPort::client);
    message.setIpFieldDest(0xFFFFFFFF);
    message.updateCRC();
}

} // namespace

/// The first two bytes: sizes of circuit id and remote id; then record and frame.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Engine engine;
    static dhcpraMessage message(&engine);
    if (size < 2)
        return 0;
    const std::string circuitId(data[0] * 2u, 'c');
    const std::string remoteId(data[1] * 2u, 'r');
    const std::span<const std::uint8_t> frame(data + 2, size - 2);

    if (message.load(frame)) {
        read(message);
        addAndRemove(message, circuitId, remoteId);
        (void)message.load(frame);
        edit(message, circuitId, remoteId);
        read(message);
    }
    const auto target = message.prepareReceive();
    require(std::count(target.begin(), target.end(), 0) == std::ssize(target));
    engine.text.clear();
    return 0;
}
