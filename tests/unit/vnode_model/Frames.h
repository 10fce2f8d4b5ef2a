#pragma once

#include "vnode/model/Types.h"

#include <cstdint>
#include <initializer_list>
#include <vector>

/// Ethernet frames for the model's tests, written byte by byte.
namespace frames {

using Bytes = std::vector<std::uint8_t>;

inline constexpr vnode::MacAddress client{0x02, 0, 0, 0, 0, 0x11};
inline constexpr vnode::MacAddress server{0x02, 0, 0, 0, 0, 0x22};
inline constexpr vnode::MacAddress node{0x02, 0, 0, 0, 0, 0x01};
inline constexpr vnode::MacAddress everyone{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

inline Bytes join(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

inline Bytes macs(const vnode::MacAddress& destination, const vnode::MacAddress& source)
{
    Bytes bytes(destination.begin(), destination.end());
    bytes.insert(bytes.end(), source.begin(), source.end());
    return bytes;
}

/// An untagged ARP-typed frame with three bytes of payload.
inline Bytes plain(const vnode::MacAddress& destination, const vnode::MacAddress& source)
{
    return join({macs(destination, source), {0x08, 0x06, 0xA1, 0xA2, 0xA3}});
}

/// The same with tags, as bytes, between MACs and type.
inline Bytes tagged(const vnode::MacAddress& destination, const vnode::MacAddress& source, const Bytes& tags)
{
    return join({macs(destination, source), tags, {0x08, 0x06, 0xA1, 0xA2, 0xA3}});
}

/// IPv4 and UDP headers from port 68 to port 67 without payload (RFC 791, RFC 768); checksums left zero.
inline Bytes udpToServer()
{
    return {0x45, 0,  0, 28, 0, 0, 0, 0, 64, 17, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, // IPv4
            0,    68, 0, 67, 0, 8, 0, 0};                                                  // UDP
}

inline Bytes dhcp(const vnode::MacAddress& destination, const vnode::MacAddress& source,
                  const Bytes& tags = {}, const Bytes& packet = udpToServer())
{
    return join({macs(destination, source), tags, {0x08, 0x00}, packet});
}

} // namespace frames
