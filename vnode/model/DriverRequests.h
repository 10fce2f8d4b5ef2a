#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vnode {

/// File nodes of the bridge driver.
enum class NodePath : std::uint8_t { bridge };

struct NodePathRow
{
    NodePath path;
    std::string_view text;
};

inline constexpr std::array<NodePathRow, 1> nodePaths{{
    {NodePath::bridge, "/proc/net/zobridge/br0/bridge"},
}};

/// Requests that the driver knows. The size inside the request word (4) says nothing of the record behind the
/// pointer, so the record's true size stands here.
struct RequestRow
{
    unsigned long request;
    NodePath path;
    std::size_t recordSize;
    bool answersInRecord;
};

/// Argument: 17 bytes of filter name, 15 bytes of device name, 4 zero bytes.
inline constexpr unsigned long requestAttachFilter = 0x40047AC8;

inline constexpr std::array<RequestRow, 1> driverRequests{{
    {requestAttachFilter, NodePath::bridge, 36, false},
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
