#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/**
 * Enumerations of the relay. The numbers are part of the management interface: they travel as they stand, and
 * a peer may send a number outside of the listed ones, so every type has a fixed width that holds any of them
 * and none may index a table unchecked.
 */
namespace dhcpraTypes {

/// A setting that can leave the decision to the next level: VLAN, then interface, then global.
enum class threeStateBool : std::int32_t {
    notSet = 0, ///< the next level decides
    no = 1,
    yes = 2,
};

[[nodiscard]] constexpr threeStateBool toThreeState(bool value)
{
    return value ? threeStateBool::yes : threeStateBool::no;
}

/// Walks one level: @p level if it is set, else what the levels @p below it have decided.
[[nodiscard]] constexpr bool resolve(threeStateBool level, bool below)
{
    return level == threeStateBool::yes || (level != threeStateBool::no && below);
}

/// Role of an interface; the names are display texts too.
enum class interfaceMode : std::int32_t {
    DISABLE = 0,
    CLIENTS = 1,
    SERVERS = 2,
    ENABLE = 3,
};
inline constexpr std::int32_t interfaceModeCount = 4;

/// A mode in debug texts; a number outside of the modes has the name of the last.
[[nodiscard]] constexpr const char* modeName(interfaceMode mode)
{
    constexpr std::array<const char*, interfaceModeCount> names{"DISABLE", "CLIENTS", "SERVERS", "ENABLE"};
    const std::size_t number = static_cast<std::uint32_t>(mode);
    return names[number < names.size() ? number : names.size() - 1];
}

/// Where the macros of an id take their values from.
enum class idGenType : std::int32_t {
    liveFrame = 0,
    managementQuery = 1,
    testData = 2,
};

/// Groups of debug texts that can be switched one by one.
enum class debugFlag : std::int32_t {
    io = 0,
    ioDump = 1,
    msgDump = 2,
    process = 3,
    message = 4,
    all = 5,
};

using dhcpraLoggingLevel = std::int32_t;
inline constexpr dhcpraLoggingLevel defaultLoggingLevel = 3;

/// Peers send -2 for "back to the factory level".
[[nodiscard]] constexpr dhcpraLoggingLevel storedLoggingLevel(dhcpraLoggingLevel requested)
{
    return requested == -2 ? defaultLoggingLevel : requested;
}

/// Macro types of the custom id formats; each is named as its macro word.
enum class customIdFormat : std::int32_t {
    SHELF,
    CHASSIS,
    PANEL,
    INTF_TYPE,
    AGENT_BOARD,
    BOARD,
    PORT,
    PORT_REM_ID,
    INTF,
    INTF_DSCR,
    ONU,
    VGEM,
    TCONT,
    PVC_INTF,
    VPI,
    VCI,
    CLNT_MAC,
    AGENT_MAC,
    AGENT_IPV4,
    AGENT_IPV6,
    VLAN,
    VLAN_NAME,
    CVID,
    SYSNAME,
    LOCATION,
    CONTACT,
    HEX,
    CPE_SERIAL,
    CPE_MAC,
};
inline constexpr std::size_t customIdFormatCount = 29;
static_assert(static_cast<std::size_t>(customIdFormat::CPE_MAC) + 1 == customIdFormatCount);

/// Index into the DHCPv4 counters.
enum counterId : std::uint32_t {
    counterDiscover = 0,
    counterRequest = 1,
    counterOffer = 2,
    counterAck = 3,
    counterDecline = 4,
    counterNack = 5,
    counterRelease = 6,
    counterInform = 7,
    counterDiscardOpt82 = 8,
    counterDiscardGiaddr = 9,
    counterDiscardOpt82Giaddr = 10,
    counterDiscardInvalid = 11,
    counterDiscardReaction = 12,
    counterOpt82NoRoom = 13,
    counterDiscardOther = 14,
    // 15 to 18 are reserved: in every vector and every report, incremented nowhere.
};
inline constexpr std::size_t counterCount = 19;

/// Index into the DHCPv6 counters; 0 to 12 are the message types 1 to 13 in order.
enum counterV6Id : std::uint32_t {
    counterV6FirstType = 0,
    counterV6LastType = 12,
    counterV6DiscardReaction = 13, ///< also a relay-reply that cannot be unwrapped
    counterV6Reserved = 14,
    counterV6TooLong = 15,          ///< the relay-forward would pass 1500 bytes
    counterV6UnknownInterface = 16, ///< relay-reply for an interface that does not exist
};
inline constexpr std::size_t counterV6Count = 17;

/// Index into the counters of ICMPv6 frames.
enum counterV6Ndp : std::uint32_t {
    counterV6NdpReceived = 0,
    counterV6NdpDropped = 1, ///< dropped on the answer of source guard
};
inline constexpr std::size_t counterV6NdpCount = 2;

/// True for a VLAN that has counters of its own. Frames of VLAN 0 and of 4095 and above have none.
[[nodiscard]] constexpr bool hasVlanCounters(std::uint16_t vid) { return vid != 0 && vid < 4095; }

/// "No VLAN" is all ones in the twelve bits of a VLAN id; callers pass 0x0FFF as well as 0xFFFF.
[[nodiscard]] constexpr bool isNoVlan(std::uint16_t vid) { return (vid & 0x0FFFU) == 0x0FFFU; }

} // namespace dhcpraTypes
