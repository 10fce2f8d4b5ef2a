#pragma once

#include "relay/frame/UdpFrame.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/**
 * View on one DHCPv4 frame (RFC 2131 behind UDP, IPv4, Ethernet with up to three tags and the bridge's
 * record), read and edited in place. There is one in each engine, reused for every frame.
 *
 * What is absent reads as the neutral value given here, 0 where none is. Addresses are in host order unless
 * told. What lies behind a pointer may be shorter than a length in the frame says, so read option values
 * through dhcpOptionValue().
 */
class dhcpraMessage final : public UdpFrame
{
public:
    enum class udpPort : std::uint16_t {
        other = 0,
        server = 67,
        client = 68,
    };

    bool removeOk = true; ///< result of the last doRemoveOption82
    bool addOk = true;    ///< false if the last doAddOption82 found no room in the buffer

    explicit dhcpraMessage(const FrameOwner* owner = nullptr);

    // Record and tags, beside those of BridgeFrame

    using BridgeFrame::setFrameDstVlan;
    void setFrameDstVlan(std::uint16_t vid, std::uint16_t ethType);
    /// Both make room for an inner tag if the record knows none; neither touches a length or sum of IP or
    /// UDP.
    void setFrameDstCVlan(std::uint16_t cvid);
    void setFrameDstCVlan(std::uint16_t cvid, std::uint16_t ethType);
    std::uint16_t getFrameEthType() const;
    std::uint16_t getFrameCEthType() const;
    /// Side of the node on which the frame came in: 0 clients (also when unknown), 1 network.
    int getOrigin() const;
    bool isDestinationBroadcast() const;

    // IP and UDP, beside what UdpFrame has

    std::uint32_t getIpHeaderSize() const;
    std::uint16_t getIpFieldCrc() const;
    void setIpFieldDest(std::uint32_t address);
    udpPort getUdpFieldDestPort() const;
    void setUdpFieldDestPort(udpPort port);

    // Checksums (RFC 1071, RFC 768)

    std::uint16_t getRecalcIpCrc() const;
    bool isIpCrcValid() const;
    bool isUdpCrcValid() const;
    /// Stores both sums. A sum over bytes that have not come is left alone.
    void updateCRC();

    // DHCP

    bool isFrameValid() const;
    bool isDhcpBroadcastFlag() const;
    /// 1, the value of a request, if there is no header.
    std::uint8_t getDhcpFieldOpcode() const;
    std::uint32_t getDhcpFieldRelayAgentIP() const;
    bool isGiaddrPresent() const;
    /// Compares with giaddr's four bytes reversed.
    bool isGiaddrEq(std::uint32_t address) const;
    void setDhcpFieldGiaddr(std::uint32_t address);
    void setDhcpFieldMagicCookie();
    std::uint32_t getDhcpFieldCiaddr() const;
    std::uint32_t getDhcpFieldYiaddr() const;
    std::uint32_t getDhcpFieldSiaddr() const;
    /// 16 bytes, or null.
    std::uint8_t* getDhcpFieldChaddr();
    const std::uint8_t* getDhcpFieldChaddr() const;
    std::uint32_t getDhcpFieldTransactId() const;
    /// Value byte of option 53.
    std::uint32_t getMessageType() const;

    // DHCP options (RFC 2132)

    /// The code byte of the option, or null. Its length byte and value need not have come.
    std::uint8_t* getDhcpFieldOption(std::uint8_t code);
    const std::uint8_t* getDhcpFieldOption(std::uint8_t code) const;
    /// The option's value, cut where the message ends; nothing if the option or its length byte is absent.
    std::optional<std::span<const std::uint8_t>> dhcpOptionValue(std::uint8_t code) const;

    // Option 82 (RFC 3046)

    bool isOpt82Present() const;
    /// Frame and ids below 1500 bytes, counting the text forms; false too if the buffer has no room for them.
    bool isAddingOpt82Possible(const std::string& circuitId, const std::string& remoteId) const;
    /// Inserts the option in front of the End option; a binary form that is not empty wins over the text.
    /// No checksum is touched. Sets addOk.
    void doAddOption82(const std::string& circuitId, const std::string& remoteId,
                       const std::vector<std::uint8_t>& circuitIdBin,
                       const std::vector<std::uint8_t>& remoteIdBin);
    /// Takes the first option 82 out. No checksum is touched. Sets removeOk.
    void doRemoveOption82();
    /// The parsers leave their argument alone when they answer false, except that the port of an ATM form
    /// whose PVC is not configured is the line's name.
    bool parseOpt82ForCircuitId(std::string& circuitId) const;
    bool parseOpt82ForVlan(std::uint16_t& vlan) const;
    bool parseOpt82ForCVlan(std::uint16_t& cvlan) const;
    bool parseOpt82ForPort(std::string& port) const;

private:
    [[nodiscard]] bool openInnerTag();
    void recordInnerVlan(std::uint16_t cvid);
    [[nodiscard]] bool hasMagicCookie(wire::Bytes message) const;
    void logInvalid(LogImpl::logLevel_t level, const char* text) const;
    [[nodiscard]] std::optional<std::string_view> circuitIdText() const;
    [[nodiscard]] bool findPvc(std::string& port, const std::string& line, std::uint32_t vpi,
                               std::uint32_t vci) const;
    // Both answer by how much the message has grown; 0 if nothing was done for want of room.
    [[nodiscard]] std::size_t insertOption(std::span<const std::uint8_t> option);
    [[nodiscard]] std::size_t appendFirstOption(std::span<const std::uint8_t> option);
    void printIp(std::string& out, wire::ConstBytes header) const override;
    void printDhcp(std::string& out, wire::ConstBytes header) const override;
    /// IP total length and UDP length change together with the DHCP message.
    void adjustLengths(int change);
};
