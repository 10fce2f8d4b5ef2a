#include "relay/RelayEngine.h"

#include "common/CZoUtil.h"

#include <algorithm>

using FrameMutexGuard = boost::lock_guard<boost::recursive_mutex>;

void RelayEngine::setDraEnabled(bool value)
{
    const FrameMutexGuard guard(frameMutex);
    if (draEnabled && !value) {
        for (auto& [id, interface] : interfaces)
            interface.resetCounters();
    }
    draEnabled = value;
}

void RelayEngine::rpcSetLocalMac(const std::uint8_t* mac)
{
    if (mac == nullptr)
        return;
    const FrameMutexGuard guard(frameMutex);
    std::copy_n(mac, identity.localMac.size(), identity.localMac.begin());
}

const dhcpraInterface* RelayEngine::getInterfaceById(std::uint32_t id) const
{
    return interfaces.getInterfaceById(id);
}

const dhcpraInterface* RelayEngine::getInterfaceByName(const std::string& name) const
{
    return interfaces.getInterfaceByName(name);
}

const dhcpraInterface* RelayEngine::getInterfaceByVpiVci(std::uint32_t parentId, std::uint32_t vpi,
                                                         std::uint32_t vci) const
{
    return interfaces.getInterfaceByVpiVci(parentId, vpi, vci);
}

bool RelayEngine::setInterfaceName(std::uint32_t id, const std::string& name)
{
    const FrameMutexGuard guard(frameMutex);
    return interfaces.setName(id, name);
}

bool RelayEngine::setCircuitIdModeATMParams(std::uint32_t id, std::uint32_t parentId, std::uint32_t vpi,
                                            std::uint32_t vci)
{
    const FrameMutexGuard guard(frameMutex);
    return interfaces.setCircuitIdModeATMParams(id, parentId, vpi, vci);
}

dhcpraVlan* RelayEngine::getVlanById(std::uint16_t vid, bool create)
{
    const FrameMutexGuard guard(frameMutex);
    return vlans.getVlanById(vid, create);
}

void RelayEngine::vlanDelete(std::uint16_t vid)
{
    const FrameMutexGuard guard(frameMutex);
    vlans.vlanDelete(vid);
}

void RelayEngine::dumpEquipment(std::uint32_t intfId, std::ostringstream& out) const
{
    out << "\n Intf data: \n -------------- \n";
    for (const auto& [id, interface] : interfaces)
        if ((intfId == 0 || intfId == id) && !interface.getCpeSerialNumber().empty())
            out << " \tIntf Id: " << id << ", CPE serial: " << interface.getCpeSerialNumber()
                << ", CPE MAC: " << CZoUtil::macToString(interface.getCpeMac().data()) << "\n";
}
