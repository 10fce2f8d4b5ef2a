#pragma once

#include "relay/entity/FacadeForms.h"

#include <cstdint>
#include <string>

/**
 * The layer behind the entity: takes the global lock (exclusive to change, shared to read), finds the
 * interface or VLAN, and calls one of the two engines. Operations answer 0, or -1 when the lock was not
 * obtained, the interface or VLAN does not exist or a value was refused; outputs are then left alone. What
 * differs from that stands at the end of the class. Addresses are in host order; everything may be called
 * from any thread, with or without the global lock.
 */
class dhcpra_config : FacadeForms
{
public:
    using text = const std::string&;
    using tristate = dhcpraTypes::threeStateBool;
    using interfaceMode = dhcpraTypes::interfaceMode;
    using loggingLevel_t = dhcpraTypes::dhcpraLoggingLevel;
    using V4 = dhcpraImpl;
    using V6 = dhcpraV6Impl;
    using Intf = dhcpraInterface;
    using Vlan = dhcpraVlan;
    using circuitIdMode_t = Intf::circuitIdMode_t;
    using interfaceIdModeV6_t = Intf::interfaceIdModeV6_t;
    using vlans_t = VlanTable::vlans_t;
    using servers_t = ServerTable::pairs_t; ///< server to VLAN

    dhcpra_config(dhcpraImpl* impl, dhcpraV6Impl* v6Impl) : v4(impl), v6(v6Impl) {}

    // ---- DHCPv4, global ----

    int isDraEnabled(bool& v) const { return read(v4, &V4::isDraEnabled, v); }
    int isFullMode(bool& v) const { return read(v4, &V4::isFullMode, v); }
    int isInsertOpt82(bool& v) const { return read(v4, &V4::isInsertOpt82, v); }
    int isUnicastExtension(bool& v) const { return read(v4, &V4::isUnicastExtension, v); }
    int isKeepOpt82(bool& v) const { return read(v4, &V4::isKeepOpt82, v); }
    int isCircuitTrusted(bool& v) const { return read(v4, &V4::isCircuitTrusted, v); }
    int isInsertCircuitID(bool& v) const { return read(v4, &V4::isInsertCircuitID, v); }
    int isInsertRemoteID(bool& v) const { return read(v4, &V4::isInsertRemoteID, v); }
    int isDraCircuitIdCVlanEnabled(bool& v) const { return read(v4, &V4::isDraCircuitIdCVlanEnabled, v); }
    int getNodeId(std::string& v) const { return read(v4, &V4::getNodeId, v); }
    int getChassisId(int& v) const { return read(v4, &V4::getChassisId, v); }
    int getCircuitIdFormat(std::string& v) const { return read(v4, &V4::getCircuitIdFormat, v); }
    int getRemoteIdFormat(std::string& v) const { return read(v4, &V4::getRemoteIdFormat, v); }
    int getSettingsPerVlan(vlans_t& v) const { return read(v4, &V4::getSettingsPerVlan, v); }
    int getDefaultServer(u32& v) const { return read(v4, &V4::getDefaultServer, v); }
    int getServersPerVlan(servers_t& v) const { return read(v4, &V4::getServersPerVlan, v); }
    int loggingLevelGet(loggingLevel_t& v) const { return read(v4, &V4::loggingLevelGet, v); }
    int debugAdminStateGet(bool& v) const { return read(v4, &V4::debugAdminStateGet, v); }

