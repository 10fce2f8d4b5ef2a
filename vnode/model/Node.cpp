#include "vnode/model/Node.h"

#include <cerrno>
#include <utility>

namespace vnode {

Node::Node(NodeDescription description)
    : described(std::move(description)), current(makePicture(described)),
      driverNodes(filterTable, faultTable), learningBridge(described, current, filterTable)
{}

/// @p change answers 0 or an errno; 0 makes a new generation.
template <typename Change>
int Node::changePicture(Change&& change)
{
    if (const int error = faultTable.take(Operation::registryWrite))
        return error;
    const int error = change();
    if (error == 0)
        ++current.generation;
    return error;
}

int Node::addInterface(const Interfaces::Interface& row)
{
    return changePicture([&] {
        if (row.id == 0)
            return EINVAL;
        if (current.interfaces.find(row.id) != nullptr)
            return EEXIST;
        current.interfaces.put(row);
        return 0;
    });
}

int Node::removeInterface(std::uint32_t id)
{
    return changePicture([&] { return current.interfaces.remove(id) ? 0 : ENOENT; });
}

int Node::renameInterface(std::uint32_t id, const std::string& name)
{
    return changePicture([&] { return current.interfaces.rename(id, name) ? 0 : ENOENT; });
}

int Node::setInterfaceParent(std::uint32_t id, std::uint32_t parentId)
{
    return changePicture([&] { return current.interfaces.setParent(id, parentId) ? 0 : ENOENT; });
}

int Node::setInterfacePosition(std::uint32_t id, const Interfaces::slot_port_s& position)
{
    return changePicture([&] { return current.interfaces.setPosition(id, position) ? 0 : ENOENT; });
}

int Node::describeInterface(std::uint32_t id, const std::string& text)
{
    return changePicture([&] { return current.interfaces.describe(id, text) ? 0 : ENOENT; });
}

void Node::setFacts(const NodeFacts& facts)
{
    current.facts = facts;
    ++current.generation;
}

int Node::nameVlan(std::uint16_t id, const std::string& name)
{
    return changePicture([&] {
        const auto vlan = current.vlans.find(id);
        if (vlan == current.vlans.end())
            return ENOENT;
        vlan->second.name = name;
        return 0;
    });
}

int Node::createPseudoDevice(const std::string& name)
{
    if (const int error = faultTable.take(Operation::createPseudoDevice, name))
        return error;
    return filterTable.createDevice(name);
}

int Node::openControl() { return faultTable.take(Operation::openControl); }

int Node::markMacVlans(const zomacTableMacPort& key, Time now, zomacTableVlanBitmap& bitmap)
{
    if (const int error = faultTable.take(Operation::macTableRead))
        return error;
    learningBridge.macs().markVlans(key.mac, key.interfaceId, now, bitmap);
    return 0;
}

void Node::note(std::string text)
{
    if (noted.size() >= DriverNodes::journalLimit)
        noted.pop_front();
    noted.push_back(std::move(text));
}

} // namespace vnode
