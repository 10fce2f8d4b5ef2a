#include "vnode/model/Registry.h"

namespace vnode {

using Interfaces::Interface;

const Interface* Registry::find(std::uint32_t id) const
{
    const auto row = rows.find(id);
    return row == rows.end() ? nullptr : &row->second;
}

template <typename AnyIndex, typename Key>
const Interface* Registry::lowest(const AnyIndex& index, const Key& key) const
{
    const auto found = index.find(key);
    return found == index.end() ? nullptr : find(*found->second.begin());
}

const Interface* Registry::findByName(const std::string& name) const { return lowest(byName, name); }

const Interface* Registry::findByLinuxName(const std::string& name) const
{
    return lowest(byLinuxName, name);
}

const Interface* Registry::findByPosition(std::uint32_t slotNumber, std::uint32_t port, std::uint32_t intf,
                                          std::uint32_t gem) const
{
    return lowest(byPosition, Position{slotNumber, port, intf, gem});
}

Registry::Position Registry::positionOf(const Interface& row)
{
    return {row.position.slot.number, row.position.port, row.position.intf, row.position.gem};
}

std::vector<Interface> Registry::list() const
{
    std::vector<Interface> all;
    all.reserve(ids.size());
    for (const std::uint32_t id : ids)
        all.push_back(rows.at(id));
    return all;
}

std::vector<std::uint32_t> Registry::childrenOf(std::uint32_t id) const
{
    const auto found = children.find(id);
    if (found == children.end())
        return {};
    return {found->second.begin(), found->second.end()};
}

std::uint32_t Registry::countOf(Interfaces::interfaceType type) const
{
    const auto number = static_cast<std::size_t>(type);
    return number < counts.size() ? counts[number] : 0;
}

void Registry::put(const Interface& row)
{
    remove(row.id);
    rows[row.id] = row;
    ids.insert(row.id);
    enter(row);
}

bool Registry::remove(std::uint32_t id)
{
    const auto row = rows.find(id);
    if (row == rows.end())
        return false;
    leave(row->second);
    ids.erase(id);
    rows.erase(row);
    return true;
}

template <typename Change>
bool Registry::change(std::uint32_t id, Change&& apply)
{
    const auto row = rows.find(id);
    if (row == rows.end())
        return false;
    leave(row->second);
    apply(row->second);
    enter(row->second);
    return true;
}

bool Registry::rename(std::uint32_t id, const std::string& name)
{
    return change(id, [&](Interface& row) { row.name = name; });
}

bool Registry::setParent(std::uint32_t id, std::uint32_t parentId)
{
    return change(id, [&](Interface& row) { row.parentId = parentId; });
}

bool Registry::setPosition(std::uint32_t id, const Interfaces::slot_port_s& position)
{
    return change(id, [&](Interface& row) { row.position = position; });
}

bool Registry::describe(std::uint32_t id, const std::string& text)
{
    return change(id, [&](Interface& row) { row.description = text; });
}

void Registry::enter(const Interface& row)
{
    byName[row.name].insert(row.id);
    byLinuxName[row.linuxName].insert(row.id);
    byPosition[positionOf(row)].insert(row.id);
    if (row.parentId != 0)
        children[row.parentId].insert(row.id);
    // The type comes from a peer; a number beyond the list is kept, but not counted.
    if (const auto type = static_cast<std::size_t>(row.type); type < counts.size())
        ++counts[type];
}

void Registry::leave(const Interface& row)
{
    const auto take = [&](auto& index, const auto& key) {
        const auto found = index.find(key);
        if (found == index.end())
            return;
        found->second.erase(row.id);
        if (found->second.empty())
            index.erase(found);
    };
    take(byName, row.name);
    take(byLinuxName, row.linuxName);
    take(byPosition, positionOf(row));
    take(children, row.parentId);
    if (const auto type = static_cast<std::size_t>(row.type); type < counts.size())
        --counts[type];
}

} // namespace vnode
