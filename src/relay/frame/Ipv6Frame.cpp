#include "relay/frame/Ipv6Frame.h"

#include "relay/frame/FrameText.h"
#include "wire/Udp.h"

using namespace frame;
using namespace wire;

namespace frame {

std::optional<std::uint16_t> udpChecksumOfIpv6Frame(wire::ConstBytes ip, wire::ConstBytes udp)
{
    return udpChecksumOverIpv6(ip, udp);
}

std::uint32_t dhcpv6MessageSize(std::uint16_t length)
{
    return length < udpHeaderSize ? 0 : static_cast<std::uint32_t>(length - udpHeaderSize);
}

} // namespace frame

std::uint32_t Ipv6Frame::getIpHeaderSize() const { return isValid() ? ipv6FixedSize : 0; }

std::uint8_t Ipv6Frame::getIpFieldNextHeader() const { return ip().u8(ipv6NextHeader).value_or(0); }

void Ipv6Frame::printIp(std::string& out, wire::ConstBytes header) const
{
    appendField(out, "   Payload len", "%u", getIpFieldLength());
    appendField(out, "   Protocol", "%u", getIpFieldNextHeader());
    appendField(out, "   SrcIP", "%s", ipv6Text(header.part(ipv6Source, ipv6AddressSize)).c_str());
    appendField(out, "   DestIP", "%s", ipv6Text(header.part(ipv6Destination, ipv6AddressSize)).c_str());
}
