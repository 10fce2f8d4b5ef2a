#pragma once

#include "wire/Mac.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// DHCPv4 frames (RFC 2131) as the load programs make and read them. Of the daemon they share the wire
/// formats.
namespace storm {

using wire::Mac;
using Bytes = std::vector<std::uint8_t>;

enum class Kind : std::uint8_t {
    discover = 1,
    offer = 2,
    request = 3,
    decline = 4,
    ack = 5,
    nak = 6,
    release = 7,
    inform = 8
};

/// What a frame says, in host order.
struct Message
{
    Kind kind = Kind::discover;
    bool reply = false;
    std::uint32_t xid = 0;
    std::uint16_t secs = 0;
    std::uint16_t flags = 0;
    std::uint32_t ciaddr = 0;
    std::uint32_t yiaddr = 0;
    std::uint32_t giaddr = 0;
    Mac chaddr{};
    std::uint32_t server = 0;    ///< option 54; 0: none
    std::uint32_t requested = 0; ///< option 50; 0: none
    Bytes relayInformation;      ///< value of option 82; empty: none
};

struct Headers
{
    Mac from{};
    Mac to{};
    std::optional<std::uint16_t> vlan; ///< 0x8100 tag
    std::uint32_t fromIp = 0;
    std::uint32_t toIp = 0;
    std::uint16_t fromPort = 0;
    std::uint16_t toPort = 0;
};

struct Frame
{
    Headers headers;
    Message message;
};

[[nodiscard]] Bytes encode(const Frame& frame);

/// Nothing unless the bytes are a whole DHCPv4 frame; at most one 0x8100 tag. Sums are not looked at.
[[nodiscard]] std::optional<Frame> decode(std::span<const std::uint8_t> bytes);

} // namespace storm
