#include "support/DhcpFrame.h"

#include "support/InternetSum.h"
#include "support/PutBytes.h"

#include <algorithm>
#include <stdexcept>

namespace test {

namespace {

void putOption(Bytes& out, std::uint8_t code, const Bytes& value)
{
    put8(out, code);
    put8(out, value.size());
    putAll(out, value);
}

} // namespace

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

DhcpFrame::DhcpFrame(std::uint8_t messageType, bool fromServer)
    : BridgedFrame(broadcastMac, 0x0800, fromServer ? 67 : 68, fromServer ? 68 : 67),
      header(messageHeaderSize)
{
    headerBytes(0, Bytes{static_cast<std::uint8_t>(fromServer ? 2 : 1), 1, 6, 0, 0x12, 0x34, 0x56, 0x78});
    chaddr(macOf(1)).cookie({0x63, 0x82, 0x53, 0x63}).option(53, Bytes{messageType});
}

DhcpFrame& DhcpFrame::header16(std::size_t offset, std::uint16_t value)
{
    set16(header, offset, value);
    return *this;
}

DhcpFrame& DhcpFrame::header32(std::size_t offset, std::uint32_t value)
{
    set16(header, offset, static_cast<std::uint16_t>(value >> 16));
    return header16(offset + 2, static_cast<std::uint16_t>(value));
}

DhcpFrame discover() { return DhcpFrame(1, false); }
DhcpFrame offer() { return DhcpFrame(2, true); }
DhcpFrame request() { return DhcpFrame(3, false); }
DhcpFrame ack() { return DhcpFrame(5, true); }
DhcpFrame release() { return DhcpFrame(7, false); }

// Options

DhcpFrame& DhcpFrame::option(std::uint8_t code, const Bytes& value)
{
    if (value.size() > 255)
        throw std::invalid_argument("an option value holds 255 bytes");
    putOption(options, code, value);
    return *this;
}

DhcpFrame& DhcpFrame::option82(std::string_view circuitId, std::string_view remoteId)
{
    Bytes value;
    if (!circuitId.empty())
        putOption(value, 1, bytesOf(circuitId));
    if (!remoteId.empty())
        putOption(value, 2, bytesOf(remoteId));
    return option(82, value);
}

DhcpFrame& DhcpFrame::option82(std::initializer_list<std::pair<std::uint8_t, Bytes>> subOptions)
{
    Bytes value;
    for (const auto& [code, bytes] : subOptions)
        putOption(value, code, bytes);
    return option(82, value);
}

Bytes DhcpFrame::dhcpMessage() const
{
    Bytes out = header;
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
    Bytes out{0x40, 0x10, 0, 0, 0xAB, 0xCD, 0, 0, 64, 17, 0, 0}; // low delay, as clients send it; no sum yet
    out[0] |= static_cast<std::uint8_t>(ipHeaderSize() / 4);
    set16(out, 2, static_cast<std::uint16_t>(ipHeaderSize() + udpSize + dhcp.size()));
    put32(out, sourceAddress);
    put32(out, destinationAddress);
    putAll(out, ipOptionBytes);
    putUdp(out, dhcp.size());
    putAll(out, dhcp);
    return out;
}

void DhcpFrame::writeSums(Bytes& out) const
{
    const std::span<const std::uint8_t> all(out);
    const std::size_t ip = offsetOf(Part::ip);
    const std::size_t udpStart = offsetOf(Part::udp);

    InternetSum ipSum;
    ipSum.add(all.subspan(ip, udpStart - ip));
    set16(out, ip + 10, ipSum.checksum());
    if (!ipSumRight)
        out[ip + 11] ^= 0x01;

    if (!udpSummed)
        return;
    const auto udpClaim = static_cast<std::uint16_t>(out[udpStart + 4] << 8 | out[udpStart + 5]);
    const auto datagram = all.subspan(udpStart, std::min<std::size_t>(udpClaim, out.size() - udpStart));
    set16(out, udpStart + 6, udpSum(all.subspan(ip + 12, 8), udpClaim, datagram).checksum());
    if (!udpSumRight)
        out[udpStart + 7] ^= 0x01;
}

Bytes DhcpFrame::build() const
{
    Bytes out = lowerLayers();
    putAll(out, ipPacket(dhcpMessage()));
    apply(earlyPatches, out);
    writeSums(out);
    return finished(std::move(out));
}

} // namespace test
