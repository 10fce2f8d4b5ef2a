#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>

namespace vnode {

/// Why the bridge did not pass a frame on.
enum class Drop : std::uint8_t {
    none,
    runt,          ///< ends inside its Ethernet header
    vlan,          ///< its VLAN is not one of the port's
    sameInterface, ///< its destination is where it came from
    noMember,      ///< nobody else in its VLAN
    oversize,      ///< does not fit behind a record
    badRecord,     ///< from the daemon, with a record that cannot be read or a size that is not the frame's
    noVlan,        ///< from the daemon, without VLAN and without output
    noOutput,      ///< from the daemon, for an output that is not there
};
inline constexpr std::size_t dropCount = 9;

[[nodiscard]] std::string_view dropName(Drop drop);

struct InterfaceCounters
{
    std::uint64_t received = 0;
    std::uint64_t sent = 0;
    std::uint64_t diverted = 0;
    std::uint64_t dropped = 0;
};

struct Counters
{
    std::unordered_map<std::uint32_t, InterfaceCounters> interfaces; ///< by interface id
    std::array<std::uint64_t, dropCount> drops{};
    std::uint64_t diverted = 0;  ///< frames handed to the daemon
    std::uint64_t injected = 0;  ///< frames taken back from it
    std::uint64_t notLearnt = 0; ///< sources that found the MAC table full
};

} // namespace vnode
