#include "support/ParsedDhcpFrame.h"

#include "support/InternetSum.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace test {

namespace {

using View = std::span<const std::uint8_t>;

void require(bool condition, const std::string& what)
{
    if (!condition)
        throw std::runtime_error(what);
}

View take(View bytes, std::size_t offset, std::size_t count, const char* what)
{
    require(offset <= bytes.size() && count <= bytes.size() - offset, std::string(what) + " is cut");
    return bytes.subspan(offset, count);
}

std::uint16_t be16(View bytes, std::size_t offset)
{
    return static_cast<std::uint16_t>(bytes[offset] * 256 + bytes[offset + 1]);
}

std::uint32_t be32(View bytes, std::size_t offset)
{
    return std::uint32_t{be16(bytes, offset)} << 16 | be16(bytes, offset + 2);
}

template <typename T>
T host(View bytes, std::size_t offset)
{
    T value;
    std::memcpy(&value, &bytes[offset], sizeof value);
    return value;
}

std::string name(View field)
{
    const auto end = std::find(field.begin(), field.end(), 0);
    return {field.begin(), end};
}

Mac macAt(View bytes, std::size_t offset)
{
    Mac mac;
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), mac.size(), mac.begin());
    return mac;
}

Bytes copy(View bytes) { return {bytes.begin(), bytes.end()}; }

} // namespace

std::vector<std::pair<std::uint8_t, Bytes>> optionsOf(View dhcpMessage, Bytes* behindEnd)
{
    std::vector<std::pair<std::uint8_t, Bytes>> options;
    take(dhcpMessage, 0, 240, "DHCP header");
    std::size_t at = 240;
    for (;;) {
        const std::uint8_t code = take(dhcpMessage, at, 1, "option area without End")[0];
        ++at;
        if (code == 255)
            break;
        if (code == 0)
            continue;
        const std::size_t length = take(dhcpMessage, at, 1, "option length")[0];
        options.emplace_back(code, copy(take(dhcpMessage, at + 1, length, "option value")));
        at += 1 + length;
    }
    if (behindEnd)
        *behindEnd = copy(dhcpMessage.subspan(at));
    return options;
}

ParsedDhcpFrame::ParsedDhcpFrame(View all)
{
    const View record = take(all, 0, recordSize, "record");
    recordOuter = be16(record, 4);
    recordInner = be16(record, 6);
    fullSize = host<std::uint32_t>(record, 48);
    inputIndex = host<std::uint16_t>(record, 52);
    outputIndex = host<std::uint16_t>(record, 54);
    inputName = name(record.subspan(74, 16));
    outputName = name(record.subspan(90, 16));
    require(fullSize == all.size(),
            "full_size " + std::to_string(fullSize) + " of " + std::to_string(all.size()) + " bytes");

    const View ethernet = all.subspan(recordSize);
    take(ethernet, 0, 14, "Ethernet header");
    destination = macAt(ethernet, 0);
    source = macAt(ethernet, 6);
    std::size_t at = 12;
    while (be16(take(ethernet, at, 2, "Ethernet type"), 0) != 0x0800) {
        const View tag = take(ethernet, at, 4, "VLAN tag");
        require(be16(tag, 0) == 0x8100 || be16(tag, 0) == 0x88A8, "unknown Ethernet type");
        tags.emplace_back(be16(tag, 0), be16(tag, 2));
        at += 4;
    }
    const View packet = ethernet.subspan(at + 2);

    take(packet, 0, 20, "IP header");
    const std::size_t headerSize = (packet[0] & 0x0Fu) * 4u;
    const std::size_t totalLength = be16(packet, 2);
    require(packet[0] >> 4 == 4 && headerSize >= 20, "IP version or header size");
    require(headerSize <= totalLength, "IP header longer than the packet");
    const View datagram = take(packet, 0, totalLength, "IP packet");
    ethernetPadding = copy(packet.subspan(totalLength));
    InternetSum ipSum;
    ipSum.add(datagram.first(headerSize));
    ipSumRight = ipSum.folded() == 0xFFFF;
    sourceIp = be32(datagram, 12);
    destinationIp = be32(datagram, 16);

    const View udp = datagram.subspan(headerSize);
    take(udp, 0, 8, "UDP header");
    sourcePort = be16(udp, 0);
    destinationPort = be16(udp, 2);
    require(be16(udp, 4) == udp.size(), "UDP length " + std::to_string(be16(udp, 4)) +
                                            " in an IP payload of " + std::to_string(udp.size()) + " bytes");
    udpSummed = be16(udp, 6) != 0;
    InternetSum udpSum;
    udpSum.add(datagram.subspan(12, 8));
    udpSum.addWord(datagram[9]);
    udpSum.addWord(be16(udp, 4));
    udpSum.add(udp);
    udpSumRight = !udpSummed || udpSum.folded() == 0xFFFF;

    dhcp = copy(udp.subspan(8));
    options = optionsOf(dhcp, &behindEnd);
    require(be32(dhcp, 236) == 0x63825363, "magic cookie");
    opcode = dhcp[0];
    hops = dhcp[3];
    xid = be32(dhcp, 4);
    flags = be16(dhcp, 10);
    ciaddr = be32(dhcp, 12);
    yiaddr = be32(dhcp, 16);
    siaddr = be32(dhcp, 20);
    giaddr = be32(dhcp, 24);
    chaddr = macAt(dhcp, 28);
}

std::optional<Bytes> ParsedDhcpFrame::option(std::uint8_t code) const
{
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&](const auto& option) { return option.first == code; });
    if (found == options.end())
        return std::nullopt;
    return found->second;
}

std::optional<std::string> ParsedDhcpFrame::subOption82(std::uint8_t code) const
{
    const auto value = option(82);
    if (!value)
        return std::nullopt;
    for (std::size_t at = 0; at + 2 <= value->size();) {
        const View field = take(*value, at + 2, (*value)[at + 1], "sub-option value");
        if ((*value)[at] == code)
            return std::string(field.begin(), field.end());
        at += 2 + field.size();
    }
    return std::nullopt;
}

} // namespace test
