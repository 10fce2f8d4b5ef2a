#include "wire/Arp.h"

#include "wire/Ethernet.h"

namespace wire {

std::optional<ArpPacket> readArp(ConstBytes arp)
{
    constexpr std::uint16_t ethernetHardware = 1;
    constexpr std::uint8_t ipv4Size = 4;
    if (!arp.holds(0, arpPacketSize) || arp.be16(arpHardwareType) != ethernetHardware ||
        arp.be16(arpProtocolType) != typeIpv4 || arp.u8(arpHardwareSize) != macSize ||
        arp.u8(arpProtocolSize) != ipv4Size)
        return std::nullopt;
    return ArpPacket{*arp.be16(arpOperation), macAt(arp, arpSenderMac), *arp.be32(arpSenderIp),
                     macAt(arp, arpTargetMac), *arp.be32(arpTargetIp)};
}

} // namespace wire
