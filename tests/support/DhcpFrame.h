#pragma once

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

using Bytes = std::vector<std::uint8_t>;
using Mac = std::array<std::uint8_t, 6>;

inline constexpr std::size_t recordSize = 107;
inline constexpr Mac broadcastMac{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

/// A locally administered unicast address, 02:00:00:00:00:NN.
[[nodiscard]] constexpr Mac macOf(std::uint8_t last) { return {2, 0, 0, 0, 0, last}; }
/// Host order.
[[nodiscard]] constexpr std::uint32_t ip(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d)
{
    return std::uint32_t{a} << 24 | std::uint32_t{b} << 16 | std::uint32_t{c} << 8 | d;
}
[[nodiscard]] Bytes bytesOf(std::string_view text);

/// Parts of a frame, for verbs that set a byte at an offset from a part's start.
enum class Part { record, ethernet, ip, udp, dhcp, options };

class DhcpFrame
{
public:
    /// A message of this type from a client (opcode 1, broadcast, 68 to 67) or a server (opcode 2, 67 to 68).
    explicit DhcpFrame(std::uint8_t messageType, bool fromServer);

    // Record
    DhcpFrame& on(std::uint16_t interfaceId, std::string_view interfaceName = {});
    DhcpFrame& outputIndex(std::uint16_t interfaceId);
    DhcpFrame& fullSize(std::uint32_t claimed);
    /// Tag control words of the record, when they shall differ from the frame's tags.
    DhcpFrame& recordTags(std::uint16_t outer, std::uint16_t inner);

    // Ethernet. vlan() and cvlan() set the record too; tag() adds a tag to the frame alone, behind the
    // others.
    DhcpFrame& from(const Mac& mac); ///< source MAC and chaddr
    DhcpFrame& sourceMac(const Mac& mac);
    DhcpFrame& to(const Mac& mac);
    DhcpFrame& vlan(std::uint16_t id, std::uint8_t priority = 0, std::uint16_t protocol = 0x8100);
    DhcpFrame& cvlan(std::uint16_t id, std::uint8_t priority = 0, std::uint16_t protocol = 0x8100);
    DhcpFrame& tag(std::uint16_t protocol, std::uint16_t control);
    DhcpFrame& etherType(std::uint16_t type);
    DhcpFrame& ethernetPadding(std::size_t count, std::uint8_t value = 0);

    // IP and UDP
    DhcpFrame& sourceIp(std::uint32_t address);
    DhcpFrame& destinationIp(std::uint32_t address);
    DhcpFrame& ipOptions(const Bytes& options); ///< a multiple of 4 bytes
    DhcpFrame& ipHeaderWords(std::uint8_t claimed);
    DhcpFrame& ipLength(std::uint16_t claimed);
    DhcpFrame& ports(std::uint16_t source, std::uint16_t destination);
    DhcpFrame& udpLength(std::uint16_t claimed);
    DhcpFrame& noUdpChecksum();
    DhcpFrame& wrongUdpChecksum();
    DhcpFrame& wrongIpChecksum();
    /// Addressed from one host to another: unicast MAC and IP.
    DhcpFrame& unicast(const Mac& mac, std::uint32_t source, std::uint32_t destination);

    // DHCP header
    DhcpFrame& opcode(std::uint8_t value);
    DhcpFrame& hops(std::uint8_t value);
    DhcpFrame& xid(std::uint32_t value);
    DhcpFrame& secs(std::uint16_t value);
    DhcpFrame& flags(std::uint16_t value);
    DhcpFrame& broadcastFlag() { return flags(0x8000); }
    DhcpFrame& ciaddr(std::uint32_t address);
    DhcpFrame& yiaddr(std::uint32_t address);
    DhcpFrame& siaddr(std::uint32_t address);
    DhcpFrame& giaddr(std::uint32_t address);
    DhcpFrame& chaddr(const Mac& mac);
    DhcpFrame& cookie(const std::array<std::uint8_t, 4>& bytes);

    // Options: option 53 stands first, then those added here in their order, then End.
    DhcpFrame& option(std::uint8_t code, const Bytes& value);
    DhcpFrame& option(std::uint8_t code, std::string_view value);
    /// Option 82 with circuit id and remote id; an empty one is left out.
    DhcpFrame& option82(std::string_view circuitId, std::string_view remoteId = {});
    DhcpFrame& option82(std::initializer_list<std::pair<std::uint8_t, Bytes>> subOptions);
    DhcpFrame& pad(std::size_t count);
    DhcpFrame& rawOptions(const Bytes& bytes); ///< appended as they stand
    DhcpFrame& noOptions();                    ///< drops all so far, option 53 too
    DhcpFrame& noEnd();                        ///< no End option
    DhcpFrame& padAfterEnd(std::size_t count); ///< inside the DHCP message
    DhcpFrame& dhcpSize(std::size_t exactly);  ///< pads behind End, or cuts, the message to this size

    // Damage
    /// Sets a byte before the checksums are made: the frame stays right in all else.
    DhcpFrame& set(Part part, std::size_t offset, std::uint8_t value);
    /// Sets a byte last of all.
    DhcpFrame& spoil(Part part, std::size_t offset, std::uint8_t value);
    /// Only that many bytes of record and frame arrive; full_size says the same unless fullSize() was called.
    DhcpFrame& cutTo(std::size_t count);

    // Results
    [[nodiscard]] Bytes build() const;
    /// The frame without the record.
    [[nodiscard]] Bytes ethernetFrame() const;
    /// Where a part starts in what build() answers.
    [[nodiscard]] std::size_t offsetOf(Part part) const;
    [[nodiscard]] std::size_t size() const { return build().size(); }

private:
    struct Tag
    {
        std::uint16_t protocol;
        std::uint16_t control;
    };
    struct Patch
    {
        Part part;
        std::size_t offset;
        std::uint8_t value;
    };

    [[nodiscard]] Bytes dhcpMessage() const;
    [[nodiscard]] Bytes ipPacket(const Bytes& dhcp) const;
    void apply(const std::vector<Patch>& patches, Bytes& out) const;
    void writeSums(Bytes& out) const;

    std::uint16_t inputIndex = 0;
    std::uint16_t outputIndexValue = 0;
    std::string inputName;
    std::optional<std::uint32_t> claimedFullSize;
    std::uint16_t recordOuter = 0x0FFF;
    std::uint16_t recordInner = 0x0FFF;

    Mac destination = broadcastMac;
    Mac source = macOf(1);
    std::vector<Tag> tags;
    std::uint16_t type = 0x0800;
    Bytes padding;

    std::uint32_t sourceAddress = 0;
    std::uint32_t destinationAddress = 0xFFFFFFFF;
    Bytes ipOptionBytes;
    std::optional<std::uint8_t> claimedHeaderWords;
    std::optional<std::uint16_t> claimedIpLength;
    std::uint16_t sourcePort;
    std::uint16_t destinationPort;
    std::optional<std::uint16_t> claimedUdpLength;
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
    std::vector<Patch> latePatches;
    std::optional<std::size_t> cut;
};

[[nodiscard]] DhcpFrame discover();
[[nodiscard]] DhcpFrame offer();
[[nodiscard]] DhcpFrame request();
[[nodiscard]] DhcpFrame decline();
[[nodiscard]] DhcpFrame ack();
[[nodiscard]] DhcpFrame nak();
[[nodiscard]] DhcpFrame release();
[[nodiscard]] DhcpFrame inform();

} // namespace test
