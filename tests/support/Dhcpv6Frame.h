#pragma once

#include "support/DhcpFrame.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

/**
 * A builder of DHCPv6 frames as the bridge delivers them: record, Ethernet with tags, IPv6, UDP, message. As
 * DhcpFrame, it makes a valid frame, lets a test break one thing at a time and shares no code with the views.
 *
 *     const Bytes frame = solicit().from(macOf(0x11)).vlan(100).on(7, "if7").build();
 */
namespace test {

using Ipv6 = std::array<std::uint8_t, 16>;

/// fe80::NN
[[nodiscard]] constexpr Ipv6 linkLocal(std::uint8_t last)
{
    return {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, last};
}
/// ff02::1:2, All_DHCP_Relay_Agents_and_Servers
inline constexpr Ipv6 allDhcp{0xFF, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 2};

/// One option: code, length, value.
[[nodiscard]] Bytes option6(std::uint16_t code, const Bytes& value);
[[nodiscard]] Bytes option6(std::uint16_t code, std::string_view value);
/// A DHCPv6 message: type, a transaction id of 0xABCDEF, options one behind the other.
[[nodiscard]] Bytes message6(std::uint8_t type, const std::vector<Bytes>& options = {});
/// A relay message: type, hops, link and peer address, options.
[[nodiscard]] Bytes relayMessage6(std::uint8_t type, std::uint8_t hops, const Ipv6& link, const Ipv6& peer,
                                  const std::vector<Bytes>& options);
/// Client identifiers (option 1): link-layer plus time, link-layer alone.
[[nodiscard]] Bytes clientIdLlt(const Mac& mac);
[[nodiscard]] Bytes clientIdLl(const Mac& mac);

class Dhcpv6Frame
{
public:
    explicit Dhcpv6Frame(Bytes message) : payload(std::move(message)) {}

    // Record
    Dhcpv6Frame& on(std::uint16_t interfaceId, std::string_view interfaceName = {});
    Dhcpv6Frame& outputIndex(std::uint16_t interfaceId);
    Dhcpv6Frame& fullSize(std::uint32_t claimed);
    /// Outer tag control word of the record, when it shall differ from the frame's tag.
    Dhcpv6Frame& recordTag(std::uint16_t outer);

    // Ethernet
    Dhcpv6Frame& sourceMac(const Mac& mac);
    Dhcpv6Frame& to(const Mac& mac);
    Dhcpv6Frame& vlan(std::uint16_t id, std::uint8_t priority = 0, std::uint16_t protocol = 0x8100);
    Dhcpv6Frame& cvlan(std::uint16_t id);
    Dhcpv6Frame& tag(std::uint16_t protocol, std::uint16_t control);
    Dhcpv6Frame& etherType(std::uint16_t value);
    Dhcpv6Frame& padding(std::size_t count, std::uint8_t value = 0);

    // IPv6 and UDP
    Dhcpv6Frame& source(const Ipv6& address);
    Dhcpv6Frame& destination(const Ipv6& address);
    Dhcpv6Frame& ports(std::uint16_t from, std::uint16_t to);
    Dhcpv6Frame& udpLength(std::uint16_t claimed);
    /// Any other packet: the payload of this next header, without UDP.
    Dhcpv6Frame& bare(std::uint8_t nextHeader, Bytes bytes);
    /// Sums as this node does: the last byte of an odd segment stands low in its word.
    Dhcpv6Frame& summedByTheNode();
    Dhcpv6Frame& message(Bytes bytes);

    // Damage
    Dhcpv6Frame& spoil(Part part, std::size_t offset, std::uint8_t value);
    Dhcpv6Frame& cutTo(std::size_t count);

    [[nodiscard]] Bytes build() const;
    [[nodiscard]] Bytes ethernetFrame() const;
    [[nodiscard]] std::size_t offsetOf(Part part) const; ///< all but options
    [[nodiscard]] std::size_t size() const { return build().size(); }

private:
    struct Patch
    {
        Part part;
        std::size_t offset;
        std::uint8_t value;
    };

    std::uint16_t inputIndex = 0;
    std::uint16_t outputIndexValue = 0;
    std::string_view inputName;
    std::optional<std::uint32_t> claimedFullSize;
    std::uint16_t recordOuter = 0x0FFF;
    std::uint16_t recordInner = 0x0FFF;
    Mac destinationMac{0x33, 0x33, 0, 1, 0, 2};
    Mac sourceMacValue = macOf(1);
    std::vector<std::pair<std::uint16_t, std::uint16_t>> tags;
    std::uint16_t type = 0x86DD;
    Bytes paddingBytes;
    Ipv6 sourceAddress = linkLocal(1);
    Ipv6 destinationAddress = allDhcp;
    std::uint8_t nextHeader = 17;
    std::uint16_t sourcePort = 546;
    std::uint16_t destinationPort = 547;
    std::optional<std::uint16_t> claimedUdpLength;
    bool oddByteLow = false;
    Bytes payload;
    std::vector<Patch> patches;
    std::optional<std::size_t> cut;
};

/// A client's message of this type with a client identifier and an elapsed time.
[[nodiscard]] Dhcpv6Frame fromClient6(std::uint8_t type, const Mac& mac = macOf(0x11));
[[nodiscard]] inline Dhcpv6Frame solicit() { return fromClient6(1); }

} // namespace test
