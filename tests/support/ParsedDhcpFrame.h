#pragma once

#include "support/DhcpFrame.h"

#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace test {

/**
 * What a strict peer reads out of record and frame. Throws std::runtime_error naming the first thing that is
 * wrong (a length that disagrees with another, bytes missing, no End option); wrong checksums are only
 * reported, because the relay sends some frames without touching them.
 */
struct ParsedDhcpFrame
{
    explicit ParsedDhcpFrame(std::span<const std::uint8_t> recordAndFrame);

    // Record
    std::uint16_t recordOuter = 0; ///< tag control words
    std::uint16_t recordInner = 0;
    std::uint16_t outputIndex = 0;
    std::string outputName;

    // Ethernet
    Mac destination{};
    Mac source{};
    std::vector<std::pair<std::uint16_t, std::uint16_t>> tags; ///< protocol and control word

    // IP and UDP
    std::uint32_t destinationIp = 0;
    std::uint16_t destinationPort = 0;
    bool ipSumRight = false;
    bool udpSumRight = false; ///< also when there is none

    // DHCP
    Bytes dhcp; ///< the message as it stands
    std::uint8_t opcode = 0;
    std::uint8_t hops = 0;
    std::uint32_t xid = 0;
    std::uint16_t flags = 0;
    std::uint32_t giaddr = 0;
    std::vector<std::pair<std::uint8_t, Bytes>> options; ///< without pads and End
    Bytes behindEnd;

    /// The first option of that code.
    [[nodiscard]] std::optional<Bytes> option(std::uint8_t code) const;
    /// A sub-option of option 82, as text.
    [[nodiscard]] std::optional<std::string> subOption82(std::uint8_t code) const;

private:
    void readIpPacket(std::span<const std::uint8_t> packet);
    void readDhcp();
};

} // namespace test
