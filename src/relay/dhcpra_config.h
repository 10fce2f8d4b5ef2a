#pragma once

#include "relay/dhcpraImpl.h"
#include "relay/v6/dhcpraV6Impl.h"

#include <cstdint>
#include <map>
#include <string>

/**
 * The layer behind the entity: takes the global lock (exclusive to change, shared to read), finds the
 * interface or VLAN, and calls one of the two engines. Operations answer 0, or -1 when the lock was not
 * obtained, the interface or VLAN does not exist or a value was refused; outputs are then left alone.
 * Exceptions to that are told where they stand. Addresses are in host order; everything may be called from
 * any thread, with or without the global lock.
 */
class dhcpra_config
{
public:
    using threeStateBool = dhcpraTypes::threeStateBool;
    using interfaceMode = dhcpraTypes::interfaceMode;
    using circuitIdMode_t = dhcpraInterface::circuitIdMode_t;
    using interfaceIdModeV6_t = dhcpraInterface::interfaceIdModeV6_t;
    using vlans_t = VlanTable::vlans_t;
    using servers_t = std::multimap<std::uint32_t, std::uint16_t>; ///< server to VLAN

    dhcpra_config(dhcpraImpl* impl, dhcpraV6Impl* v6Impl) : v4(impl), v6(v6Impl) {}

    // ---- DHCPv4, global ----
    int isDraEnabled(bool& value) const;
    int isFullMode(bool& value) const;
    int isInsertOpt82(bool& value) const;
    int isUnicastExtension(bool& value) const;
    int isKeepOpt82(bool& value) const;
    int isCircuitTrusted(bool& value) const;
    int isInsertCircuitID(bool& value) const;
    int isInsertRemoteID(bool& value) const;
    int isDraCircuitIdCVlanEnabled(bool& value) const;
    int getNodeId(std::string& value) const;
    int getChassisId(int& value) const;
    int getCircuitIdFormat(std::string& value) const;
    int getRemoteIdFormat(std::string& value) const;
    int getSettingsPerVlan(vlans_t& value) const;
    int getDefaultServer(std::uint32_t& value) const;
    int getServersPerVlan(servers_t& value) const;
    int loggingLevelGet(dhcpraTypes::dhcpraLoggingLevel& value) const;
    int debugAdminStateGet(bool& value) const;

    int setDraEnabled(bool value);
    int setFullMode(bool value);
    int setInsertOpt82(bool value);
    int setUnicastExtension(bool value);
    int setKeepOpt82(bool value);
    int setCircuitTrusted(bool value);
    int setInsertCircuitID(bool value);
    int setInsertRemoteID(bool value);
    int setNodeId(const std::string& value);
    int setChassisId(int value);
    int setDraCircuitIdCVlan(bool value);
    int setCircuitIdFormat(const std::string& format); ///< at most 128 characters
    int setRemoteIdFormat(const std::string& format);  ///< at most 128 characters
    int setDefaultServer(std::uint32_t server);
    int setServerPerVlan(std::uint32_t server, std::uint16_t vlan, bool add);
    int loggingLevelSet(dhcpraTypes::dhcpraLoggingLevel level); ///< of both engines
    int debugAdminStateSet(bool value);

    // ---- DHCPv4, per interface ----
    int getMode(std::uint32_t id, interfaceMode& value) const;
    int isCircuitTrusted(std::uint32_t id, threeStateBool& value) const;
    int isInsertOpt82(std::uint32_t id, threeStateBool& value) const;
    int isUnicastExtension(std::uint32_t id, threeStateBool& value) const;
    int isKeepOpt82(std::uint32_t id, threeStateBool& value) const;
    int isMeteringEnabled(std::uint32_t id, bool& value) const;
    int getRate(std::uint32_t id, int& value) const;
    int getRemoteID(std::uint32_t id, std::string& value) const;
    int getRemoteIDMap(std::uint32_t id, dhcpraInterface::remoteIds_t& value) const;
    int getCircuitIdMode(std::uint32_t id, circuitIdMode_t& value) const;
    int getCircuitIdMode(std::uint32_t id, std::uint16_t vlan, circuitIdMode_t& value) const;
    int getCircuitIdFormat(std::uint32_t id, std::uint16_t vlan, std::string& value) const;
    int getRemoteIdFormat(std::uint32_t id, std::uint16_t vlan, std::string& value) const;
    int getIntfVlanMap(std::uint32_t id, dhcpraInterface::intfVlans_t& value) const;
    int getIntfVlan(std::uint32_t id, std::uint16_t vlan, dhcpraInterface::intfVlan& value) const;

