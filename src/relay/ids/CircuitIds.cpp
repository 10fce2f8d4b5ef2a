#include "relay/ids/CircuitIds.h"

#include "platform/Interfaces.h"
#include "relay/ids/CustomIds.h"
#include "relay/ids/FixedForms.h"

namespace {

using dhcpraTypes::threeStateBool;
using Interfaces::interfaceType;

} // namespace

dhcpraInterface::circuitIdMode_t CircuitIds::modeOf(const dhcpraInterface& interface, std::uint16_t vid) const
{
    if (!dhcpraTypes::isNoVlan(vid)) {
        // A record decides even without a mode of its own: it was made for a format, and then the id has the
        // standard form.
        if (const dhcpraInterface::intfVlan* record = interface.findIntfVlan(vid)) {
            DHCPRA_ID_LOG(context.debug, "\n\t interface-vlan CID mode=%d\n", record->circuitIdMode);
            return record->circuitIdMode;
        }
        const dhcpraVlan* vlan = context.vlans.getVlanById(vid);
        if (vlan != nullptr && vlan->isCircuitId() != threeStateBool::notSet) {
            const auto mode = vlan->isCircuitId() == threeStateBool::yes
                                  ? dhcpraInterface::DHCPRA_INTF_CIRMODE_KORVANEL
                                  : dhcpraInterface::DHCPRA_INTF_CIRMODE_STANDARD;
            DHCPRA_ID_LOG(context.debug, "\n\t VLAN CID mode=%d\n", mode);
            return mode;
        }
    }
    DHCPRA_ID_LOG(context.debug, "\n\t interface CID mode=%d\n", interface.getCircuitIdMode());
    return interface.getCircuitIdMode();
}

void CircuitIds::genCircuitIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                             std::string& circuitId, std::vector<std::uint8_t>& circuitIdBin,
                                             dhcpraTypes::idGenType type) const
{
    DHCPRA_ID_LOG(context.debug, "\n\t genCircuitIdByInterfaceName\n");
    const std::uint8_t slot = slotOfBoard(context.debug);
    const dhcpraInterface* interface = context.configuredInterface(name);
    if (interface == nullptr)
        return;

    const dhcpraInterface::circuitIdMode_t mode = modeOf(*interface, vid);
    if (mode == dhcpraInterface::DHCPRA_INTF_CIRMODE_CUSTOM) {
        CustomIds(context, idFamilyV4)
            .genIdFromFormats(*interface, {interface->getID(), vid, cvid, type}, settings.circuitIdFormat,
                              circuitId, circuitIdBin);
        return;
    }
    genFixedForm({*interface, mode, slot, vid, cvid}, circuitId, circuitIdBin);
}

void CircuitIds::genFixedForm(const FixedForm& form, std::string& circuitId,
                              std::vector<std::uint8_t>& circuitIdBin) const
{
    const dhcpraInterface& interface = form.interface;
    const std::string* name = &interface.getName();
    std::string_view word =
        typeWord(interface.getType(),
                 {interfaceType::eth, interfaceType::subscriber, interfaceType::pvc, interfaceType::pon,
                  interfaceType::onu, interfaceType::gem, interfaceType::lag});
    Interfaces::Interface parent;
    const bool isAtm = form.mode == dhcpraInterface::DHCPRA_INTF_CIRMODE_ATM;
    if (isAtm && interface.getType() == interfaceType::pvc) {
        word = "atm";
        if (Interfaces::interfaceParentGet(interface.getID(), parent) != 0)
            return;
        name = &parent.name;
    }

    circuitIdBin.clear();
    const RelayIdentity& identity = context.identity;
    if (isAtm) {
        // The subscriber's circuit stands for the VLANs.
        DHCPRA_ID_LOG(context.debug, "\t DHCPRA_INTF_CIRMODE_ATM\n");
        circuitId.clear();
        if (interface.getVpi() == 0 && interface.getVci() == 0)
            return;
        vendorForm(circuitId, identity.shelfId, "atm", form.slot, portTail(*name));
        circuitId += ':';
        appendDecimal(circuitId, interface.getVpi());
        circuitId += '.';
        appendDecimal(circuitId, interface.getVci());
        return;
    }

    if (form.mode == dhcpraInterface::DHCPRA_INTF_CIRMODE_KORVANEL) {
        DHCPRA_ID_LOG(context.debug, "\t DHCPRA_INTF_CIRMODE_KORVANEL\n");
        vendorForm(circuitId, identity.shelfId, word, form.slot, *name);
    } else {
        DHCPRA_ID_LOG(context.debug, "\t DHCPRA_INTF_CIRMODE_STANDARD\n");
        standardForm(circuitId, identity.nodeId.empty() ? identity.shelfId : identity.nodeId, word,
                     identity.chassisId, form.slot, portTail(*name));
    }
    appendVlan(circuitId, form.vid, noVlanText);
    if (settings.cvlan)
        appendVlan(circuitId, form.cvid, noCVlanText);
}

void CircuitIds::genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                            std::string& remoteId, std::vector<std::uint8_t>& remoteIdBin,
                                            dhcpraTypes::idGenType type) const
{
    CustomIds(context, idFamilyV4)
        .genRemoteIdByInterfaceName(name, vid, cvid, settings.remoteIdFormat, remoteId, remoteIdBin, type);
}
