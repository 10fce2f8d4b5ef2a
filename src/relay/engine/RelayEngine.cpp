#include "relay/engine/RelayEngine.h"

#include "common/CZoUtil.h"

#include <algorithm>

using FrameMutexGuard = boost::lock_guard<boost::recursive_mutex>;

void RelayEngine::setDraEnabled(bool value)
{
    const FrameMutexGuard guard(frameMutex);
    if (tables.draEnabled && !value) {
        for (auto& [id, interface] : tables.interfaces)
            interface.resetCounters();
    }
    tables.draEnabled = value;
}

void RelayEngine::rpcSetLocalMac(const std::uint8_t* mac)
{
    if (mac == nullptr)
        return;
    const FrameMutexGuard guard(frameMutex);
    std::copy_n(mac, tables.identity.localMac.size(), tables.identity.localMac.begin());
}

const dhcpraInterface* RelayEngine::getInterfaceById(std::uint32_t id) const
{
    return tables.interfaces.getInterfaceById(id);
}

const dhcpraInterface* RelayEngine::getInterfaceByName(const std::string& name) const
{
    return tables.interfaces.getInterfaceByName(name);
}

const dhcpraInterface* RelayEngine::getInterfaceByVpiVci(std::uint32_t parentId, std::uint32_t vpi,
                                                         std::uint32_t vci) const
{
    return tables.interfaces.getInterfaceByVpiVci(parentId, vpi, vci);
}

bool RelayEngine::setInterfaceName(std::uint32_t id, const std::string& name)
{
    const FrameMutexGuard guard(frameMutex);
    return tables.interfaces.setName(id, name);
}

bool RelayEngine::setCircuitIdModeATMParams(std::uint32_t id, std::uint32_t parentId, std::uint32_t vpi,
                                            std::uint32_t vci)
{
    const FrameMutexGuard guard(frameMutex);
    return tables.interfaces.setCircuitIdModeATMParams(id, parentId, vpi, vci);
}

dhcpraVlan* RelayEngine::getVlanById(std::uint16_t vid, bool create)
{
    const FrameMutexGuard guard(frameMutex);
    return tables.vlans.getVlanById(vid, create);
}

void RelayEngine::vlanDelete(std::uint16_t vid)
{
    const FrameMutexGuard guard(frameMutex);
    tables.vlans.vlanDelete(vid);
}

std::vector<dhcpraInterface> RelayEngine::copyOfInterfaces(std::uint32_t intfId) const
{
    std::vector<dhcpraInterface> copies;
    for (const auto& [id, interface] : tables.interfaces) {
        const bool hasSection = !interface.getIntfVlanMap().empty() ||
                                !interface.getIntfVlanMapV6().empty() ||
                                !interface.getCpeSerialNumber().empty();
        if ((intfId == 0 || intfId == id) && hasSection)
            copies.push_back(interface);
    }
    return copies;
}

void RelayEngine::dumpEquipment(const std::vector<dhcpraInterface>& shown, std::ostringstream& out)
{
    out << "\n Intf data: \n -------------- \n";
    for (const dhcpraInterface& interface : shown)
        if (!interface.getCpeSerialNumber().empty())
            out << " \tIntf Id: " << interface.getID() << ", CPE serial: " << interface.getCpeSerialNumber()
                << ", CPE MAC: " << CZoUtil::macToString(interface.getCpeMac().data()) << "\n";
}
