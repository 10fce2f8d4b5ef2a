#pragma once

#include "wire/Ethernet.h"

#include <bitset>
#include <chrono>
#include <cstddef>
#include <cstdint>

/// The virtual node: registry, learning bridge, diversion to the daemon and driver nodes, without I/O.
namespace vnode {

/// The model has no clock: whoever drives it passes the time in.
using Time = std::chrono::steady_clock::time_point;

using MacAddress = wire::Mac;

inline constexpr std::size_t vlanIdCount = 4096;
using wire::vlanIdMask;
/// Id 0 is a priority tag and 4095 stands for "no VLAN", so neither is a VLAN of the bridge.
inline constexpr std::uint16_t vlanIdMin = 1;
inline constexpr std::uint16_t vlanIdMax = 4094;

/// One bit per VLAN id.
using VlanSet = std::bitset<vlanIdCount>;

} // namespace vnode