    int setDraEnabled(bool v) { return change(v4, &V4::setDraEnabled, v); }
    int setFullMode(bool v) { return change(v4, &V4::setFullMode, v); }
    int setInsertOpt82(bool v) { return change(v4, &V4::setInsertOpt82, v); }
    int setUnicastExtension(bool v) { return change(v4, &V4::setUnicastExtension, v); }
    int setKeepOpt82(bool v) { return change(v4, &V4::setKeepOpt82, v); }
    int setCircuitTrusted(bool v) { return change(v4, &V4::setCircuitTrusted, v); }
    int setInsertCircuitID(bool v) { return change(v4, &V4::setInsertCircuitID, v); }
    int setInsertRemoteID(bool v) { return change(v4, &V4::setInsertRemoteID, v); }
    int setNodeId(text v) { return change(v4, &V4::setNodeId, v); }
    int setChassisId(int v) { return change(v4, &V4::setChassisId, v); }
    int setDraCircuitIdCVlan(bool v) { return change(v4, &V4::setDraCircuitIdCVlan, v); }
    int setCircuitIdFormat(text v) { return fits(v) ? change(v4, &V4::setCircuitIdFormat, v) : failure; }
    int setRemoteIdFormat(text v) { return fits(v) ? change(v4, &V4::setRemoteIdFormat, v) : failure; }
    int setDefaultServer(u32 v) { return change(v4, &V4::setDefaultServer, v); }
    int setServerPerVlan(u32 server, u16 vlan, bool add)
    {
        return change(v4, &V4::setServerPerVlan, server, vlan, add);
    }
    int debugAdminStateSet(bool v) { return change(v4, &V4::debugAdminStateSet, v); }

    // ---- DHCPv4, per interface ----

    int getMode(u32 id, interfaceMode& v) const { return readOn(v4, id, &Intf::getMode, v); }
    int isCircuitTrusted(u32 id, tristate& v) const { return readOn(v4, id, &Intf::isCircuitTrusted, v); }
    int isInsertOpt82(u32 id, tristate& v) const { return readOn(v4, id, &Intf::isInsertOpt82, v); }
    int isUnicastExtension(u32 id, tristate& v) const { return readOn(v4, id, &Intf::isUnicastExtension, v); }
    int isKeepOpt82(u32 id, tristate& v) const { return readOn(v4, id, &Intf::isKeepOpt82, v); }
    int isMeteringEnabled(u32 id, bool& v) const { return readOn(v4, id, &Intf::isMeteringEnabled, v); }
    int getRate(u32 id, int& v) const { return readOn(v4, id, &Intf::getRate, v); }
    int getRemoteID(u32 id, std::string& v) const { return readOn(v4, id, &Intf::getRemoteID, v); }
    int getRemoteIDMap(u32 id, Intf::remoteIds_t& v) const
    {
        return readOn(v4, id, &Intf::getRemoteIDMap, v);
    }
    int getCircuitIdMode(u32 id, circuitIdMode_t& v) const
    {
        return readOn(v4, id, &Intf::getCircuitIdMode, v);
    }
    int getCircuitIdMode(u32 id, u16 vlan, circuitIdMode_t& v) const
    {
        return findOn(v4, id, &Intf::getCircuitIdMode, vlan, v);
    }
    int getCircuitIdFormat(u32 id, u16 vlan, std::string& v) const
    {
        return findOn(v4, id, &Intf::getCircuitIdFormat, vlan, v);
    }
    int getRemoteIdFormat(u32 id, u16 vlan, std::string& v) const
    {
        return findOn(v4, id, &Intf::getRemoteIdFormat, vlan, v);
    }
    int getIntfVlanMap(u32 id, Intf::intfVlans_t& v) const
    {
        return readOn(v4, id, &Intf::getIntfVlanMap, v);
    }
    int getIntfVlan(u32 id, u16 vlan, Intf::intfVlan& v) const
    {
        return findOn(v4, id, &Intf::getIntfVlan, vlan, v);
    }

