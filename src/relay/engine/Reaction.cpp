#include "relay/engine/Reaction.h"

#include <algorithm>
#include <array>

const char* modeName(dhcpraTypes::interfaceMode mode)
{
    static constexpr std::array<const char*, 4> names{"DISABLE", "CLIENTS", "SERVERS", "ENABLE"};
    const auto number = static_cast<std::size_t>(static_cast<std::uint32_t>(mode));
    return names[std::min(number, names.size() - 1)];
}
