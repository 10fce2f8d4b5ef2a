#pragma once

#include "support/DhcpFrame.h"

#include <array>
#include <cstdint>
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

class Dhcpv6Frame : public BridgedFrame<Dhcpv6Frame>
{
public:
    explicit Dhcpv6Frame(Bytes message);

    Dhcpv6Frame& source(const Ipv6& address) { return with(sourceAddress, address); }
    Dhcpv6Frame& destination(const Ipv6& address) { return with(destinationAddress, address); }
    /// Any other packet: the payload of this next header, without UDP.
    Dhcpv6Frame& bare(std::uint8_t header, Bytes bytes)
    {
        nextHeader = header;
        return message(std::move(bytes));
    }
    /// Sums as this node does: the last byte of an odd segment stands low in its word.
    Dhcpv6Frame& summedByTheNode() { return with(oddByteLow, true); }
    Dhcpv6Frame& message(Bytes bytes) { return with(payload, std::move(bytes)); }

    [[nodiscard]] Bytes build() const;
    static constexpr std::size_t messageHeaderSize = 4; ///< of a client's message
    [[nodiscard]] static std::size_t ipHeaderSize() { return 40; }

private:
    void writeSum(Bytes& out) const;

    Ipv6 sourceAddress = linkLocal(1);
    Ipv6 destinationAddress = allDhcp;
    std::uint8_t nextHeader = 17;
    bool oddByteLow = false;
    Bytes payload;
};

/// A client's message of this type with a client identifier and an elapsed time.
[[nodiscard]] Dhcpv6Frame fromClient6(std::uint8_t type, const Mac& mac = macOf(0x11));
[[nodiscard]] inline Dhcpv6Frame solicit() { return fromClient6(1); }

} // namespace test
