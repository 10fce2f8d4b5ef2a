#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vnode {

/// File nodes of the bridge driver: application filters, ARP inspection, source guard.
enum class NodePath : std::uint8_t { bridge, acl, ipsg };

struct NodePathRow
{
    NodePath path;
    std::string_view text;
};

inline constexpr std::array<NodePathRow, 3> nodePaths{{
    {NodePath::bridge, "/proc/net/zobridge/br0/bridge"},
    {NodePath::acl, "/proc/net/zobridge/br0/acl"},
    {NodePath::ipsg, "/proc/net/zobridge/br0/ipsg"},
}};

/// A request that the driver knows. The size inside the request word (4) says nothing of the record behind
/// the pointer; @ref recordSize is what the driver reads or writes there.
struct RequestRow
{
    unsigned long request;
    NodePath path;
    std::size_t recordSize;
};

/// Argument: 17 bytes of filter name, 15 bytes of device name, 4 zero bytes.
inline constexpr unsigned long requestAttachFilter = 0x40047AC8;

/// Argument: 40 bytes of counter name; the driver answers with a number behind it.
inline constexpr unsigned long requestReadAclCounter = 0xC0047A13;

// Source guard. The argument is one record whose fields keep their places; each request uses some of them.
inline constexpr unsigned long requestGuardState = 0x40047A03;
inline constexpr unsigned long requestGuardPortState = 0x40047A05;
inline constexpr unsigned long requestGuardMode = 0x40047A07;
inline constexpr unsigned long requestGuardReadDrops = 0xC0047A0D;
inline constexpr unsigned long requestGuardAddBinding = 0x40047A0E;
inline constexpr unsigned long requestGuardRemoveBinding = 0x40047A0F;
inline constexpr unsigned long requestGuardReadBinding = 0xC0047A10;
inline constexpr unsigned long requestGuardVlanState = 0xC0047A11;
inline constexpr unsigned long requestGuardClearVlans = 0xC0047A12;

inline constexpr std::array<RequestRow, 11> driverRequests{{
    {requestAttachFilter, NodePath::bridge, 36},
    {requestReadAclCounter, NodePath::acl, 44},
    {requestGuardState, NodePath::ipsg, 8},
    {requestGuardPortState, NodePath::ipsg, 28},
    {requestGuardMode, NodePath::ipsg, 24},
    {requestGuardReadDrops, NodePath::ipsg, 28},
    {requestGuardAddBinding, NodePath::ipsg, 60},
    {requestGuardRemoveBinding, NodePath::ipsg, 60},
    {requestGuardReadBinding, NodePath::ipsg, 64},
    {requestGuardVlanState, NodePath::ipsg, 28},
    {requestGuardClearVlans, NodePath::ipsg, 0},
}};

[[nodiscard]] constexpr std::optional<NodePath> findNodePath(std::string_view text)
{
    for (const NodePathRow& row : nodePaths)
        if (row.text == text)
            return row.path;
    return std::nullopt;
}

[[nodiscard]] constexpr std::string_view nodePathText(NodePath path)
{
    return nodePaths[static_cast<std::size_t>(path)].text;
}

[[nodiscard]] constexpr const RequestRow* findRequest(unsigned long request)
{
    for (const RequestRow& row : driverRequests)
        if (row.request == request)
            return &row;
    return nullptr;
}

} // namespace vnode
