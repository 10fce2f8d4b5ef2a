#include "relay/model/InterfaceTable.h"

#include <algorithm>
#include <utility>

dhcpraInterface& InterfaceTable::add(dhcpraInterface interface)
{
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
    byName.clear();
    byLinuxName.clear();
    byVpiVci.clear();
    byShortId.clear();
    interfaces.clear();
}

dhcpraInterface* InterfaceTable::getInterfaceById(std::uint32_t id)
{
    if (id < shortIds)
        return id < byShortId.size() ? byShortId[id] : nullptr;
    const auto found = interfaces.find(id);
    return found == interfaces.end() ? nullptr : &found->second;
}

const dhcpraInterface* InterfaceTable::getInterfaceById(std::uint32_t id) const
{
    return const_cast<InterfaceTable*>(this)->getInterfaceById(id);
}

dhcpraInterface* InterfaceTable::getInterfaceByName(std::string_view name) { return byName.lowest(name); }

const dhcpraInterface* InterfaceTable::getInterfaceByName(std::string_view name) const
{
    return byName.lowest(name);
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
    byName.remove(interface->getName(), id);
    interface->setName(name);
    byName.add(interface->getName(), id, interface);
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

void InterfaceTable::addToIndexes(dhcpraInterface& interface)
{
    byName.add(interface.getName(), interface.getID(), &interface);
    byLinuxName.add(interface.getLinuxname(), interface.getID(), &interface);
    byVpiVci.add(atmKey(interface), interface.getID(), &interface);
}

void InterfaceTable::removeFromIndexes(const dhcpraInterface& interface)
{
    byName.remove(interface.getName(), interface.getID());
    byLinuxName.remove(interface.getLinuxname(), interface.getID());
    byVpiVci.remove(atmKey(interface), interface.getID());
}
