#pragma once

#include <array>
#include <cstdint>
#include <string>

/**
 * Values that stand in for a frame's when a custom format is tried out. Changed by the test words only; they
 * and all readers (management queries, test runs) are on the RPC thread, so there is no lock.
 */
struct customFormatTestData_t
{
    std::uint16_t vlan = 100;
    std::uint16_t cvid = 3999;
    std::uint32_t intfId = 10;
    std::uint32_t onu = 1; ///< stored and shown only, as the next two
    std::uint32_t vgem = 200;
    std::uint32_t tcontType = 4;
    std::array<std::uint8_t, 6> clntMac{0x11, 0x22, 0x33, 0x44, 0x55, 0x66};
    std::string customCidStr;
    std::string customRidStr;
};
