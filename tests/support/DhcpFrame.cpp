#include "support/DhcpFrame.h"

#include "support/InternetSum.h"
#include "support/PutBytes.h"

#include <algorithm>
#include <stdexcept>

namespace test {

namespace {

constexpr std::size_t ipFixedSize = 20;
constexpr std::size_t udpSize = 8;
constexpr std::size_t dhcpFixedSize = 236;

} // namespace

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

DhcpFrame::DhcpFrame(std::uint8_t messageType, bool fromServer)
    : sourcePort(fromServer ? 67 : 68), destinationPort(fromServer ? 68 : 67), op(fromServer ? 2 : 1)
{
    option(53, Bytes{messageType});
}

DhcpFrame discover() { return DhcpFrame(1, false); }
DhcpFrame offer() { return DhcpFrame(2, true); }
DhcpFrame request() { return DhcpFrame(3, false); }
DhcpFrame decline() { return DhcpFrame(4, false); }
DhcpFrame ack() { return DhcpFrame(5, true); }
DhcpFrame nak() { return DhcpFrame(6, true); }
DhcpFrame release() { return DhcpFrame(7, false); }
DhcpFrame inform() { return DhcpFrame(8, false); }

// Record

DhcpFrame& DhcpFrame::on(std::uint16_t interfaceId, std::string_view interfaceName)
{
    inputIndex = interfaceId;
    inputName = interfaceName;
    return *this;
}

DhcpFrame& DhcpFrame::outputIndex(std::uint16_t interfaceId)
{
    outputIndexValue = interfaceId;
    return *this;
}

DhcpFrame& DhcpFrame::fullSize(std::uint32_t claimed)
{
    claimedFullSize = claimed;
    return *this;
}

DhcpFrame& DhcpFrame::recordTags(std::uint16_t outer, std::uint16_t inner)
{
    recordOuter = outer;
    recordInner = inner;
    return *this;
}

// Ethernet

DhcpFrame& DhcpFrame::from(const Mac& mac) { return sourceMac(mac).chaddr(mac); }

DhcpFrame& DhcpFrame::sourceMac(const Mac& mac)
{
    source = mac;
    return *this;
}

DhcpFrame& DhcpFrame::to(const Mac& mac)
{
    destination = mac;
    return *this;
}

DhcpFrame& DhcpFrame::vlan(std::uint16_t id, std::uint8_t priority, std::uint16_t protocol)
{
    recordOuter = static_cast<std::uint16_t>(priority << 13 | id);
    return tag(protocol, recordOuter);
}

DhcpFrame& DhcpFrame::cvlan(std::uint16_t id, std::uint8_t priority, std::uint16_t protocol)
{
    recordInner = static_cast<std::uint16_t>(priority << 13 | id);
    return tag(protocol, recordInner);
}

DhcpFrame& DhcpFrame::tag(std::uint16_t protocol, std::uint16_t control)
{
    tags.push_back({protocol, control});
    return *this;
}

DhcpFrame& DhcpFrame::etherType(std::uint16_t value)
{
    type = value;
    return *this;
}

DhcpFrame& DhcpFrame::ethernetPadding(std::size_t count, std::uint8_t value)
{
    padding.assign(count, value);
    return *this;
}

// IP and UDP

DhcpFrame& DhcpFrame::sourceIp(std::uint32_t address)
{
    sourceAddress = address;
    return *this;
}

DhcpFrame& DhcpFrame::destinationIp(std::uint32_t address)
{
    destinationAddress = address;
    return *this;
}

DhcpFrame& DhcpFrame::ipOptions(const Bytes& bytes)
{
    if (bytes.size() % 4 != 0)
        throw std::invalid_argument("IP options come in words of 4 bytes");
    ipOptionBytes = bytes;
    return *this;
}

DhcpFrame& DhcpFrame::ipHeaderWords(std::uint8_t claimed)
{
    claimedHeaderWords = claimed;
    return *this;
}

DhcpFrame& DhcpFrame::ipLength(std::uint16_t claimed)
{
    claimedIpLength = claimed;
    return *this;
}

DhcpFrame& DhcpFrame::ports(std::uint16_t from, std::uint16_t to)
{
    sourcePort = from;
    destinationPort = to;
    return *this;
}

DhcpFrame& DhcpFrame::udpLength(std::uint16_t claimed)
{
    claimedUdpLength = claimed;
    return *this;
}

DhcpFrame& DhcpFrame::noUdpChecksum()
{
    udpSummed = false;
    return *this;
}

DhcpFrame& DhcpFrame::wrongUdpChecksum()
{
    udpSumRight = false;
    return *this;
}

DhcpFrame& DhcpFrame::wrongIpChecksum()
{
    ipSumRight = false;
    return *this;
}

DhcpFrame& DhcpFrame::unicast(const Mac& mac, std::uint32_t from, std::uint32_t to_)
{
    return to(mac).sourceIp(from).destinationIp(to_);
}

// DHCP header

DhcpFrame& DhcpFrame::opcode(std::uint8_t value)
{
    op = value;
    return *this;
}

DhcpFrame& DhcpFrame::hops(std::uint8_t value)
{
    hopCount = value;
    return *this;
}

DhcpFrame& DhcpFrame::xid(std::uint32_t value)
{
    transaction = value;
    return *this;
}

DhcpFrame& DhcpFrame::secs(std::uint16_t value)
{
    seconds = value;
    return *this;
}

DhcpFrame& DhcpFrame::flags(std::uint16_t value)
{
    flagWord = value;
    return *this;
}

DhcpFrame& DhcpFrame::ciaddr(std::uint32_t address)
{
    clientAddress = address;
    return *this;
}

DhcpFrame& DhcpFrame::yiaddr(std::uint32_t address)
{
    yourAddress = address;
    return *this;
}

DhcpFrame& DhcpFrame::siaddr(std::uint32_t address)
{
    serverAddress = address;
    return *this;
}

DhcpFrame& DhcpFrame::giaddr(std::uint32_t address)
{
    gatewayAddress = address;
    return *this;
}

DhcpFrame& DhcpFrame::chaddr(const Mac& mac)
{
    hardware = mac;
    return *this;
}

DhcpFrame& DhcpFrame::cookie(const std::array<std::uint8_t, 4>& bytes)
{
    cookieBytes = bytes;
    return *this;
}

// Options

DhcpFrame& DhcpFrame::option(std::uint8_t code, const Bytes& value)
{
    if (value.size() > 255)
        throw std::invalid_argument("an option value holds 255 bytes");
    put8(options, code);
    put8(options, value.size());
    putAll(options, value);
    return *this;
}

DhcpFrame& DhcpFrame::option(std::uint8_t code, std::string_view value)
{
    return option(code, bytesOf(value));
}

DhcpFrame& DhcpFrame::option82(std::string_view circuitId, std::string_view remoteId)
{
    Bytes value;
    const auto subOption = [&](std::uint8_t code, std::string_view text) {
        if (text.empty())
            return;
        put8(value, code);
        put8(value, text.size());
        putAll(value, text);
    };
    subOption(1, circuitId);
    subOption(2, remoteId);
    return option(82, value);
}

DhcpFrame& DhcpFrame::option82(std::initializer_list<std::pair<std::uint8_t, Bytes>> subOptions)
{
    Bytes value;
    for (const auto& [code, bytes] : subOptions) {
        put8(value, code);
        put8(value, bytes.size());
        putAll(value, bytes);
    }
    return option(82, value);
}

DhcpFrame& DhcpFrame::pad(std::size_t count) { return rawOptions(Bytes(count, 0)); }

DhcpFrame& DhcpFrame::rawOptions(const Bytes& bytes)
{
    putAll(options, bytes);
    return *this;
}

DhcpFrame& DhcpFrame::noOptions()
{
    options.clear();
    return *this;
}

DhcpFrame& DhcpFrame::noEnd()
{
    ended = false;
    return *this;
}

DhcpFrame& DhcpFrame::padAfterEnd(std::size_t count)
{
    padsBehindEnd = count;
    return *this;
}

DhcpFrame& DhcpFrame::dhcpSize(std::size_t exactly)
{
    exactDhcpSize = exactly;
    return *this;
}

// Damage

DhcpFrame& DhcpFrame::set(Part part, std::size_t offset, std::uint8_t value)
{
    earlyPatches.push_back({part, offset, value});
    return *this;
}

DhcpFrame& DhcpFrame::spoil(Part part, std::size_t offset, std::uint8_t value)
{
    latePatches.push_back({part, offset, value});
    return *this;
}

DhcpFrame& DhcpFrame::cutTo(std::size_t count)
{
    cut = count;
    return *this;
}

// Results

std::size_t DhcpFrame::offsetOf(Part part) const
{
    const std::size_t ipStart = recordSize + 14 + tags.size() * 4;
    const std::size_t udpStart = ipStart + ipFixedSize + ipOptionBytes.size();
    switch (part) {
    case Part::record:
        return 0;
    case Part::ethernet:
        return recordSize;
    case Part::ip:
        return ipStart;
    case Part::udp:
        return udpStart;
    case Part::dhcp:
        return udpStart + udpSize;
    case Part::options:
        return udpStart + udpSize + dhcpFixedSize + cookieBytes.size();
    }
    throw std::invalid_argument("no such part");
}

Bytes DhcpFrame::dhcpMessage() const
{
    Bytes out{op, 1, 6, hopCount};
    put32(out, transaction);
    put16(out, seconds);
    put16(out, flagWord);
    put32(out, clientAddress);
    put32(out, yourAddress);
    put32(out, serverAddress);
    put32(out, gatewayAddress);
    putAll(out, hardware);
    out.resize(dhcpFixedSize); // rest of chaddr, sname and file
    putAll(out, cookieBytes);
    putAll(out, options);
    if (ended)
        put8(out, 255);
    out.resize(out.size() + padsBehindEnd);
    if (exactDhcpSize)
        out.resize(*exactDhcpSize);
    return out;
}

Bytes DhcpFrame::ipPacket(const Bytes& dhcp) const
{
    const std::size_t headerSize = ipFixedSize + ipOptionBytes.size();
    Bytes out;
    put8(out, 0x40u | claimedHeaderWords.value_or(static_cast<std::uint8_t>(headerSize / 4)));
    put8(out, 0x10); // low delay, as clients send it
    put16(out, claimedIpLength.value_or(static_cast<std::uint16_t>(headerSize + udpSize + dhcp.size())));
    put32(out, 0xABCD0000); // identification, no fragment
    put8(out, 64);
    put8(out, 17);
    put16(out, 0); // sum, later
    put32(out, sourceAddress);
    put32(out, destinationAddress);
    putAll(out, ipOptionBytes);
    put16(out, sourcePort);
    put16(out, destinationPort);
    put16(out, claimedUdpLength.value_or(static_cast<std::uint16_t>(udpSize + dhcp.size())));
    put16(out, 0);
    putAll(out, dhcp);
    return out;
}

void DhcpFrame::apply(const std::vector<Patch>& patches, Bytes& out) const
{
    for (const auto& patch : patches)
        out.at(offsetOf(patch.part) + patch.offset) = patch.value;
}

void DhcpFrame::writeSums(Bytes& out) const
{
    const std::span<const std::uint8_t> all(out);
    const std::size_t ipStart = offsetOf(Part::ip);
    const std::size_t udpStart = offsetOf(Part::udp);

    InternetSum ipSum;
    ipSum.add(all.subspan(ipStart, udpStart - ipStart));
    set16(out, ipStart + 10, ipSum.checksum());
    if (!ipSumRight)
        out[ipStart + 11] ^= 0x01;

    if (!udpSummed)
        return;
    const auto udpClaim = static_cast<std::uint16_t>(out[udpStart + 4] << 8 | out[udpStart + 5]);
    InternetSum udpSum;
    udpSum.add(all.subspan(ipStart + 12, 8));
    udpSum.addWord(out[ipStart + 9]);
    udpSum.addWord(udpClaim);
    udpSum.add(all.subspan(udpStart, std::min<std::size_t>(udpClaim, out.size() - udpStart)));
    set16(out, udpStart + 6, udpSum.checksum());
    if (!udpSumRight)
        out[udpStart + 7] ^= 0x01;
}

Bytes DhcpFrame::build() const
{
    Bytes out(recordSize);
    set16(out, 4, recordOuter);
    set16(out, 6, recordInner);
    setHost(out, 52, inputIndex);
    setHost(out, 54, outputIndexValue);
    std::copy_n(inputName.begin(), std::min<std::size_t>(inputName.size(), 16), out.begin() + 74);

    putAll(out, destination);
    putAll(out, source);
    for (const auto& each : tags) {
        put16(out, each.protocol);
        put16(out, each.control);
    }
    put16(out, type);
    putAll(out, ipPacket(dhcpMessage()));
    apply(earlyPatches, out);
    writeSums(out);
    putAll(out, padding);
    const std::size_t arriving = std::min(cut.value_or(out.size()), out.size());
    setHost(out, 48, claimedFullSize.value_or(static_cast<std::uint32_t>(arriving)));
    apply(latePatches, out);
    out.resize(arriving);
    return out;
}

Bytes DhcpFrame::ethernetFrame() const
{
    const Bytes all = build();
    return {all.begin() + std::min<std::ptrdiff_t>(recordSize, std::ssize(all)), all.end()};
}

} // namespace test
