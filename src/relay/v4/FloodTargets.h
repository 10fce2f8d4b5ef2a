#pragma once

#include "relay/model/InterfaceTable.h"

#include <cstdint>
#include <vector>

/// The interfaces on the network side, in the order of their ids. Kept between frames: a walk over all
/// interfaces for each frame would cost more than the frame itself.
class FloodTargets
{
public:
    [[nodiscard]] const std::vector<std::uint32_t>& of(const InterfaceTable& interfaces)
    {
        using dhcpraTypes::interfaceMode;
        const Revision now{interfaces.revision(), dhcpraInterface::modeRevision()};
        if (now == known)
            return ids;
        ids.clear();
        for (const auto& [id, interface] : interfaces) {
            if (interface.getMode() == interfaceMode::SERVERS || interface.getMode() == interfaceMode::ENABLE)
                ids.push_back(id);
        }
        known = now;
        return ids;
    }

private:
    struct Revision
    {
        std::uint64_t table = 0;
        std::uint64_t modes = 0;
        bool operator==(const Revision&) const = default;
    };

    std::vector<std::uint32_t> ids;
    Revision known;
};