    int setMode(std::uint32_t id, interfaceMode value);
    int setCircuitTrusted(std::uint32_t id, threeStateBool value);
    int setInsertOpt82(std::uint32_t id, threeStateBool value);
    int setUnicastExtension(std::uint32_t id, threeStateBool value);
    int setKeepOpt82(std::uint32_t id, threeStateBool value);
    int setMetering(std::uint32_t id, bool value);
    int setRate(std::uint32_t id, int value);
    int setRemoteID(std::uint32_t id, const std::string& value);
    int setRemoteID(std::uint32_t id, const std::string& value, std::uint16_t vlan);
    /// An ATM mode set with value 1 yields only to another ATM setting or to a call with value 1; a call that
    /// is held off changes nothing and answers 0 all the same.
    int setCircuitIdMode(std::uint32_t id, circuitIdMode_t mode, int value);
    int setCircuitIdMode(std::uint32_t id, std::uint16_t vlan, circuitIdMode_t mode); ///< ATM on a PVC only
    int setCircuitIdFormat(std::uint32_t id, std::uint16_t vlan, const std::string& format);
    int setRemoteIdFormat(std::uint32_t id, std::uint16_t vlan, const std::string& format);

    // ---- DHCPv4, per VLAN ----
    // A value that is set makes the VLAN's record if needed; taking the last one back (notSet) deletes it,
    // which answers 0 also for a VLAN that had none.
    int vlanIsEnabled(std::uint16_t vlan, threeStateBool& value) const;
    int vlanIsFullMode(std::uint16_t vlan, threeStateBool& value) const;
    int vlanIsInsertOpt82(std::uint16_t vlan, threeStateBool& value) const;
    int vlanIsUnicastExtension(std::uint16_t vlan, threeStateBool& value) const;
    int vlanIsKeepOpt82(std::uint16_t vlan, threeStateBool& value) const;
    int vlanIsCircuitId(std::uint16_t vlan, threeStateBool& value) const;
    int vlanSetEnabled(std::uint16_t vlan, threeStateBool value);
    int vlanSetFullMode(std::uint16_t vlan, threeStateBool value);
    int vlanSetInsertOpt82(std::uint16_t vlan, threeStateBool value);
    int vlanSetUnicastExtension(std::uint16_t vlan, threeStateBool value);
    int vlanSetKeepOpt82(std::uint16_t vlan, threeStateBool value);
    int vlanSetCircuitId(std::uint16_t vlan, threeStateBool value);

    // ---- DHCPv6, global ----
    int isDra6Enabled(bool& value) const;
    int isDra6InsertRemoteID(bool& value) const;
    int getDra6InterfaceID(bool& value) const;
    int isDra6CircuitIdCVlanEnabled(bool& value) const;
    int getDra6InterfaceIdFormat(std::string& value) const;
    int getDra6RemoteIdFormat(std::string& value) const;
    int getDra6SettingsPerVlan(vlans_t& value) const;
    int loggingLevelV6Get(dhcpraTypes::dhcpraLoggingLevel& value) const;

    int setDra6Enabled(bool value);
    int setDra6InsertRemoteID(bool value);
    int setDra6InterfaceID(bool value);
    int setDra6CircuitIdCVlan(bool value);
    int setDra6InterfaceIdFormat(const std::string& format); ///< at most 128 characters
    int setDra6RemoteIdFormat(const std::string& format);    ///< at most 128 characters
    int loggingLevelV6Set(dhcpraTypes::dhcpraLoggingLevel level);

