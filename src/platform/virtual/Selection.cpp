#include "platform/virtual/NodeAccess.h"

#include <atomic>
#include <cstdlib>
#include <mutex>

namespace platform::virtualNode {

namespace {

constexpr const char* defaultSocket = "/run/vnode.sock";
constexpr const char* socketVariable = "VNODE_SOCKET";

/// Never destroyed: threads of the daemon ask the node until the very end of the process.
struct Selection
{
    std::mutex mutex;                  ///< guards owner
    std::shared_ptr<NodeAccess> owner; ///< keeps what active points to
    std::atomic<NodeAccess*> active{nullptr};
};

Selection& selection()
{
    static auto* const object = new Selection;
    return *object;
}

NodeAccess& connectDefault(Selection& selected)
{
    const std::lock_guard lock(selected.mutex);
    if (!selected.owner) {
        const char* path = std::getenv(socketVariable);
        selected.owner = connectRemoteNode(path != nullptr && *path != '\0' ? path : defaultSocket);
        selected.active = selected.owner.get();
    }
    return *selected.owner;
}

} // namespace

void use(std::shared_ptr<NodeAccess> node)
{
    Selection& selected = selection();
    const std::lock_guard lock(selected.mutex);
    selected.active = node.get();
    selected.owner = std::move(node);
}

NodeAccess& current()
{
    Selection& selected = selection();
    NodeAccess* node = selected.active;
    return node != nullptr ? *node : connectDefault(selected);
}

} // namespace platform::virtualNode
