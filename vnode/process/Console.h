#pragma once

#include <iostream>
#include <sstream>

namespace vnode {

/// One line on standard error, whole: "vnode: ...".
template <typename... Parts>
void say(const Parts&... parts)
{
    std::ostringstream line;
    line << "vnode: ";
    (line << ... << parts);
    line << '\n';
    std::cerr << line.str() << std::flush;
}

} // namespace vnode
