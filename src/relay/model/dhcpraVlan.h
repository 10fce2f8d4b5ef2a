#pragma once

#include "relay/model/dhcpraTypes.h"

/**
 * Settings of one VLAN. They decide before those of the interface and the global ones. Not locked: reached
 * only with the global lock held (shared to read, exclusive to write), in the DHCPv6 engine under the engine
 * lock too.
 */
class dhcpraVlan
{
public:
    using threeStateBool = dhcpraTypes::threeStateBool;

    [[nodiscard]] threeStateBool isEnabled() const { return enabled; }
    [[nodiscard]] threeStateBool isFullMode() const { return fullMode; }
    [[nodiscard]] threeStateBool isInsertOpt82() const { return insertOpt82; }
    [[nodiscard]] threeStateBool isUnicastExtension() const { return unicastExtension; }
    [[nodiscard]] threeStateBool isKeepOpt82() const { return keepOpt82; }
    [[nodiscard]] threeStateBool isCircuitId() const { return circuitId; }
    [[nodiscard]] threeStateBool isEnabledV6() const { return enabledV6; }
    [[nodiscard]] threeStateBool getInterfaceIdV6() const { return interfaceIdV6; }
    [[nodiscard]] threeStateBool getRemoteIdV6() const { return remoteIdV6; }

    void setEnabled(threeStateBool value) { enabled = value; }
    void setFullMode(threeStateBool value) { fullMode = value; }
    void setInsertOpt82(threeStateBool value) { insertOpt82 = value; }
    void setUnicastExtension(threeStateBool value) { unicastExtension = value; }
    void setKeepOpt82(threeStateBool value) { keepOpt82 = value; }
    void setCircuitId(threeStateBool value) { circuitId = value; }
    void setEnabledV6(threeStateBool value) { enabledV6 = value; }
    void setInterfaceIdV6(threeStateBool value) { interfaceIdV6 = value; }
    void setRemoteIdV6(threeStateBool value) { remoteIdV6 = value; }

    /// One of the six DHCPv4 members is set.
    [[nodiscard]] bool isConfigured() const;
    /// One of the three DHCPv6 members is set.
    [[nodiscard]] bool isConfiguredV6() const;

private:
    threeStateBool enabled = threeStateBool::notSet;
    threeStateBool fullMode = threeStateBool::notSet;
    threeStateBool insertOpt82 = threeStateBool::notSet;
    threeStateBool unicastExtension = threeStateBool::notSet;
    threeStateBool keepOpt82 = threeStateBool::notSet;
    threeStateBool circuitId = threeStateBool::notSet;
    // Peers rely on this start: a record made for an interface id alone switches DHCPv6 off on its VLAN.
    threeStateBool enabledV6 = threeStateBool::no;
    threeStateBool interfaceIdV6 = threeStateBool::yes;
    threeStateBool remoteIdV6 = threeStateBool::no;
};
