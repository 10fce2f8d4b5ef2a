#pragma once

#include "relay/frame/Ipv6Frame.h"
#include "wire/Bytes.h"
#include "wire/Ipv6.h"

#include <cstdint>
#include <string>

/**
 * Read-only view on one ICMPv6 frame (RFC 4443), a copy of its own beside the DHCPv6 view, for source guard.
 *
 * It finds the IPv6 header as the other view does, with one difference that deployed nodes rely on: as outer
 * tag it crosses the wire bytes A8 88, not 88 A8. A frame with a real 802.1ad tag so has no IPv6 header here,
 * and all fields of it read as 0.
 */
class icmpV6Message final : private Ipv6Frame
{
public:
    icmpV6Message();

    using Ipv6Frame::buffer;
    using Ipv6Frame::capacity;
    using Ipv6Frame::frameInfo;
    using Ipv6Frame::load;
    using Ipv6Frame::received;
    using Ipv6Frame::receivedSize;

    using Ipv6Frame::getFrameCVlan;
    using Ipv6Frame::getFrameFullSize;
    using Ipv6Frame::getFrameSrcInterfaceId;
    using Ipv6Frame::getFrameSrcInterfaceName;
    using Ipv6Frame::getFrameVlan;
    using Ipv6Frame::isValid;

    using Ipv6Frame::getEthHeaderSize;

    // Windows, each from its header to the last byte that has come, so that nothing is read past it; empty
    // where the header has not come whole.

    wire::ConstBytes getEthHeader() const { return ethernet(); }
    wire::ConstBytes getIpHeader() const { return locateIp(); }
    /// The ICMPv6 message, up to the end that the IPv6 header claims.
    wire::ConstBytes getIcmpHeader() const
    {
        const wire::ConstBytes ip = locateIp();
        return wire::ConstBytes(ip.part(wire::ipv6FixedSize, getIpFieldLength()));
    }

    using Ipv6Frame::getFrameSize;
    using Ipv6Frame::getIpFieldCrc;
    using Ipv6Frame::getIpFieldDest;
    using Ipv6Frame::getIpFieldLength;
    using Ipv6Frame::getIpFieldNextHeader;
    using Ipv6Frame::getIpHeaderSize;

    /// Hex dump of the Ethernet frame, appended; positions count from the record.
    void dump16(std::string& out) const;

private:
    void printDhcp(std::string&, wire::ConstBytes) const override {}
};