    // ---- DHCPv6, per interface ----
    int getDra6Mode(std::uint32_t id, interfaceMode& value) const;
    int isDra6CircuitTrusted(std::uint32_t id, threeStateBool& value) const;
    int getDra6InterfaceID(std::uint32_t id, threeStateBool& value) const;
    int getDra6RemoteID(std::uint32_t id, std::string& value) const;
    int getDra6RemoteIDMap(std::uint32_t id, dhcpraInterface::remoteIds_t& value) const;
    int getDra6EnterpriseNum(std::uint32_t id, std::uint32_t& value) const;
    int getDra6EnterpriseNumMap(std::uint32_t id, dhcpraInterface::enterpriseNumbers_t& value) const;
    int getDra6IntfVlanMap(std::uint32_t id, dhcpraInterface::intfVlansV6_t& value) const;
    int getDra6IntfVlan(std::uint32_t id, std::uint16_t vlan, dhcpraInterface::intfVlanV6& value) const;

    int setDra6Mode(std::uint32_t id, interfaceMode value);
    int setDra6CircuitTrusted(std::uint32_t id, threeStateBool value);
    int setDra6InterfaceID(std::uint32_t id, threeStateBool value);
    int setDra6RemoteIdVal(std::uint32_t id, const std::string& value);
    int setDra6RemoteIdValPerVlan(std::uint32_t id, const std::string& value, std::uint16_t vlan);
    int setDra6EnterpriseNum(std::uint32_t id, std::uint32_t value);
    int setDra6EnterpriseNumPerVlan(std::uint32_t id, std::uint32_t value, std::uint16_t vlan);
    int setDra6InterfaceIdMode(std::uint32_t id, std::uint16_t vlan, interfaceIdModeV6_t mode);
    int setDra6InterfaceIdFormat(std::uint32_t id, std::uint16_t vlan, const std::string& format);
    int setDra6RemoteIdFormat(std::uint32_t id, std::uint16_t vlan, const std::string& format);

    // ---- DHCPv6, per VLAN; as for DHCPv4 ----
    int vlanDra6SetEnabled(std::uint16_t vlan, threeStateBool value);
    int vlanDra6SetInterfaceID(std::uint16_t vlan, threeStateBool value);
    int vlanDra6SetRemoteID(std::uint16_t vlan, threeStateBool value);

    // ---- Counters ----
    // Those of one interface answer 1 for an interface without counters or a failing registry, with the sum
    // so far: on boards with the deployment option for it, an ONU or PON port reports the sum of its GEM
    // ports, where frames are counted.
    int getSummedCounters(counters_t& sum) const;
    int getSummedCountersPerVlan(countersPerVlan_t& sum) const;
    int getAllCounters(std::uint32_t id, counters_t& sum) const;
    int getCountersPerVlan(std::uint32_t id, countersPerVlan_t& sum) const;
    int getDra6SummedCounters(counters_t& sum) const;
    int getDra6SummedCountersPerVlan(countersPerVlan_t& sum) const;
    int getDra6AllCounters(std::uint32_t id, counters_t& sum) const;
    int getDra6CountersPerVlan(std::uint32_t id, countersPerVlan_t& sum) const;
    int getDra6NdpSummedCounters(counters_t& sum) const;
    int getDra6NdpSummedCountersPerVlan(countersPerVlan_t& sum) const;
    int getDra6NdpAllCounters(std::uint32_t id, counters_t& sum) const;
    int getDra6NdpCountersPerVlan(std::uint32_t id, countersPerVlan_t& sum) const;

    // ---- Both engines ----
    int vlanAdd(std::uint32_t id, std::uint16_t vlan);
    int vlanDel(std::uint32_t id, std::uint16_t vlan);
    int clearPortVlanAll();
    int setCircuitIdModeATMParams(std::uint32_t id, std::uint32_t parentId, std::uint32_t vpi,
                                  std::uint32_t vci);
    int setSystemContact(const std::string& text);
    int setSystemLocation(const std::string& text);
    int setSystemName(const std::string& text);
    int on_updateShelfId(const std::string& shelfId);
    int setCpeSerialNumber(std::uint32_t id, const std::string& text);
    int setCpeMac(std::uint32_t id, const std::uint8_t* mac); ///< six bytes
    /// Renames the interface where an engine has it.
    int on_portAddEvent(std::uint32_t id, const std::string& name);
    /// Takes no lock of its own: the engines do. False when one of them could not.
    [[nodiscard]] bool applyDefaultSettings();

private:
    dhcpraImpl* v4;
    dhcpraV6Impl* v6;
};
