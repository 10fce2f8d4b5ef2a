#pragma once

#include "platform/Interfaces.h"
#include "vnode/model/Types.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vnode {

/// What the node knows of itself. An absent value makes the query for it fail.
struct NodeFacts
{
    std::optional<MacAddress> mac;     ///< system MAC, also that of the node's own IP stack
    std::optional<std::uint32_t> ipv4; ///< host order
    std::optional<std::string> ipv6;   ///< text, as the operator entered it
    std::string ipv6Gateway;
    int boardType = 0;
    std::string boardName;
    std::optional<std::uint8_t> slot;
    std::set<int> options; ///< deployment options that are on
    bool operator==(const NodeFacts&) const = default;
};

struct VlanDescription
{
    std::uint16_t id = 0;
    std::string name; ///< may be empty
};

/// One interface id on a device. Ids that share a device must not share a VLAN there.
struct Attachment
{
    std::uint32_t interfaceId = 0;
    std::optional<std::uint16_t> untagged; ///< access VLAN, or native VLAN of a trunk
    VlanSet tagged;
};

/// One Linux device of the bridge.
struct PortDescription
{
    std::string device;
    std::uint16_t tpid =
        wire::typeCustomerTag; ///< tag protocol of this port, 0x8100 or 0x88A8; the other one is payload
    bool internal = false;     ///< leads to the node's own IP stack; one port at most
    std::vector<Attachment> attachments;
};

/// Everything the node file says.
struct NodeDescription
{
    NodeFacts facts;
    std::vector<VlanDescription> vlans;
    std::vector<Interfaces::Interface> interfaces;
    std::vector<PortDescription> ports;
    std::chrono::seconds macAging{300};
    std::size_t macLimit = 16384;
};

/// The part of a description that a complaint is about.
enum class Section { node, vlan, interface, port };

struct Problem
{
    Section section = Section::node;
    std::size_t index = 0; ///< into the vector of that section
    std::string reason;
};

/// First rule that @p description breaks, if any.
[[nodiscard]] std::optional<Problem> findProblem(const NodeDescription& description);

} // namespace vnode
