#include "relay/model/InterfaceTable.h"

#include <algorithm>
#include <utility>

dhcpraInterface& InterfaceTable::add(dhcpraInterface interface)
{
    ++changes;
    const std::uint32_t id = interface.getID();
    const auto [place, isNew] = interfaces.try_emplace(id);
    dhcpraInterface& stored = place->second;
    if (!isNew)
        removeFromIndexes(stored);
    if (id < shortIds) {
        byShortId.resize(std::max<std::size_t>(byShortId.size(), id + 1));
        byShortId[id] = &stored;
    }
    stored = std::move(interface);
    addToIndexes(stored);
    return stored;
}

void InterfaceTable::clear()
{
    ++changes;
    byName.clear();
    shortcuts.clear();
    byLinuxName.clear();
    byVpiVci.clear();
    byShortId.clear();
    interfaces.clear();
}

dhcpraInterface* InterfaceTable::getInterfaceByName(std::string_view name)
{
    if (shortcuts.empty())
        return nullptr;
    dhcpraInterface* const likely = shortcuts[TextHash{}(name) & (shortcuts.size() - 1)];
    return likely != nullptr && likely->getName() == name ? likely : byName.lowest(name);
}

const dhcpraInterface* InterfaceTable::getInterfaceByName(std::string_view name) const
{
    return const_cast<InterfaceTable*>(this)->getInterfaceByName(name);
}

dhcpraInterface* InterfaceTable::getInterfaceByLinuxName(std::string_view name)
{
    return byLinuxName.lowest(name);
}

const dhcpraInterface* InterfaceTable::getInterfaceByLinuxName(std::string_view name) const
{
    return byLinuxName.lowest(name);
}

dhcpraInterface* InterfaceTable::getInterfaceByVpiVci(std::uint32_t parentId, std::uint32_t vpi,
                                                      std::uint32_t vci)
{
    return byVpiVci.lowest(AtmKey{parentId, vpi, vci});
}

const dhcpraInterface* InterfaceTable::getInterfaceByVpiVci(std::uint32_t parentId, std::uint32_t vpi,
                                                            std::uint32_t vci) const
{
    return byVpiVci.lowest(AtmKey{parentId, vpi, vci});
}

bool InterfaceTable::setName(std::uint32_t id, const std::string& name)
{
    dhcpraInterface* interface = getInterfaceById(id);
    if (interface == nullptr)
        return false;
    removeName(*interface);
    interface->setName(name);
    addName(*interface);
    return true;
}

bool InterfaceTable::setCircuitIdModeATMParams(std::uint32_t id, std::uint32_t parentId, std::uint32_t vpi,
                                               std::uint32_t vci)
{
    dhcpraInterface* interface = getInterfaceById(id);
    if (interface == nullptr)
        return false;
    byVpiVci.remove(atmKey(*interface), id);
    interface->setCircuitIdModeATMParams(parentId, vpi, vci);
    byVpiVci.add(atmKey(*interface), id, interface);
    return true;
}

std::size_t InterfaceTable::AtmHash::operator()(const AtmKey& key) const
{
    // A line's PVCs differ in vpi and vci, which are 8 and 16 bits wide on the wire.
    const std::uint64_t circuit = std::uint64_t{key.parentId} << 32 ^ std::uint64_t{key.vpi} << 16 ^ key.vci;
    return std::hash<std::uint64_t>{}(circuit * 0x9E3779B97F4A7C15U);
}

InterfaceTable::AtmKey InterfaceTable::atmKey(const dhcpraInterface& interface)
{
    return {interface.getParentId(), interface.getVpi(), interface.getVci()};
}

void InterfaceTable::addName(dhcpraInterface& interface)
{
    byName.add(interface.getName(), interface.getID(), &interface);
    constexpr std::size_t fewest = 64; // a power of two, as the number of slots always is
    if (4 * interfaces.size() <= shortcuts.size())
        return refreshShortcut(interface.getName());
    shortcuts.assign(shortcuts.empty() ? fewest : 2 * shortcuts.size(), nullptr);
    for (const auto& [id, known] : interfaces)
        refreshShortcut(known.getName());
}

void InterfaceTable::removeName(const dhcpraInterface& interface)
{
    byName.remove(interface.getName(), interface.getID());
    refreshShortcut(interface.getName());
}

void InterfaceTable::refreshShortcut(std::string_view name)
{
    shortcuts[TextHash{}(name) & (shortcuts.size() - 1)] = byName.lowest(name);
}

void InterfaceTable::addToIndexes(dhcpraInterface& interface)
{
    addName(interface);
    byLinuxName.add(interface.getLinuxname(), interface.getID(), &interface);
    byVpiVci.add(atmKey(interface), interface.getID(), &interface);
}

void InterfaceTable::removeFromIndexes(const dhcpraInterface& interface)
{
    removeName(interface);
    byLinuxName.remove(interface.getLinuxname(), interface.getID());
    byVpiVci.remove(atmKey(interface), interface.getID());
}
