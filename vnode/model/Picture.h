#pragma once

#include "vnode/model/NodeDescription.h"
#include "vnode/model/Registry.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace vnode {

struct Vlan
{
    std::string name;
    std::vector<std::uint32_t> members; ///< interface ids, ascending
    bool operator==(const Vlan&) const = default;
};

/// The configuration from which the node answers queries. Clients may answer from a copy as long as its
/// generation is the node's.
struct Picture
{
    std::uint64_t generation = 0; ///< grows by one with every change
    NodeFacts facts;
    Registry interfaces;
    std::unordered_map<std::uint16_t, Vlan> vlans;

    [[nodiscard]] const Vlan* findVlan(std::uint16_t id) const;
};

/// The picture that a description gives, at generation 1.
[[nodiscard]] Picture makePicture(const NodeDescription& description);

} // namespace vnode
