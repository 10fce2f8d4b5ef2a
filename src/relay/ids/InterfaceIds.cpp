#include "relay/ids/InterfaceIds.h"

#include "relay/ids/CustomIds.h"
#include "relay/ids/FixedForms.h"

namespace {

using dhcpraTypes::threeStateBool;
using Interfaces::interfaceType;
using Mode = dhcpraInterface::interfaceIdModeV6_t;

Mode fixedMode(threeStateBool value)
{
    return value == threeStateBool::yes ? dhcpraInterface::DHCPRA_INTF_IIDMODE_FIXED_0
                                        : dhcpraInterface::DHCPRA_INTF_IIDMODE_FIXED_1;
}

} // namespace

Mode InterfaceIds::modeOf(const dhcpraInterface& interface, std::uint16_t vid) const
{
    if (!dhcpraTypes::isNoVlan(vid)) {
        if (const dhcpraInterface::intfVlanV6* record = interface.findIntfVlanV6(vid)) {
            DHCPRA_ID_LOG(context.debug, "\n\t interface-vlan Interface ID mode=%d\n",
                          record->interfaceIdMode);
            return record->interfaceIdMode;
        }
        const dhcpraVlan* vlan = context.vlans.getVlanById(vid);
        if (vlan != nullptr && vlan->getInterfaceIdV6() != threeStateBool::notSet) {
            const Mode mode = fixedMode(vlan->getInterfaceIdV6());
            DHCPRA_ID_LOG(context.debug, "\n\t VLAN Interface ID mode=%d\n", mode);
            return mode;
        }
    }
    if (interface.getInterfaceIDV6() != threeStateBool::notSet) {
        const Mode mode = fixedMode(interface.getInterfaceIDV6());
        DHCPRA_ID_LOG(context.debug, "\n\t interface Interface ID mode=%d\n", mode);
        return mode;
    }
    return settings.interfaceId ? dhcpraInterface::DHCPRA_INTF_IIDMODE_FIXED_1
                                : dhcpraInterface::DHCPRA_INTF_IIDMODE_FIXED_0;
}

bool InterfaceIds::isStandardForm(const dhcpraInterface& interface, std::uint16_t vid) const
{
    // Every level can veto the standard form; none can bring it back. The mode above plays no part in this.
    if (!settings.interfaceId || interface.getInterfaceIDV6() == threeStateBool::no)
        return false;
    const dhcpraVlan* vlan = context.vlans.getVlanById(vid);
    return vlan == nullptr || vlan->getInterfaceIdV6() != threeStateBool::no;
}

void InterfaceIds::genInterfaceIdByInterfaceName(const std::string& name, std::uint16_t vid,
                                                 std::uint16_t cvid, std::string& id,
                                                 std::vector<std::uint8_t>& idBin,
                                                 dhcpraTypes::idGenType type) const
{
    const std::uint8_t slot = slotOfBoard(context.debug);
    const dhcpraInterface* interface = context.configuredInterface(name);
    if (interface == nullptr)
        return;
    if (modeOf(*interface, vid) == dhcpraInterface::DHCPRA_INTF_IIDMODE_CUSTOM) {
        CustomIds(context, idFamilyV6)
            .genIdFromFormats(*interface, {interface->getID(), vid, cvid, type}, settings.interfaceIdFormat,
                              id, idBin);
        return;
    }

    idBin.clear();
    const RelayIdentity& identity = context.identity;
    // Fewer types are "eth" than in a circuit id; servers match on these texts.
    const std::string_view word =
        typeWord(interface->getType(), {interfaceType::eth, interfaceType::subscriber, interfaceType::lag});
    bool withCVlan = false;
    if (isStandardForm(*interface, vid)) {
        standardForm(id, identity.shelfId, word, identity.chassisId, slot, portTail(name));
        // "<cvid>" stands behind "<vid>" only, never behind a real VLAN.
        withCVlan = dhcpraTypes::isNoVlan(vid) || cvid <= 4094;
    } else {
        vendorForm(id, identity.shelfId, word, slot, name);
        withCVlan = cvid < 4095;
    }
    appendVlan(id, vid, noVlanText);
    if (settings.cvlan && withCVlan)
        appendVlan(id, cvid, noCVlanText);
}

void InterfaceIds::genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                              std::string& id, std::vector<std::uint8_t>& idBin,
                                              dhcpraTypes::idGenType type) const
{
    CustomIds(context, idFamilyV6)
        .genRemoteIdByInterfaceName(name, vid, cvid, settings.remoteIdFormat, id, idBin, type);
}
