#pragma once

#include "relay/frame/BridgeFrame.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

/// What differs between the families in a frame that carries DHCP over UDP.
struct IpFamily
{
    std::uint16_t etherType;
    std::uint16_t serviceTag; ///< value of the outer tag that the walk crosses
    const char* wrongType;    ///< debug text about another EtherType; null: none
    std::size_t fixedSize;    ///< of the IP header
    bool tellsSize;           ///< the IP header tells how far it reaches beyond that, as IPv4 does
    std::size_t lengthField;  ///< offsets in the IP header
    std::size_t destinationField;
    /// Nothing if the family cannot tell because bytes to be summed have not come.
    std::optional<std::uint16_t> (*udpChecksum)(wire::ConstBytes ip, wire::ConstBytes udp);
    std::uint32_t (*messageSize)(std::uint16_t udpLength); ///< what a UDP length claims for DHCP
    std::size_t hopsField;                                 ///< offset in the DHCP message
};

/**
 * The walk from Ethernet to DHCP that the views of both families share: IP, UDP and the borders of the DHCP
 * message.
 *
 * A header that has not come whole counts as absent: its pointer is null, its fields read as 0 unless told,
 * its setters have no effect. Pointers stay good until the next receive or edit.
 */
class UdpFrame : public BridgeFrame
{
public:
    // IP

    const std::uint8_t* getIpHeader() const;
    std::uint32_t getEthHeaderSize() const;
    std::uint16_t getIpFieldLength() const;
    /// Ethernet header with tags and what the IP length field says; the record is not counted.
    std::uint16_t getFrameSize() const;
    /// The first four bytes of the destination address, host order.
    std::uint32_t getIpFieldDest() const;
    bool isIpFieldDestEq(std::uint32_t address) const;

    // UDP

    const std::uint8_t* getUdpHeader() const;
    std::uint32_t getUdpHeaderSize() const;
    std::uint16_t getUdpFieldLength() const;
    std::uint16_t getUdpFieldCrc() const;
    std::uint16_t getRecalcUdpCrc() const;

    // DHCP

    /// Null also when not one byte behind the UDP header has come.
    const std::uint8_t* getDhcpHeader() const;
    /// What the UDP length claims; see dhcpMessageBytes() for what is there.
    std::uint32_t getDhcpHeaderSize() const;
    /// The DHCP message: from its header on, the claimed size as far as it has come.
    std::span<const std::uint8_t> dhcpMessageBytes() const;
    std::uint8_t getDhcpFieldHops() const;
    void incrementDhcpFieldHops();

    // Debug texts; all append

    void printFrame(std::string& out) const;
    void printFrameInfo(std::string& out) const;
    /// Hex dump of the Ethernet frame up to @p size bytes of the buffer; -1: the whole buffer.
    void dump16(std::string& out, const char* prefix, int size) const;
    /// The same to the debug sink.
    void dump16(const char* prefix, int size) const;

protected:
    /// In whose name a missing header is told.
    enum class Access { get, set };

    UdpFrame(const FrameViewTexts& viewTexts, const IpFamily& ipFamily, const FrameOwner* owner);
    ~UdpFrame() = default;

    // Each answers the window from its header to the last byte received, empty if the header has not come
    // whole. locate...() says what is missing on behalf of the header getter, the others for the calling
    // accessor too.
    [[nodiscard]] wire::Bytes locateIp() const
    {
        return isFound(positions.ip) ? windowFrom(positions.ip) : lookForIp();
    }
    [[nodiscard]] wire::Bytes locateUdp() const
    {
        return isFound(positions.udp) ? windowFrom(positions.udp) : lookForUdp();
    }
    [[nodiscard]] wire::Bytes locateDhcp() const
    {
        return isFound(positions.dhcp) ? windowFrom(positions.dhcp) : lookForDhcp();
    }
    [[nodiscard]] wire::Bytes ip(Access access = Access::get, const char* function = __builtin_FUNCTION(),
                                 int line = __builtin_LINE()) const
    {
        return orTell(locateIp(), Layer::ip, access, function, line);
    }
    [[nodiscard]] wire::Bytes udp(Access access = Access::get, const char* function = __builtin_FUNCTION(),
                                  int line = __builtin_LINE()) const
    {
        return orTell(locateUdp(), Layer::udp, access, function, line);
    }
    [[nodiscard]] wire::Bytes dhcp(Access access = Access::get, const char* function = __builtin_FUNCTION(),
                                   int line = __builtin_LINE()) const
    {
        return orTell(locateDhcp(), Layer::dhcp, access, function, line);
    }
    /// The DHCP message as far as claimed and received.
    [[nodiscard]] wire::Bytes message(const char* function = __builtin_FUNCTION(),
                                      int line = __builtin_LINE()) const;
    /// From the DHCP header, which must be there, to the end of the storage.
    [[nodiscard]] wire::Bytes dhcpStorage() const;

    /// The destination port, if it is one of the two that @p Port names.
    template <typename Port>
    [[nodiscard]] Port destinationPort(const char* function = __builtin_FUNCTION(),
                                       int line = __builtin_LINE()) const
    {
        const auto port = static_cast<Port>(destinationPortNumber(function, line));
        return port == Port::server || port == Port::client ? port : Port::other;
    }

    // The fields of a header that is there.
    virtual void printIp(std::string& out, wire::ConstBytes header) const = 0;
    virtual void printDhcp(std::string& out, wire::ConstBytes header) const = 0;

private:
    [[nodiscard]] bool isFound(std::uint16_t position) const { return position != 0 && frameInfo != nullptr; }
    [[nodiscard]] wire::Bytes lookForIp() const;
    [[nodiscard]] wire::Bytes lookForUdp() const;
    [[nodiscard]] wire::Bytes lookForDhcp() const;
    /// Keeps where the window begins, if it is not empty.
    wire::Bytes keep(std::uint16_t& position, wire::Bytes window) const;
    [[nodiscard]] wire::Bytes orTell(wire::Bytes header, Layer layer, Access access, const char* function,
                                     int line) const
    {
        if (header.size() == 0)
            tellAbsent(layer, access, function, line);
        return header;
    }
    void tellAbsent(Layer layer, Access access, const char* function, int line) const;
    [[nodiscard]] std::uint16_t destinationPortNumber(const char* function, int line) const;
    void printEthernet(std::string& out, wire::ConstBytes header) const;
    void printUdp(std::string& out, wire::ConstBytes header) const;

    const IpFamily& family;
};
