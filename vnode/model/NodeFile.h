#pragma once

#include "vnode/model/NodeDescription.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace vnode {

/// A node file that cannot be used; what() is "FILE:LINE: REASON".
class NodeFileError : public std::runtime_error
{
public:
    NodeFileError(const std::string& file, long line, const std::string& reason);
    long line = 0;
};

/// Reads and checks the node file at @p path; throws NodeFileError.
[[nodiscard]] NodeDescription readNodeFile(const std::string& path);

/// The same for a text; @p name stands for the file in complaints.
[[nodiscard]] NodeDescription parseNode(std::string_view xml, const std::string& name);

} // namespace vnode
