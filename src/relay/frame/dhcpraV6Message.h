#pragma once

#include "relay/frame/Ipv6Frame.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/**
 * View on one DHCPv6 frame (RFC 8415 behind UDP, IPv6, Ethernet with up to three tags and the bridge's
 * record), read and edited in place. There is one in each engine, reused for every frame.
 *
 * What is absent reads as 0 unless told. A UDP length is believed only as far as bytes have come. None of the
 * rewriting operations touches the UDP checksum: updateCRC() follows once, at the end.
 */
class dhcpraV6Message final : public Ipv6Frame
{
public:
    enum class udpPort : std::uint16_t {
        other = 0,
        client = 546,
        server = 547,
    };

    /// How many malformed frames the option search still reports; a process-wide allowance.
    static inline std::atomic<int> malformedReportsLeft{5};

    explicit dhcpraV6Message(const FrameOwner* owner = nullptr);

    /// Side of the node on which the frame came in: false clients (also when unknown), true network.
    bool getOrigin() const { return cameFromNetworkSide(); }

    // IP and UDP, beside what Ipv6Frame has

    void setIpFieldDest(const std::uint8_t* address); ///< 16 bytes
    /// An ICMPv6 frame; its type is not looked at.
    bool getNdpCode() const;
    std::uint16_t getRecalcIpCrc() const { return 0; }
    bool isIpCrcValid() const { return getIpFieldCrc() == getRecalcIpCrc(); }
    udpPort getUdpFieldDestPort() const;
    void setUdpFieldDestPort(udpPort port);
    bool isUdpCrcValid() const;
    void updateCRC();

    // DHCPv6

    /// More than three bytes of a message have come.
    bool isFrameValid() const;
    /// The message type.
    std::uint8_t getDhcpFieldOpcode() const;
    /// The 16 bytes at 18 of a relay message (not tested to be one), or null.
    const std::uint8_t* getDhcpFieldPeerAddr() const;
    /// The option's code on the top level, or null. Its four bytes of code and length have come, its value
    /// need not have. A search that ends in a damaged option is logged.
    const std::uint8_t* getDhcpFieldOption(std::uint8_t code) const;
    /// The option's value, cut where the message ends; nothing if the option is absent.
    std::optional<std::span<const std::uint8_t>> dhcpOptionValue(std::uint8_t code) const;
    bool isOpt01_ClientIdentifier() const;
    /// The MAC in the client identifier, six bytes that have come; null for other kinds of identifier.
    const std::uint8_t* getDhcpFieldLinkLayerAddr() const;

    // Relay (RFC 8415, section 19; dhcpraV6MessageRelay.cpp). On false the frame is not fit to be sent: the
    // caller works on a backup.

    enum class Wrapping {
        done,
        tooLong,    ///< the result would reach byte 1500 of the IPv6 packet, by what the message claims
        incomplete, ///< the message claims more than has come, or there is none
    };
    /// Wraps the message into a relay-forward with the frame's source as peer and the interface id (cut at
    /// 253; none if empty). A binary id that is not empty wins over the text.
    [[nodiscard]] Wrapping wrapIntoRelayForward(const std::string& id,
                                                const std::vector<std::uint8_t>& idBin);
    [[nodiscard]] bool createRelayFwdMessage(const std::string& id, const std::vector<std::uint8_t>& idBin)
    {
        return wrapIntoRelayForward(id, idBin) == Wrapping::done;
    }
    /// Appends the remote id (RFC 4649), of which the length counts modulo 256 and then up to 253. The size
    /// in the record grows by the whole new message: peers know these frames with the tail it makes.
    [[nodiscard]] bool addOpt37_RemoteId(const std::string& remoteId,
                                         const std::vector<std::uint8_t>& remoteIdBin,
                                         std::uint32_t enterpriseNumber);
    /// The parsers leave their argument alone when they answer false.
    [[nodiscard]] bool parseOpt18ForInterfaceId(std::string& interfaceId) const;
    [[nodiscard]] bool parseOpt18ForPort(std::string& port) const;
    [[nodiscard]] bool parseOpt18ForVlan(std::uint16_t& vlan) const;
    /// Puts the message inside a relay-reply, one level of it, in the place of the relay-reply. False if
    /// there is none or it claims more than has come.
    [[nodiscard]] bool createOriginalFromRelayRplyMessage();

    void backupOriginalFrame();
    void restoreOriginalFrame();

private:
    void reportOptions(const char* title, std::uint16_t code, std::uint16_t length, std::size_t offset,
                       std::size_t size) const;
    /// UDP and IPv6 lengths for a message of this size.
    void setLengths(std::size_t messageSize);
    /// Zeroes what has come behind a message of this size.
    void clearBehind(std::size_t messageSize);
    void printDhcp(std::string& out, wire::ConstBytes header) const override;

    std::vector<std::uint8_t> backup; ///< of what has come; behind it the buffer is zero
    std::size_t backupSize = 0;
};