    int setMode(u32 id, interfaceMode v) { return changeOn(v4, id, &Intf::setMode, v); }
    int setCircuitTrusted(u32 id, tristate v) { return changeOn(v4, id, &Intf::setCircuitTrusted, v); }
    int setInsertOpt82(u32 id, tristate v) { return changeOn(v4, id, &Intf::setInsertOpt82, v); }
    int setUnicastExtension(u32 id, tristate v) { return changeOn(v4, id, &Intf::setUnicastExtension, v); }
    int setKeepOpt82(u32 id, tristate v) { return changeOn(v4, id, &Intf::setKeepOpt82, v); }
    int setMetering(u32 id, bool v) { return changeOn(v4, id, &Intf::setMetering, v); }
    int setRate(u32 id, int v) { return changeOn(v4, id, &Intf::setRate, v); }
    int setRemoteID(u32 id, text v)
    {
        return changeOn(v4, id, static_cast<bool (Intf::*)(text)>(&Intf::setRemoteID), v);
    }
    int setRemoteID(u32 id, text v, u16 vlan)
    {
        return changeOn(v4, id, static_cast<bool (Intf::*)(text, u16)>(&Intf::setRemoteID), v, vlan);
    }
    int setCircuitIdFormat(u32 id, u16 vlan, text v)
    {
        return fits(v) ? changeOn(v4, id, &Intf::setCircuitIdFormat, vlan, v) : failure;
    }
    int setRemoteIdFormat(u32 id, u16 vlan, text v)
    {
        return fits(v) ? changeOn(v4, id, &Intf::setRemoteIdFormat, vlan, v) : failure;
    }

    // ---- DHCPv4, per VLAN ----

    int vlanIsEnabled(u16 vlan, tristate& v) const { return readOfVlan(v4, vlan, &Vlan::isEnabled, v); }
    int vlanIsFullMode(u16 vlan, tristate& v) const { return readOfVlan(v4, vlan, &Vlan::isFullMode, v); }
    int vlanIsInsertOpt82(u16 vlan, tristate& v) const
    {
        return readOfVlan(v4, vlan, &Vlan::isInsertOpt82, v);
    }
    int vlanIsUnicastExtension(u16 vlan, tristate& v) const
    {
        return readOfVlan(v4, vlan, &Vlan::isUnicastExtension, v);
    }
    int vlanIsKeepOpt82(u16 vlan, tristate& v) const { return readOfVlan(v4, vlan, &Vlan::isKeepOpt82, v); }
    int vlanIsCircuitId(u16 vlan, tristate& v) const { return readOfVlan(v4, vlan, &Vlan::isCircuitId, v); }

    int vlanSetEnabled(u16 vlan, tristate v) { return changeOfVlan(v4, vlan, &Vlan::setEnabled, v); }
    int vlanSetFullMode(u16 vlan, tristate v) { return changeOfVlan(v4, vlan, &Vlan::setFullMode, v); }
    int vlanSetInsertOpt82(u16 vlan, tristate v) { return changeOfVlan(v4, vlan, &Vlan::setInsertOpt82, v); }
    int vlanSetUnicastExtension(u16 vlan, tristate v)
    {
        return changeOfVlan(v4, vlan, &Vlan::setUnicastExtension, v);
    }
    int vlanSetKeepOpt82(u16 vlan, tristate v) { return changeOfVlan(v4, vlan, &Vlan::setKeepOpt82, v); }
    int vlanSetCircuitId(u16 vlan, tristate v) { return changeOfVlan(v4, vlan, &Vlan::setCircuitId, v); }

    // ---- DHCPv6, global ----

    int isDra6Enabled(bool& v) const { return read(v6, &V6::isDraEnabled, v); }
    int isDra6InsertRemoteID(bool& v) const { return read(v6, &V6::isInsertRemoteID, v); }
    int getDra6InterfaceID(bool& v) const { return read(v6, &V6::getInterfaceID, v); }
    int isDra6CircuitIdCVlanEnabled(bool& v) const { return read(v6, &V6::isDraCircuitIdCVlanEnabled, v); }
    int getDra6InterfaceIdFormat(std::string& v) const { return read(v6, &V6::getInterfaceIdFormat, v); }
    int getDra6RemoteIdFormat(std::string& v) const { return read(v6, &V6::getRemoteIdFormat, v); }
    int getDra6SettingsPerVlan(vlans_t& v) const { return read(v6, &V6::getSettingsPerVlan, v); }
    int loggingLevelV6Get(loggingLevel_t& v) const { return read(v6, &V6::loggingLevelGet, v); }

