#pragma once

#include "support/BridgedFrame.h"

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
    explicit DhcpFrame(std::uint8_t messageType, bool fromServer);

    DhcpFrame& from(const Mac& mac) { return sourceMac(mac).chaddr(mac); }

    // IP and UDP
    DhcpFrame& sourceIp(std::uint32_t address) { return with(sourceAddress, address); }
    DhcpFrame& destinationIp(std::uint32_t address) { return with(destinationAddress, address); }
    DhcpFrame& ipOptions(const Bytes& bytes); ///< a multiple of 4 bytes
    DhcpFrame& noUdpChecksum() { return with(udpSummed, false); }
    DhcpFrame& wrongUdpChecksum() { return with(udpSumRight, false); }
    DhcpFrame& wrongIpChecksum() { return with(ipSumRight, false); }
    /// Addressed from one host to another: unicast MAC and IP.
    DhcpFrame& unicast(const Mac& mac, std::uint32_t fromIp, std::uint32_t toIp)
    {
        return to(mac).sourceIp(fromIp).destinationIp(toIp);
    }

    // DHCP header
    DhcpFrame& opcode(std::uint8_t value) { return with(op, value); }
    DhcpFrame& hops(std::uint8_t value) { return with(hopCount, value); }
    DhcpFrame& xid(std::uint32_t value) { return with(transaction, value); }
    DhcpFrame& secs(std::uint16_t value) { return with(seconds, value); }
    DhcpFrame& flags(std::uint16_t value) { return with(flagWord, value); }
    DhcpFrame& broadcastFlag() { return flags(0x8000); }
    DhcpFrame& ciaddr(std::uint32_t address) { return with(clientAddress, address); }
    DhcpFrame& yiaddr(std::uint32_t address) { return with(yourAddress, address); }
    DhcpFrame& siaddr(std::uint32_t address) { return with(serverAddress, address); }
    DhcpFrame& giaddr(std::uint32_t address) { return with(gatewayAddress, address); }
    DhcpFrame& chaddr(const Mac& mac) { return with(hardware, mac); }
    DhcpFrame& cookie(const std::array<std::uint8_t, 4>& bytes) { return with(cookieBytes, bytes); }

    // Options: option 53 stands first, then those added here in their order, then End.
    DhcpFrame& option(std::uint8_t code, const Bytes& value);
    DhcpFrame& option(std::uint8_t code, std::string_view value);
    /// Option 82 with circuit id and remote id; an empty one is left out.
    DhcpFrame& option82(std::string_view circuitId, std::string_view remoteId = {});
    DhcpFrame& option82(std::initializer_list<std::pair<std::uint8_t, Bytes>> subOptions);
    DhcpFrame& pad(std::size_t count);
    DhcpFrame& rawOptions(const Bytes& bytes);                ///< appended as they stand
    DhcpFrame& noOptions() { return with(options, Bytes()); } ///< drops all so far, option 53 too
    DhcpFrame& noEnd() { return with(ended, false); }         ///< no End option
    DhcpFrame& padAfterEnd(std::size_t count)
    {
        return with(padsBehindEnd, count);
    } ///< inside the DHCP message
    /// Pads behind End, or cuts, the message to this size.
    DhcpFrame& dhcpSize(std::size_t exactly) { return with(exactDhcpSize, exactly); }

    // Damage
    /// Sets a byte before the checksums are made: the frame stays right in all else.
    DhcpFrame& set(Part part, std::size_t offset, std::uint8_t value);

    // Results
    [[nodiscard]] Bytes build() const;
    /// Where a part starts in what build() answers.
    [[nodiscard]] std::size_t offsetOf(Part part) const;

private:
    [[nodiscard]] Bytes dhcpMessage() const;
    [[nodiscard]] Bytes ipPacket(const Bytes& dhcp) const;
    void writeSums(Bytes& out) const;

    std::uint32_t sourceAddress = 0;
    std::uint32_t destinationAddress = 0xFFFFFFFF;
    Bytes ipOptionBytes;
    bool udpSummed = true;
    bool udpSumRight = true;
    bool ipSumRight = true;

    std::uint8_t op;
    std::uint8_t hopCount = 0;
    std::uint32_t transaction = 0x12345678;
    std::uint16_t seconds = 0;
    std::uint16_t flagWord = 0;
    std::uint32_t clientAddress = 0;
    std::uint32_t yourAddress = 0;
    std::uint32_t serverAddress = 0;
    std::uint32_t gatewayAddress = 0;
    Mac hardware = macOf(1);
    std::array<std::uint8_t, 4> cookieBytes{0x63, 0x82, 0x53, 0x63};
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
