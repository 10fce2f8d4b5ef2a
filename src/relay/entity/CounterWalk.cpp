#include "relay/entity/CounterWalk.h"

#include "platform/Interfaces.h"
#include "platform/Node.h"

namespace {

using Interfaces::interfaceType;

/// Deployment option: counters are read at the level of a PON port or ONU.
constexpr int countersAtPon = 5;

/// How many levels below an interface its frames are counted.
int levelsToCounters(interfaceType type)
{
    switch (type) {
    case interfaceType::pon:
        return 2;
    case interfaceType::onu:
        return 1;
    case interfaceType::eth:
    case interfaceType::subscriber:
    case interfaceType::pvc:
    case interfaceType::gem:
    case interfaceType::management:
    case interfaceType::lag:
        return 0;
    }
    return 0; // a type that the registry knows and we do not
}

bool collectBelow(std::uint32_t id, int levels, std::vector<std::uint32_t>& ids)
{
    if (levels == 0) {
        ids.push_back(id);
        return true;
    }
    std::vector<std::uint32_t> children;
    if (Interfaces::interfaceAllChildrenGet(id, children) != 0)
        return false;
    for (const std::uint32_t child : children)
        if (!collectBelow(child, levels - 1, ids))
            return false;
    return true;
}

} // namespace

bool countingInterfaces(std::uint32_t id, std::vector<std::uint32_t>& ids)
{
    interfaceType type = interfaceType::eth;
    if (!isActive(countersAtPon))
        return collectBelow(id, 0, ids);
    return Interfaces::interfaceGetTypeById(id, type) == 0 && collectBelow(id, levelsToCounters(type), ids);
}
