#include "platform/virtual/NodeAccess.h"

#include <stdexcept>

/// Stands in where the tree has no client of the control socket.
std::shared_ptr<platform::virtualNode::NodeAccess>
platform::virtualNode::connectRemoteNode(const std::string& path)
{
    throw std::runtime_error("no way to a virtual node at " + path);
}
