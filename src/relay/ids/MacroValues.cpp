#include "relay/ids/MacroValues.h"

#include "relay/ids/ValueReader.h"

using dhcpraTypes::customIdFormat;

bool MacroValues::getMacroStringValue(customIdFormat macro, const IdSubject& subject,
                                      std::string& value) const
{
    value.clear();
    ValueReader reader(context, family, subject, value);
    using enum customIdFormat;
    switch (macro) {
    case SHELF:
        return reader.text(context.identity.shelfId), true;
    case CHASSIS:
        return reader.chassis(), true;
    case PANEL:
        return reader.panel(), true;
    case INTF_TYPE:
        return reader.interfaceTypeWord(), true;
    case AGENT_BOARD:
        return reader.agentBoard(), true;
    case BOARD:
        return reader.board(), true;
    case PORT:
        return reader.port(), true;
    case PORT_REM_ID:
        return reader.portRemoteId(), true;
    case INTF:
        return reader.interfaceName(), true;
    case INTF_DSCR:
        return reader.interfaceDescription(), true;
    case ONU:
        return reader.onu(), true;
    case VGEM:
        return reader.gemPort(), true;
    case PVC_INTF:
        return reader.pvc(), true;
    case VPI:
        return reader.atmNumber(&dhcpraInterface::getVpi), true;
    case VCI:
        return reader.atmNumber(&dhcpraInterface::getVci), true;
    case CLNT_MAC:
        return reader.clientMac(), true;
    case AGENT_MAC:
        return reader.agentMac(), true;
    case AGENT_IPV4:
        return reader.agentIpv4(), true;
    case AGENT_IPV6:
        return reader.agentIpv6(), true;
    case VLAN:
        return reader.vlan(), true;
    case VLAN_NAME:
        return reader.vlanName(), true;
    case CVID:
        return reader.customerVlan(), true;
    case SYSNAME:
        return reader.text(context.identity.systemName), true;
    case LOCATION:
        return reader.text(context.identity.systemLocation), true;
    case CONTACT:
        return reader.text(context.identity.systemContact), true;
    case CPE_SERIAL:
        return reader.cpeSerial(), true;
    case CPE_MAC:
        return reader.cpeMac(), true;
    case TCONT:
    case HEX: // reached only where no user string was given
        return reader.unknown(macro);
    }
    return reader.unknown(macro); // a number outside the table
}