    int setDra6Enabled(bool v) { return change(v6, &V6::setDraEnabled, v); }
    int setDra6InsertRemoteID(bool v) { return change(v6, &V6::setInsertRemoteID, v); }
    int setDra6InterfaceID(bool v) { return change(v6, &V6::setInterfaceID, v); }
    int setDra6CircuitIdCVlan(bool v) { return change(v6, &V6::setDraCircuitIdCVlan, v); }
    int setDra6InterfaceIdFormat(text v)
    {
        return fits(v) ? change(v6, &V6::setInterfaceIdFormat, v) : failure;
    }
    int setDra6RemoteIdFormat(text v) { return fits(v) ? change(v6, &V6::setRemoteIdFormat, v) : failure; }
    int loggingLevelV6Set(loggingLevel_t v) { return change(v6, &V6::loggingLevelSet, v); }

    // ---- DHCPv6, per interface ----

    int getDra6Mode(u32 id, interfaceMode& v) const { return readOn(v6, id, &Intf::getModeV6, v); }
    int isDra6CircuitTrusted(u32 id, tristate& v) const
    {
        return readOn(v6, id, &Intf::isCircuitTrustedV6, v);
    }
    int getDra6InterfaceID(u32 id, tristate& v) const { return readOn(v6, id, &Intf::getInterfaceIDV6, v); }
    int getDra6RemoteID(u32 id, std::string& v) const { return readOn(v6, id, &Intf::getRemoteIdValV6, v); }
    int getDra6RemoteIDMap(u32 id, Intf::remoteIds_t& v) const
    {
        return readOn(v6, id, &Intf::getRemoteIdValMapV6, v);
    }
    int getDra6EnterpriseNum(u32 id, u32& v) const { return readOn(v6, id, &Intf::getEnterpriseNumV6, v); }
    int getDra6EnterpriseNumMap(u32 id, Intf::enterpriseNumbers_t& v) const
    {
        return readOn(v6, id, &Intf::getEnterpriseNumMapV6, v);
    }
    int getDra6IntfVlanMap(u32 id, Intf::intfVlansV6_t& v) const
    {
        return readOn(v6, id, &Intf::getIntfVlanMapV6, v);
    }
    int getDra6IntfVlan(u32 id, u16 vlan, Intf::intfVlanV6& v) const
    {
        return findOn(v6, id, &Intf::getIntfVlanV6, vlan, v);
    }

    int setDra6Mode(u32 id, interfaceMode v) { return changeOn(v6, id, &Intf::setModeV6, v); }
    int setDra6CircuitTrusted(u32 id, tristate v) { return changeOn(v6, id, &Intf::setCircuitTrustedV6, v); }
    int setDra6InterfaceID(u32 id, tristate v) { return changeOn(v6, id, &Intf::setInterfaceIDV6, v); }
    int setDra6RemoteIdVal(u32 id, text v) { return changeOn(v6, id, &Intf::setRemoteIdValV6, v); }
    int setDra6RemoteIdValPerVlan(u32 id, text v, u16 vlan)
    {
        return changeOn(v6, id, &Intf::setRemoteIdValPerVlanV6, v, vlan);
    }
    int setDra6EnterpriseNum(u32 id, u32 v) { return changeOn(v6, id, &Intf::setEnterpriseNumV6, v); }
    int setDra6EnterpriseNumPerVlan(u32 id, u32 v, u16 vlan)
    {
        return changeOn(v6, id, &Intf::setEnterpriseNumPerVlanV6, v, vlan);
    }
    int setDra6InterfaceIdMode(u32 id, u16 vlan, interfaceIdModeV6_t v)
    {
        return changeOn(v6, id, &Intf::setInterfaceIdModeV6, vlan, v);
    }
    int setDra6InterfaceIdFormat(u32 id, u16 vlan, text v)
    {
        return fits(v) ? changeOn(v6, id, &Intf::setInterfaceIdFormatV6, vlan, v) : failure;
    }
    int setDra6RemoteIdFormat(u32 id, u16 vlan, text v)
    {
        return fits(v) ? changeOn(v6, id, &Intf::setRemoteIdFormatV6, vlan, v) : failure;
    }

