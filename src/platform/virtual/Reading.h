#pragma once

#include "platform/virtual/NodeAccess.h"

#include <cstdint>

namespace platform::virtualNode {

inline constexpr int success = 0;
inline constexpr int failure = -1;

/// Runs @p look on the node's picture; false from it, an unreachable node or an injected fault give -1, else
/// 0.
template <typename Look>
[[nodiscard]] int read(vnode::Operation operation, Look&& look)
{
    NodeAccess& node = current();
    if (node.readFault(operation) != 0)
        return failure;
    const PictureReader picture = node.picture();
    return picture && look(*picture) ? success : failure;
}

/// Runs @p look on a registry row.
template <typename Look>
[[nodiscard]] int readInterface(std::uint32_t id, Look&& look)
{
    return read(vnode::Operation::registryRead, [&](const vnode::Picture& picture) {
        const Interfaces::Interface* row = picture.interfaces.find(id);
        if (row == nullptr)
            return false;
        look(*row);
        return true;
    });
}

/// 0 for 0, -1 for an errno.
[[nodiscard]] inline int answer(int error) { return error == 0 ? success : failure; }

} // namespace platform::virtualNode
