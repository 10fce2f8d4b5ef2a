// dhcpraMessage: the texts of the debug channels.
#include "relay/frame/FrameText.h"
#include "relay/frame/dhcpraMessage.h"
#include "wire/AddressText.h"
#include "wire/Dhcpv4.h"
#include "wire/Ipv4.h"

using namespace frame;
using namespace wire;

namespace {

void appendOptions(std::string& out, wire::ConstBytes message)
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

void dhcpraMessage::printIp(std::string& out, wire::ConstBytes header) const
{
    appendField(out, "   Total length", "%u", getIpFieldLength());
    appendField(out, "   ID", "0x%04x", header.be16(ipv4Identification).value_or(0));
    appendField(out, "   TTL", "%u", header.u8(ipv4Ttl).value_or(0));
    appendField(out, "   Protocol", "%u", header.u8(ipv4Protocol).value_or(0));
    appendField(out, "   Checksum", "0x%04x", getIpFieldCrc());
    appendField(out, "   Checksum My", "0x%04x", getRecalcIpCrc());
    appendField(out, "   SrcIP", "%s", wire::ipv4Text(header.be32(ipv4Source).value_or(0)).c_str());
    appendField(out, "   DestIP", "%s", wire::ipv4Text(getIpFieldDest()).c_str());
}

void dhcpraMessage::printDhcp(std::string& out, wire::ConstBytes header) const
{
    const auto u8 = [&](std::size_t field) { return unsigned{header.u8(field).value_or(0)}; };
    appendField(out, "   op", "%u", u8(dhcpOp));
    appendField(out, "   htype", "%u", u8(dhcpHtype));
    appendField(out, "   hlen", "%u", u8(dhcpHlen));
    appendField(out, "   hops", "%u", u8(dhcpHops));
    appendField(out, "   xid", "0x%08x", getDhcpFieldTransactId());
    appendField(out, "   secs", "%u", header.be16(dhcpSecs).value_or(0));
    appendField(out, "   flags", "0x%04x", header.be16(dhcpFlags).value_or(0));
    appendField(out, "   ciaddr", "%s", wire::ipv4Text(getDhcpFieldCiaddr()).c_str());
    appendField(out, "   yiaddr", "%s", wire::ipv4Text(getDhcpFieldYiaddr()).c_str());
    appendField(out, "   siaddr", "%s", wire::ipv4Text(getDhcpFieldSiaddr()).c_str());
    appendField(out, "   giaddr", "%s", wire::ipv4Text(getDhcpFieldRelayAgentIP()).c_str());
    appendField(out, "   chaddr", "%s", macText(header.part(dhcpChaddr, macSize)).c_str());
    appendOptions(out, message());
}
