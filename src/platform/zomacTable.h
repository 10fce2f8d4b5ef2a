#pragma once

#include <array>
#include <cstdint>

/// A MAC on a port, the key of the query below.
struct zomacTableMacPort
{
    std::array<std::uint8_t, 6> mac{};
    std::uint32_t interfaceId = 0;
};

/// One bit per VLAN: VLAN v is bit 31 - v % 32 of host-order word v / 32 (512 bytes).
using zomacTableVlanBitmap = std::array<std::uint32_t, 128>;

/// Marks the VLANs on which the MAC was learnt on that port; 0 on success. Bits are only ever set.
[[nodiscard]] int zomacTableGetVlanBitmapForMacPort(const char* bridge, const zomacTableMacPort& key,
                                                    zomacTableVlanBitmap& bitmap);