    // ---- DHCPv6, per VLAN ----

    int vlanDra6SetEnabled(u16 vlan, tristate v) { return changeOfVlan(v6, vlan, &Vlan::setEnabledV6, v); }
    int vlanDra6SetInterfaceID(u16 vlan, tristate v)
    {
        return changeOfVlan(v6, vlan, &Vlan::setInterfaceIdV6, v);
    }
    int vlanDra6SetRemoteID(u16 vlan, tristate v) { return changeOfVlan(v6, vlan, &Vlan::setRemoteIdV6, v); }

    // ---- DHCPv4, with rules of their own ----

    int loggingLevelSet(loggingLevel_t level); ///< of both engines
    /// An ATM mode set with value 1 yields only to another ATM setting or to a call with value 1; a call that
    /// is held off changes nothing and answers 0 all the same.
    int setCircuitIdMode(u32 id, circuitIdMode_t mode, int value);
    int setCircuitIdMode(u32 id, u16 vlan, circuitIdMode_t mode); ///< ATM on a PVC only

    // ---- Counters ----
    // Those of one interface answer 1 for an interface without counters or a failing registry, with the sum
    // so far: on boards with the deployment option for it, an ONU or PON port reports the sum of its GEM
    // ports, where frames are counted.

    int getSummedCounters(counters_t& sum) const;
    int getSummedCountersPerVlan(countersPerVlan_t& sum) const;
    int getAllCounters(u32 id, counters_t& sum) const;
    int getCountersPerVlan(u32 id, countersPerVlan_t& sum) const;
    int getDra6SummedCounters(counters_t& sum) const;
    int getDra6SummedCountersPerVlan(countersPerVlan_t& sum) const;
    int getDra6AllCounters(u32 id, counters_t& sum) const;
    int getDra6CountersPerVlan(u32 id, countersPerVlan_t& sum) const;
    int getDra6NdpSummedCounters(counters_t& sum) const;
    int getDra6NdpSummedCountersPerVlan(countersPerVlan_t& sum) const;
    int getDra6NdpAllCounters(u32 id, counters_t& sum) const;
    int getDra6NdpCountersPerVlan(u32 id, countersPerVlan_t& sum) const;

    // ---- Both engines ----

    int vlanAdd(u32 id, u16 vlan);
    int vlanDel(u32 id, u16 vlan);
    int clearPortVlanAll();
    int setCircuitIdModeATMParams(u32 id, u32 parentId, u32 vpi, u32 vci);
    int setSystemContact(text value);
    int setSystemLocation(text value);
    int setSystemName(text value);
    int on_updateShelfId(text shelfId);
    /// Where an engine has the interface; -1 when the DHCPv4 one has not.
    int setCpeSerialNumber(u32 id, text serial);
    int setCpeMac(u32 id, const std::uint8_t* mac); ///< six bytes; as setCpeSerialNumber()
    /// Renames the interface where an engine has it.
    int on_portAddEvent(u32 id, text name);
    /// Takes no lock of its own: the engines do. False when one of them could not.
    [[nodiscard]] bool applyDefaultSettings();

private:
    static bool fits(text format)
    {
        return format.size() <= IntfVlanRecords<Intf::intfVlan>::formatLengthMax;
    }

    dhcpraImpl* v4;
    dhcpraV6Impl* v6;
};
