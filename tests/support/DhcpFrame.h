#pragma once

#include "support/BridgedFrame.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/**
 * A builder of DHCPv4 frames as the bridge delivers them: record, Ethernet with tags, IPv4, UDP, DHCP. It
 * makes a valid frame and lets a test break one thing at a time. It shares no code with the views that it
 * tests: lengths and checksums are its own.
 *
 *     const Bytes frame = discover().from(macOf(0x11)).vlan(100).on(7, "0/2/5").build();
 */
namespace test {

inline constexpr Mac broadcastMac{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

/// Host order.
[[nodiscard]] constexpr std::uint32_t ip(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d)
{
    return std::uint32_t{a} << 24 | std::uint32_t{b} << 16 | std::uint32_t{c} << 8 | d;
}
[[nodiscard]] Bytes bytesOf(std::string_view text);

class DhcpFrame : public BridgedFrame<DhcpFrame>
{
public:
    /// A message of this type from a client (opcode 1, broadcast, 68 to 67) or a server (opcode 2, 67 to 68).
    DhcpFrame(std::uint8_t messageType, bool fromServer);

    DhcpFrame& from(const Mac& mac) { return sourceMac(mac).chaddr(mac); }

    // IP and UDP
    DhcpFrame& sourceIp(std::uint32_t address) { return with(sourceAddress, address); }
    DhcpFrame& destinationIp(std::uint32_t address) { return with(destinationAddress, address); }
    DhcpFrame& ipOptions(const Bytes& bytes) { return with(ipOptionBytes, bytes); } ///< in words of 4 bytes
    DhcpFrame& noUdpChecksum() { return with(udpSummed, false); }
    DhcpFrame& wrongUdpChecksum() { return with(udpSumRight, false); }
    DhcpFrame& wrongIpChecksum() { return with(ipSumRight, false); }
    /// Addressed from one host to another: unicast MAC and IP.
    DhcpFrame& unicast(const Mac& mac, std::uint32_t fromIp, std::uint32_t toIp)
    {
        return to(mac).sourceIp(fromIp).destinationIp(toIp);
    }

    // DHCP header
    DhcpFrame& opcode(std::uint8_t value) { return with(header[0], value); }
    DhcpFrame& hops(std::uint8_t value) { return with(header[3], value); }
    DhcpFrame& xid(std::uint32_t value) { return header32(4, value); }
    DhcpFrame& secs(std::uint16_t value) { return header16(8, value); }
    DhcpFrame& flags(std::uint16_t value) { return header16(10, value); }
    DhcpFrame& broadcastFlag() { return flags(0x8000); }
    DhcpFrame& ciaddr(std::uint32_t address) { return header32(12, address); }
    DhcpFrame& yiaddr(std::uint32_t address) { return header32(16, address); }
    DhcpFrame& giaddr(std::uint32_t address) { return header32(24, address); }
    DhcpFrame& chaddr(const Mac& mac) { return headerBytes(28, mac); }
    DhcpFrame& cookie(const std::array<std::uint8_t, 4>& bytes) { return headerBytes(236, bytes); }

    // Options: option 53 stands first, then those added here in their order, then End.
    DhcpFrame& option(std::uint8_t code, const Bytes& value);
    DhcpFrame& option(std::uint8_t code, std::string_view value) { return option(code, bytesOf(value)); }
    /// Option 82 with circuit id and remote id; an empty one is left out.
    DhcpFrame& option82(std::string_view circuitId, std::string_view remoteId = {});
    DhcpFrame& option82(std::initializer_list<std::pair<std::uint8_t, Bytes>> subOptions);
    DhcpFrame& pad(std::size_t count) { return rawOptions(Bytes(count, 0)); }
    DhcpFrame& rawOptions(const Bytes& bytes) ///< appended as they stand
    {
        putAll(options, bytes);
        return *this;
    }
    DhcpFrame& noOptions() { return with(options, Bytes()); } ///< drops all so far, option 53 too
    DhcpFrame& noEnd() { return with(ended, false); }         ///< no End option
    /// Pads inside the DHCP message.
    DhcpFrame& padAfterEnd(std::size_t count) { return with(padsBehindEnd, count); }
    /// Pads behind End, or cuts, the message to this size.
    DhcpFrame& dhcpSize(std::size_t exactly) { return with(exactDhcpSize, exactly); }

    // Damage
    /// Sets a byte before the checksums are made: the frame stays right in all else.
    DhcpFrame& set(Part part, std::size_t offset, std::uint8_t value)
    {
        earlyPatches.push_back({part, offset, value});
        return *this;
    }

    // Results
    [[nodiscard]] Bytes build() const;
    static constexpr std::size_t messageHeaderSize = 240; ///< with the cookie
    [[nodiscard]] std::size_t ipHeaderSize() const { return 20 + ipOptionBytes.size(); }

private:
    template <typename Range>
    DhcpFrame& headerBytes(std::size_t offset, const Range& bytes)
    {
        std::copy(bytes.begin(), bytes.end(), header.begin() + static_cast<std::ptrdiff_t>(offset));
        return *this;
    }
    DhcpFrame& header16(std::size_t offset, std::uint16_t value);
    DhcpFrame& header32(std::size_t offset, std::uint32_t value);
    [[nodiscard]] Bytes dhcpMessage() const;
    [[nodiscard]] Bytes ipPacket(const Bytes& dhcp) const;
    void writeSums(Bytes& out) const;

    std::uint32_t sourceAddress = 0;
    std::uint32_t destinationAddress = 0xFFFFFFFF;
    Bytes ipOptionBytes;
    bool udpSummed = true;
    bool udpSumRight = true;
    bool ipSumRight = true;

    Bytes header; ///< of the DHCP message, with the cookie
    Bytes options;
    bool ended = true;
    std::size_t padsBehindEnd = 0;
    std::optional<std::size_t> exactDhcpSize;

    std::vector<Patch> earlyPatches;
};

[[nodiscard]] DhcpFrame discover();
[[nodiscard]] DhcpFrame offer();
[[nodiscard]] DhcpFrame request();
[[nodiscard]] DhcpFrame ack();
[[nodiscard]] DhcpFrame release();

} // namespace test
