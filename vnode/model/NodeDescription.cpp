#include "vnode/model/NodeDescription.h"

#include "vnode/model/Ether.h"
#include "vnode/model/Names.h"

#include <limits>
#include <unordered_map>
#include <unordered_set>

namespace vnode {

namespace {

using Reason = std::optional<std::string>;

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

/// Walks the sections in turn and remembers what the later ones refer to.
class Checker
{
public:
    explicit Checker(const NodeDescription& checked) : description(checked) {}

    std::optional<Problem> run()
    {
        if (auto reason = checkNode())
            return Problem{Section::node, 0, *reason};
        if (auto problem = walk(Section::vlan, description.vlans, &Checker::checkVlan))
            return problem;
        if (auto problem = walk(Section::interface, description.interfaces, &Checker::checkInterface))
            return problem;
        if (auto problem = walk(Section::interface, description.interfaces, &Checker::checkParent))
            return problem;
        return walk(Section::port, description.ports, &Checker::checkPort);
    }

private:
    template <typename Row>
    std::optional<Problem> walk(Section section, const std::vector<Row>& rows,
                                Reason (Checker::*check)(const Row&))
    {
        for (std::size_t i = 0; i < rows.size(); ++i)
            if (auto reason = (this->*check)(rows[i]))
                return Problem{section, i, *reason};
        return std::nullopt;
    }

    Reason checkNode()
    {
        if (description.facts.mac && wire::isGroup(*description.facts.mac))
            return "the node's MAC is a group address";
        if (description.macAging.count() <= 0)
            return "MAC ageing needs at least a second";
        return std::nullopt;
    }

    Reason checkVlan(const VlanDescription& vlan)
    {
        if (vlan.id < vlanIdMin || vlan.id > vlanIdMax)
            return "VLAN " + std::to_string(vlan.id) + " is outside 1 to 4094";
        if (vlans[vlan.id])
            return "VLAN " + std::to_string(vlan.id) + " is there twice";
        vlans.set(vlan.id);
        return std::nullopt;
    }

    Reason checkInterface(const Interfaces::Interface& row)
    {
        if (row.id == 0)
            return "an interface id starts at 1";
        if (!parentOf.emplace(row.id, row.parentId).second)
            return "interface " + std::to_string(row.id) + " is there twice";
        if (row.name.empty())
            return "interface " + std::to_string(row.id) + " has no name";
        if (!names.insert(row.name).second)
            return "two interfaces have the name " + quoted(row.name);
        if (row.linuxName.empty() || row.linuxName.size() > deviceNameMax)
            return "the Linux name " + quoted(row.linuxName) + " needs 1 to 15 characters";
        if (!linuxNames.insert(row.linuxName).second)
            return "two interfaces have the Linux name " + quoted(row.linuxName);
        return std::nullopt;
    }

    Reason checkParent(const Interfaces::Interface& row)
    {
        std::uint32_t ancestor = row.parentId;
        for (std::size_t steps = 0; ancestor != 0; ++steps) {
            const auto found = parentOf.find(ancestor);
            if (found == parentOf.end())
                return "parent " + std::to_string(ancestor) + " is no interface";
            if (steps == maxDepth)
                return "interface " + std::to_string(row.id) + " has too many ancestors, or is its own";
            ancestor = found->second;
        }
        return std::nullopt;
    }

    Reason checkPort(const PortDescription& port)
    {
        if (!isDeviceName(port.device))
            return quoted(port.device) + " is no name for a Linux device";
        if (!devices.insert(port.device).second)
            return "device " + quoted(port.device) + " has two ports";
        if (!isTpid(port.tpid))
            return "the tag protocol is 0x8100 or 0x88A8";
        if (port.attachments.empty())
            return "port " + quoted(port.device) + " has no interface";
        if (port.internal) {
            if (auto reason = checkInternal(port))
                return reason;
        }
        VlanSet taken;
        bool untaggedTaken = false;
        for (const Attachment& attachment : port.attachments)
            if (auto reason = checkAttachment(port, attachment, taken, untaggedTaken))
                return reason;
        return std::nullopt;
    }

    Reason checkInternal(const PortDescription& port)
    {
        if (internalSeen)
            return "a second internal port";
        internalSeen = true;
        if (!description.facts.mac)
            return "the internal port needs the node's MAC";
        if (port.attachments.size() > 1)
            return "the internal port has more than one interface";
        return std::nullopt;
    }

    Reason checkAttachment(const PortDescription& port, const Attachment& attachment, VlanSet& taken,
                           bool& untaggedTaken)
    {
        const std::string id = std::to_string(attachment.interfaceId);
        if (!parentOf.contains(attachment.interfaceId))
            return "port " + quoted(port.device) + " is for interface " + id + ", which is not there";
        // The record in front of a diverted frame has 16 bits for it.
        if (attachment.interfaceId > std::numeric_limits<std::uint16_t>::max())
            return "interface " + id + " has a port, so its id has to be below 65536";
        if (!attached.insert(attachment.interfaceId).second)
            return "interface " + id + " is on two ports";

        VlanSet own = attachment.tagged;
        if (attachment.untagged) {
            if (*attachment.untagged > vlanIdMax || !vlans[*attachment.untagged])
                return "VLAN " + std::to_string(*attachment.untagged) + " is not declared";
            if (own[*attachment.untagged])
                return "VLAN " + std::to_string(*attachment.untagged) + " is both tagged and untagged";
            if (untaggedTaken)
                return "two interfaces of " + quoted(port.device) + " take untagged frames";
            untaggedTaken = true;
            own.set(*attachment.untagged);
        }
        if (own.none())
            return "interface " + id + " has no VLAN on " + quoted(port.device);
        if (const auto unknown = own & ~vlans; unknown.any())
            return "VLAN " + std::to_string(unknown._Find_first()) + " is not declared";
        if (const auto shared = own & taken; shared.any())
            return "VLAN " + std::to_string(shared._Find_first()) + " belongs to two interfaces of " +
                   quoted(port.device);
        taken |= own;
        return std::nullopt;
    }

    static constexpr std::size_t maxDepth = 8;

    const NodeDescription& description;
    VlanSet vlans;
    std::unordered_map<std::uint32_t, std::uint32_t> parentOf;
    std::unordered_set<std::string> names;
    std::unordered_set<std::string> linuxNames;
    std::unordered_set<std::string> devices;
    std::unordered_set<std::uint32_t> attached;
    bool internalSeen = false;
};

} // namespace

std::optional<Problem> findProblem(const NodeDescription& description) { return Checker(description).run(); }

} // namespace vnode
