#include "vnode/model/Counters.h"

namespace vnode {

std::string_view dropName(Drop drop)
{
    switch (drop) {
    case Drop::none:
        return "none";
    case Drop::runt:
        return "runt";
    case Drop::vlan:
        return "vlan";
    case Drop::sameInterface:
        return "sameInterface";
    case Drop::noMember:
        return "noMember";
    case Drop::oversize:
        return "oversize";
    case Drop::badRecord:
        return "badRecord";
    case Drop::noVlan:
        return "noVlan";
    case Drop::noOutput:
        return "noOutput";
    }
    return "";
}

} // namespace vnode
