// dhcpraMessage: the texts of the debug channels.
#include "common/Ipv4Text.h"
#include "relay/frame/DhcpHeader.h"
#include "relay/frame/DhcpOptions.h"
#include "relay/frame/FrameText.h"
#include "relay/frame/Ipv4Udp.h"
#include "relay/frame/dhcpraMessage.h"

#include <algorithm>

using namespace frame;

namespace {

void appendOptions(std::string& out, ConstWireBytes message)
{
    for (std::size_t at = optionsOffset; const auto code = message.u8(at);) {
        if (*code == optionPad) {
            ++at;
            continue;
        }
        if (*code == optionEnd) {
            out += "   option 255\n";
            return;
        }
        const auto value = optionValueAt(message, at);
        appendFormat(out, "   option %u (%u):", *code, message.u8(at + 1).value_or(0));
        if (value)
            appendHex(out, *value);
        const bool whole = value && value->size() == message.u8(at + 1);
        out += whole ? "\n" : " (cut)\n";
        if (!whole)
            return;
        at += 2 + value->size();
    }
}

} // namespace

void dhcpraMessage::printFrame(std::string& out) const
{
    printEthernet(out);
    printIp(out);
    printUdp(out);
    printDhcp(out);
}

void dhcpraMessage::printEthernet(std::string& out) const
{
    const ConstWireBytes header = ethernet();
    if (header.size() == 0) {
        out += "[ETH] NULL\n";
        return;
    }
    appendFormat(out, "[ETH] (%u)\n", getEthHeaderSize());
    appendField(out, "   MAC dest", "%s", macText(header.part(macDestination, macSize)).c_str());
    appendField(out, "   MAC src", "%s", macText(header.part(macSource, macSize)).c_str());
    appendField(out, "   Type", "0x%04x", header.be16(outerType).value_or(0));
}

void dhcpraMessage::printIp(std::string& out) const
{
    const ConstWireBytes header = ip();
    if (header.size() == 0) {
        out += "[IP] NULL\n";
        return;
    }
    appendFormat(out, "[IP] (%u)\n", getIpHeaderSize());
    appendField(out, "   Total length", "%u", getIpFieldLength());
    appendField(out, "   ID", "0x%04x", header.be16(ipv4Identification).value_or(0));
    appendField(out, "   TTL", "%u", header.u8(ipv4Ttl).value_or(0));
    appendField(out, "   Protocol", "%u", header.u8(ipv4Protocol).value_or(0));
    appendField(out, "   Checksum", "0x%04x", getIpFieldCrc());
    appendField(out, "   Checksum My", "0x%04x", getRecalcIpCrc());
    appendField(out, "   SrcIP", "%s", ipv4Text(header.be32(ipv4Source).value_or(0)).c_str());
    appendField(out, "   DestIP", "%s", ipv4Text(getIpFieldDest()).c_str());
}

void dhcpraMessage::printUdp(std::string& out) const
{
    const ConstWireBytes header = udp();
    if (header.size() == 0) {
        out += "[UDP] NULL\n";
        return;
    }
    appendFormat(out, "[UDP] (%u)\n", getUdpHeaderSize());
    appendField(out, "   SrcPort", "%u", header.be16(udpSourcePort).value_or(0));
    appendField(out, "   DestPort", "%u", header.be16(udpDestinationPort).value_or(0));
    appendField(out, "   Length", "%u", getUdpFieldLength());
    appendField(out, "   Checksum", "0x%04x", getUdpFieldCrc());
    appendField(out, "   Checksum My", "0x%04x", getRecalcUdpCrc());
}

void dhcpraMessage::printDhcp(std::string& out) const
{
    const ConstWireBytes header = dhcp();
    if (header.size() == 0) {
        out += "[DHCP] NULL\n";
        return;
    }
    const auto u8 = [&](std::size_t field) { return unsigned{header.u8(field).value_or(0)}; };
    appendFormat(out, "[DHCP] (%u)\n", getDhcpHeaderSize());
    appendField(out, "   op", "%u", u8(dhcpOp));
    appendField(out, "   htype", "%u", u8(dhcpHtype));
    appendField(out, "   hlen", "%u", u8(dhcpHlen));
    appendField(out, "   hops", "%u", u8(dhcpHops));
    appendField(out, "   xid", "0x%08x", getDhcpFieldTransactId());
    appendField(out, "   secs", "%u", header.be16(dhcpSecs).value_or(0));
    appendField(out, "   flags", "0x%04x", header.be16(dhcpFlags).value_or(0));
    appendField(out, "   ciaddr", "%s", ipv4Text(getDhcpFieldCiaddr()).c_str());
    appendField(out, "   yiaddr", "%s", ipv4Text(getDhcpFieldYiaddr()).c_str());
    appendField(out, "   siaddr", "%s", ipv4Text(getDhcpFieldSiaddr()).c_str());
    appendField(out, "   giaddr", "%s", ipv4Text(getDhcpFieldRelayAgentIP()).c_str());
    appendField(out, "   chaddr", "%s", macText(header.part(dhcpChaddr, macSize)).c_str());
    appendOptions(out, message());
}

void dhcpraMessage::printFrameInfo(std::string& out) const { appendFrameInfo(out, frameInfo); }

void dhcpraMessage::dump16(std::string& out, const char* prefix, int size) const
{
    constexpr int wholeBuffer = -1;
    if (frameInfo == nullptr || (size < 1 && size != wholeBuffer))
        return;
    const std::size_t shown = size == wholeBuffer ? capacity : std::min<std::size_t>(size, receivedSize());
    appendDump(out, prefix, {storage(), shown});
}

void dhcpraMessage::dump16(const char* prefix, int size) const
{
    const auto* const sink = debug();
    if (sink == nullptr)
        return;
    std::string text;
    dump16(text, prefix, size);
    sink->log("%s", text.c_str());
}
