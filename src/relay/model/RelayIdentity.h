#pragma once

#include <array>
#include <cstdint>
#include <string>

/// Who the node is, as its ids tell. Kept by each engine under its own recursive mutex.
struct RelayIdentity
{
    std::string shelfId;
    std::string nodeId; ///< DHCPv4 only; stands before the shelf id in the standard form
    int chassisId = 99;
    std::string systemContact;
    std::string systemLocation;
    std::string systemName;
    std::uint32_t localIp = 0; ///< host order
    std::array<std::uint8_t, 6> localMac{};
};
