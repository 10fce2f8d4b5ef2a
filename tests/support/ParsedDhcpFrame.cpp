#include "support/ParsedDhcpFrame.h"

#include "support/InternetSum.h"
#include "wire/Ethernet.h"
#include "wire/FrameRecord.h"

#include <algorithm>
#include <stdexcept>

namespace test {

namespace {

using wire::ConstBytes;

void require(bool condition, const std::string& what)
{
    if (!condition)
        throw std::runtime_error(what);
}

ConstBytes take(ConstBytes bytes, std::size_t offset, std::size_t count, const char* what)
{
    require(bytes.holds(offset, count), std::string(what) + " is cut");
    return ConstBytes(bytes.part(offset, count));
}

Bytes copy(std::span<const std::uint8_t> bytes) { return {bytes.begin(), bytes.end()}; }

} // namespace

ParsedDhcpFrame::ParsedDhcpFrame(std::span<const std::uint8_t> all)
{
    const auto record = wire::readRecord(ConstBytes(all));
    require(record.has_value(), "record is cut");
    recordOuter = ntohs(record->vlan_tag1_nf);
    recordInner = ntohs(record->vlan_tag2_nf);
    outputIndex = record->output_dev_idx;
    outputName = wire::recordName(record->output_dev);
    require(record->full_size == all.size(), "full_size " + std::to_string(record->full_size) + " of " +
                                                 std::to_string(all.size()) + " bytes");

    const ConstBytes ethernet(all.subspan(recordSize));
    const auto behind = wire::crossTagsWhile(ethernet, [&](std::uint16_t protocol, std::size_t position) {
        const bool tag = protocol == 0x8100 || protocol == 0x88A8;
        if (tag)
            tags.emplace_back(protocol, wire::tagControlAt(ethernet, position));
        return tag;
    });
    require(behind.type == 0x0800, "no IPv4 packet behind the tags");
    destination = wire::macAt(ethernet, 0);
    source = wire::macAt(ethernet, 6);
    readIpPacket(ethernet.part(behind.payload, ethernet.size()));
    readDhcp();
}

void ParsedDhcpFrame::readIpPacket(std::span<const std::uint8_t> bytes)
{
    const ConstBytes packet(bytes);
    take(packet, 0, 20, "IP header");
    const std::size_t headerSize = (*packet.u8(0) & 0x0Fu) * 4u;
    const std::size_t totalLength = *packet.be16(2);
    require(*packet.u8(0) >> 4 == 4 && headerSize >= 20, "IP version or header size");
    require(headerSize <= totalLength, "IP header longer than the packet");
    const ConstBytes datagram = take(packet, 0, totalLength, "IP packet");
    InternetSum ipSum;
    ipSum.add(datagram.part(0, headerSize));
    ipSumRight = ipSum.folded() == 0xFFFF;
    destinationIp = *datagram.be32(16);

    const ConstBytes udp(datagram.part(headerSize, totalLength));
    take(udp, 0, 8, "UDP header");
    destinationPort = *udp.be16(2);
    require(udp.be16(4) == udp.size(), "UDP length " + std::to_string(*udp.be16(4)) +
                                           " in an IP payload of " + std::to_string(udp.size()) + " bytes");
    const auto sum = udpSum(datagram.part(12, 8), *udp.be16(4), udp.part(0, udp.size()));
    udpSumRight = udp.be16(6) == 0 || sum.folded() == 0xFFFF;
    dhcp = copy(udp.part(8, udp.size()));
}

void ParsedDhcpFrame::readDhcp()
{
    const ConstBytes message{std::span<const std::uint8_t>(dhcp)};
    take(message, 0, 240, "DHCP header");
    require(message.be32(236) == 0x63825363U, "magic cookie");
    std::size_t at = 240;
    const auto next = [&](const char* what) { return *take(message, at++, 1, what).u8(0); };
    for (std::uint8_t code = 0; (code = next("option area without End")) != 255;) {
        if (code == 0)
            continue;
        const std::size_t length = next("option length");
        options.emplace_back(code, copy(take(message, at, length, "option value").part(0, length)));
        at += length;
    }
    behindEnd = copy(message.part(at, message.size()));
    opcode = *message.u8(0);
    hops = *message.u8(3);
    xid = *message.be32(4);
    flags = *message.be16(10);
    giaddr = *message.be32(24);
}

std::optional<Bytes> ParsedDhcpFrame::option(std::uint8_t code) const
{
    const auto found = std::ranges::find(options, code, &std::pair<std::uint8_t, Bytes>::first);
    return found == options.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> ParsedDhcpFrame::subOption82(std::uint8_t code) const
{
    const Bytes value = option(82).value_or(Bytes());
    const ConstBytes area{std::span<const std::uint8_t>(value)};
    for (std::size_t at = 0; area.holds(at, 2); at += 2u + *area.u8(at + 1)) {
        const auto field = take(area, at + 2, *area.u8(at + 1), "sub-option value");
        if (area.u8(at) == code)
            return std::string(field.data(), field.data() + field.size());
    }
    return std::nullopt;
}

} // namespace test
