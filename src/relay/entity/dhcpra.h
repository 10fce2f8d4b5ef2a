#pragma once

#include "common/singleton.h"
#include "platform/Interfaces.h"
#include "relay/entity/UnderLock.h"
#include "relay/entity/dhcpra_config.h"
#include "rte/BLL/core/BLEntity.h"
#include "rte/BLL/core/RPCProxy.h"

#include <atomic>
#include <cstdint>
#include <list>
#include <sstream>
#include <string>
#include <type_traits>

/**
 * The entity that owns the two relay engines and is the target of all management calls. Operations answer 0
 * on success, 1 when this layer could not do it (global lock not obtained, interface unknown to it), and pass
 * up the -1 of dhcpra_config. Getters go straight to dhcpra_config; setters take the global lock exclusively
 * first, so that nothing comes between what the two layers do.
 *
 * Addresses are in host order. Everything may be called from any thread, with or without the global lock,
 * which is recursive.
 */
class dhcpra : public BLEntity, public singleton<dhcpra>
{
public:
    using u16 = std::uint16_t;
    using u32 = std::uint32_t;
    using threeStateBool = dhcpraTypes::threeStateBool;
    using interfaceMode = dhcpraTypes::interfaceMode;
    using loggingLevel_t = dhcpraTypes::dhcpraLoggingLevel;
    using circuitIdMode_t = dhcpraInterface::circuitIdMode_t;
    using interfaceIdModeV6_t = dhcpraInterface::interfaceIdModeV6_t;
    using intfVlan = dhcpraInterface::intfVlan;
    using intfVlans_t = dhcpraInterface::intfVlans_t;
    using intfVlanV6 = dhcpraInterface::intfVlanV6;
    using intfVlansV6_t = dhcpraInterface::intfVlansV6_t;
    using remoteIds_t = dhcpraInterface::remoteIds_t;
    using enterpriseNumbers_t = dhcpraInterface::enterpriseNumbers_t;
    using config_t = dhcpra_config;
    using text = const std::string&;

    dhcpra();
    ~dhcpra() noexcept override = default;

    // ---- Lifecycle ----
    /// Hands over the start function of the entity's RPC program, before start(): the programs call the
    /// entities and so stand above them.
    void setProgram(RPCProxy::startFunction_t function) { mngProxy.setProgram(function); }
    void applyConfiguration(boost::shared_ptr<Storage::Setting>) override {} ///< comes over RPC
    void saveConfiguration(boost::shared_ptr<Storage::Setting>) const override {}
    bool start() override;
    bool applyDefaultSettings() override;
    bool stop() override;
    void getDependencies(std::list<std::string>& names) override { names.clear(); }
    /// Starts the engines that do not run yet; true when both do.
    bool ready();

    // ---- DHCPv4, global ----
    u32 isDraEnabled(bool& v) { return code(config.isDraEnabled(v)); }
    u32 isFullMode(bool& v) { return code(config.isFullMode(v)); }
    u32 isInsertOpt82(bool& v) { return code(config.isInsertOpt82(v)); }
    u32 isUnicastExtension(bool& v) { return code(config.isUnicastExtension(v)); }
    u32 isKeepOpt82(bool& v) { return code(config.isKeepOpt82(v)); }
    u32 isCircuitTrusted(bool& v) { return code(config.isCircuitTrusted(v)); }
    u32 isInsertCircuitID(bool& v) { return code(config.isInsertCircuitID(v)); }
    u32 isInsertRemoteID(bool& v) { return code(config.isInsertRemoteID(v)); }
    u32 isDraCircuitIdCVlanEnabled(bool& v) { return code(config.isDraCircuitIdCVlanEnabled(v)); }
    u32 getNodeId(std::string& v) { return code(config.getNodeId(v)); }
    u32 getChassisId(int& v) { return code(config.getChassisId(v)); }
    u32 getCircuitIdFormat(std::string& v) { return code(config.getCircuitIdFormat(v)); }
    u32 getRemoteIdFormat(std::string& v) { return code(config.getRemoteIdFormat(v)); }
    u32 getSettingsPerVlan(config_t::vlans_t& v) { return code(config.getSettingsPerVlan(v)); }
    u32 getDefaultServer(u32& v) { return code(config.getDefaultServer(v)); }
    u32 getServersPerVlan(config_t::servers_t& v) { return code(config.getServersPerVlan(v)); }
    u32 loggingLevelGet(loggingLevel_t& v) { return code(config.loggingLevelGet(v)); }
    u32 debugAdminStateGet(bool& v) { return code(config.debugAdminStateGet(v)); }

    u32 setDraEnabled(bool v) { return set(&config_t::setDraEnabled, v); }
    u32 setFullMode(bool v) { return set(&config_t::setFullMode, v); }
    u32 setInsertOpt82(bool v) { return set<bool>(&config_t::setInsertOpt82, v); }
    u32 setUnicastExtension(bool v) { return set<bool>(&config_t::setUnicastExtension, v); }
    u32 setKeepOpt82(bool v) { return set<bool>(&config_t::setKeepOpt82, v); }
    u32 setCircuitTrusted(bool v) { return set<bool>(&config_t::setCircuitTrusted, v); }
    u32 setInsertCircuitID(bool v) { return set(&config_t::setInsertCircuitID, v); }
    u32 setInsertRemoteID(bool v) { return set(&config_t::setInsertRemoteID, v); }
    u32 setNodeId(text v) { return set(&config_t::setNodeId, v); }
    u32 setChassisId(int v) { return code(config.setChassisId(v)); } // the facade's lock alone: -1 without it
    u32 setDraCircuitIdCVlan(bool v) { return set(&config_t::setDraCircuitIdCVlan, v); }
    u32 setCircuitIdFormat(text v) { return set<text>(&config_t::setCircuitIdFormat, v); }
    u32 setRemoteIdFormat(text v) { return set<text>(&config_t::setRemoteIdFormat, v); }
    u32 setDefaultServer(u32 v) { return set(&config_t::setDefaultServer, v); }
    u32 setServerPerVlan(u32 server, u16 vlan, bool add)
    {
        return set(&config_t::setServerPerVlan, server, vlan, add);
    }
    u32 loggingLevelSet(loggingLevel_t v) { return set(&config_t::loggingLevelSet, v); }
    u32 debugAdminStateSet(bool v) { return set(&config_t::debugAdminStateSet, v); }

    // ---- DHCPv4, per interface ----
    u32 getMode(u32 id, interfaceMode& v) { return code(config.getMode(id, v)); }
    u32 isCircuitTrusted(u32 id, threeStateBool& v) { return code(config.isCircuitTrusted(id, v)); }
    u32 isInsertOpt82(u32 id, threeStateBool& v) { return code(config.isInsertOpt82(id, v)); }
    u32 isUnicastExtension(u32 id, threeStateBool& v) { return code(config.isUnicastExtension(id, v)); }
    u32 isKeepOpt82(u32 id, threeStateBool& v) { return code(config.isKeepOpt82(id, v)); }
    u32 isMeteringEnabled(u32 id, bool& v) { return code(config.isMeteringEnabled(id, v)); }
    u32 getRate(u32 id, int& v) { return code(config.getRate(id, v)); }
    u32 getRemoteID(u32 id, std::string& v) { return code(config.getRemoteID(id, v)); }
    u32 getRemoteIDMap(u32 id, remoteIds_t& v) { return code(config.getRemoteIDMap(id, v)); }
    u32 getCircuitIdMode(u32 id, circuitIdMode_t& v) { return code(config.getCircuitIdMode(id, v)); }
    u32 getCircuitIdMode(u32 id, u16 vlan, circuitIdMode_t& v)
    {
        return code(config.getCircuitIdMode(id, vlan, v));
    }
    u32 getCircuitIdFormat(u32 id, u16 vlan, std::string& v)
    {
        return code(config.getCircuitIdFormat(id, vlan, v));
    }
    u32 getRemoteIdFormat(u32 id, u16 vlan, std::string& v)
    {
        return code(config.getRemoteIdFormat(id, vlan, v));
    }
    u32 getIntfVlanMap(u32 id, intfVlans_t& v) { return code(config.getIntfVlanMap(id, v)); }
    u32 getIntfVlan(u32 id, u16 vlan, intfVlan& v) { return code(config.getIntfVlan(id, vlan, v)); }

    u32 setMode(u32 id, interfaceMode v) { return set(&config_t::setMode, id, v); }
    u32 setCircuitTrusted(u32 id, threeStateBool v)
    {
        return set<u32, threeStateBool>(&config_t::setCircuitTrusted, id, v);
    }
    u32 setInsertOpt82(u32 id, threeStateBool v)
    {
        return set<u32, threeStateBool>(&config_t::setInsertOpt82, id, v);
    }
    u32 setUnicastExtension(u32 id, threeStateBool v)
    {
        return set<u32, threeStateBool>(&config_t::setUnicastExtension, id, v);
    }
    u32 setKeepOpt82(u32 id, threeStateBool v)
    {
        return set<u32, threeStateBool>(&config_t::setKeepOpt82, id, v);
    }
    u32 setMetering(u32 id, bool v) { return set(&config_t::setMetering, id, v); }
    u32 setRate(u32 id, int v) { return set(&config_t::setRate, id, v); }
    u32 setRemoteID(u32 id, text v) { return set<u32, text>(&config_t::setRemoteID, id, v); }
    u32 setRemoteID(u32 id, text v, u16 vlan)
    {
        return set<u32, text, u16>(&config_t::setRemoteID, id, v, vlan);
    }
    /// ATM on a PVC only; see dhcpra_config for what holds a change off.
    u32 setCircuitIdMode(u32 id, circuitIdMode_t mode, int value);
    u32 setCircuitIdMode(u32 id, u16 vlan, circuitIdMode_t mode)
    {
        return set<u32, u16, circuitIdMode_t>(&config_t::setCircuitIdMode, id, vlan, mode);
    }
    u32 setCircuitIdFormat(u32 id, u16 vlan, text v)
    {
        return set<u32, u16, text>(&config_t::setCircuitIdFormat, id, vlan, v);
    }
    u32 setRemoteIdFormat(u32 id, u16 vlan, text v)
    {
        return set<u32, u16, text>(&config_t::setRemoteIdFormat, id, vlan, v);
    }

    // ---- DHCPv4, per VLAN ----
    u32 vlanIsEnabled(u16 vlan, threeStateBool& v) { return code(config.vlanIsEnabled(vlan, v)); }
    u32 vlanIsFullMode(u16 vlan, threeStateBool& v) { return code(config.vlanIsFullMode(vlan, v)); }
    u32 vlanIsInsertOpt82(u16 vlan, threeStateBool& v) { return code(config.vlanIsInsertOpt82(vlan, v)); }
    u32 vlanIsUnicastExtension(u16 vlan, threeStateBool& v)
    {
        return code(config.vlanIsUnicastExtension(vlan, v));
    }
    u32 vlanIsKeepOpt82(u16 vlan, threeStateBool& v) { return code(config.vlanIsKeepOpt82(vlan, v)); }
    u32 vlanIsCircuitId(u16 vlan, threeStateBool& v) { return code(config.vlanIsCircuitId(vlan, v)); }

    u32 vlanSetEnabled(u16 vlan, threeStateBool v) { return set(&config_t::vlanSetEnabled, vlan, v); }
    u32 vlanSetFullMode(u16 vlan, threeStateBool v) { return set(&config_t::vlanSetFullMode, vlan, v); }
    u32 vlanSetInsertOpt82(u16 vlan, threeStateBool v) { return set(&config_t::vlanSetInsertOpt82, vlan, v); }
    u32 vlanSetUnicastExtension(u16 vlan, threeStateBool v)
    {
        return set(&config_t::vlanSetUnicastExtension, vlan, v);
    }
    u32 vlanSetKeepOpt82(u16 vlan, threeStateBool v) { return set(&config_t::vlanSetKeepOpt82, vlan, v); }
    u32 vlanSetCircuitId(u16 vlan, threeStateBool v) { return set(&config_t::vlanSetCircuitId, vlan, v); }

    // ---- DHCPv6, global ----
    u32 isDra6Enabled(bool& v) { return code(config.isDra6Enabled(v)); }
    u32 isDra6InsertRemoteID(bool& v) { return code(config.isDra6InsertRemoteID(v)); }
    u32 getDra6InterfaceID(bool& v) { return code(config.getDra6InterfaceID(v)); }
    u32 isDra6CircuitIdCVlanEnabled(bool& v) { return code(config.isDra6CircuitIdCVlanEnabled(v)); }
    u32 getDra6InterfaceIdFormat(std::string& v) { return code(config.getDra6InterfaceIdFormat(v)); }
    u32 getDra6RemoteIdFormat(std::string& v) { return code(config.getDra6RemoteIdFormat(v)); }
    u32 getDra6SettingsPerVlan(config_t::vlans_t& v) { return code(config.getDra6SettingsPerVlan(v)); }
    u32 loggingLevelV6Get(loggingLevel_t& v) { return code(config.loggingLevelV6Get(v)); }

    u32 setDra6Enabled(bool v) { return set(&config_t::setDra6Enabled, v); }
    u32 setDra6InsertRemoteID(bool v) { return set(&config_t::setDra6InsertRemoteID, v); }
    u32 setDra6InterfaceID(bool v) { return set<bool>(&config_t::setDra6InterfaceID, v); }
    u32 setDra6CircuitIdCVlan(bool v) { return set(&config_t::setDra6CircuitIdCVlan, v); }
    u32 setDra6InterfaceIdFormat(text v) { return set<text>(&config_t::setDra6InterfaceIdFormat, v); }
    u32 setDra6RemoteIdFormat(text v) { return set<text>(&config_t::setDra6RemoteIdFormat, v); }
    u32 loggingLevelV6Set(loggingLevel_t v) { return set(&config_t::loggingLevelV6Set, v); }

    // ---- DHCPv6, per interface ----
    u32 getDra6Mode(u32 id, interfaceMode& v) { return code(config.getDra6Mode(id, v)); }
    u32 isDra6CircuitTrusted(u32 id, threeStateBool& v) { return code(config.isDra6CircuitTrusted(id, v)); }
    u32 getDra6InterfaceID(u32 id, threeStateBool& v) { return code(config.getDra6InterfaceID(id, v)); }
    u32 getDra6RemoteID(u32 id, std::string& v) { return code(config.getDra6RemoteID(id, v)); }
    u32 getDra6RemoteIDMap(u32 id, remoteIds_t& v) { return code(config.getDra6RemoteIDMap(id, v)); }
    u32 getDra6EnterpriseNum(u32 id, u32& v) { return code(config.getDra6EnterpriseNum(id, v)); }
    u32 getDra6EnterpriseNumMap(u32 id, enterpriseNumbers_t& v)
    {
        return code(config.getDra6EnterpriseNumMap(id, v));
    }
    u32 getDra6IntfVlanMap(u32 id, intfVlansV6_t& v) { return code(config.getDra6IntfVlanMap(id, v)); }
    u32 getDra6IntfVlan(u32 id, u16 vlan, intfVlanV6& v) { return code(config.getDra6IntfVlan(id, vlan, v)); }

    u32 setDra6Mode(u32 id, interfaceMode v) { return set(&config_t::setDra6Mode, id, v); }
    u32 setDra6CircuitTrusted(u32 id, threeStateBool v)
    {
        return set(&config_t::setDra6CircuitTrusted, id, v);
    }
    u32 setDra6InterfaceID(u32 id, threeStateBool v)
    {
        return set<u32, threeStateBool>(&config_t::setDra6InterfaceID, id, v);
    }
    u32 setDra6RemoteIdVal(u32 id, text v) { return set(&config_t::setDra6RemoteIdVal, id, v); }
    u32 setDra6RemoteIdValPerVlan(u32 id, text v, u16 vlan)
    {
        return set(&config_t::setDra6RemoteIdValPerVlan, id, v, vlan);
    }
    u32 setDra6EnterpriseNum(u32 id, u32 v) { return set(&config_t::setDra6EnterpriseNum, id, v); }
    u32 setDra6EnterpriseNumPerVlan(u32 id, u32 v, u16 vlan)
    {
        return set(&config_t::setDra6EnterpriseNumPerVlan, id, v, vlan);
    }
    u32 setDra6InterfaceIdMode(u32 id, u16 vlan, interfaceIdModeV6_t v)
    {
        return set(&config_t::setDra6InterfaceIdMode, id, vlan, v);
    }
    u32 setDra6InterfaceIdFormat(u32 id, u16 vlan, text v)
    {
        return set<u32, u16, text>(&config_t::setDra6InterfaceIdFormat, id, vlan, v);
    }
    u32 setDra6RemoteIdFormat(u32 id, u16 vlan, text v)
    {
        return set<u32, u16, text>(&config_t::setDra6RemoteIdFormat, id, vlan, v);
    }

    // ---- DHCPv6, per VLAN ----
    u32 vlanDra6SetEnabled(u16 vlan, threeStateBool v) { return set(&config_t::vlanDra6SetEnabled, vlan, v); }
    u32 vlanDra6SetInterfaceID(u16 vlan, threeStateBool v)
    {
        return set(&config_t::vlanDra6SetInterfaceID, vlan, v);
    }
    u32 vlanDra6SetRemoteID(u16 vlan, threeStateBool v)
    {
        return set(&config_t::vlanDra6SetRemoteID, vlan, v);
    }

    // ---- Counters; 1 for an interface that has none ----
    u32 getSummedCounters(counters_t& v) { return code(config.getSummedCounters(v)); }
    u32 getSummedCountersPerVlan(countersPerVlan_t& v) { return code(config.getSummedCountersPerVlan(v)); }
    u32 getAllCounters(u32 id, counters_t& v) { return code(config.getAllCounters(id, v)); }
    u32 getCountersPerVlan(u32 id, countersPerVlan_t& v) { return code(config.getCountersPerVlan(id, v)); }
    u32 getDra6SummedCounters(counters_t& v) { return code(config.getDra6SummedCounters(v)); }
    u32 getDra6SummedCountersPerVlan(countersPerVlan_t& v)
    {
        return code(config.getDra6SummedCountersPerVlan(v));
    }
    u32 getDra6AllCounters(u32 id, counters_t& v) { return code(config.getDra6AllCounters(id, v)); }
    u32 getDra6CountersPerVlan(u32 id, countersPerVlan_t& v)
    {
        return code(config.getDra6CountersPerVlan(id, v));
    }
    u32 getDra6NdpSummedCounters(counters_t& v) { return code(config.getDra6NdpSummedCounters(v)); }
    u32 getDra6NdpSummedCountersPerVlan(countersPerVlan_t& v)
    {
        return code(config.getDra6NdpSummedCountersPerVlan(v));
    }
    u32 getDra6NdpAllCounters(u32 id, counters_t& v) { return code(config.getDra6NdpAllCounters(id, v)); }
    u32 getDra6NdpCountersPerVlan(u32 id, countersPerVlan_t& v)
    {
        return code(config.getDra6NdpCountersPerVlan(id, v));
    }
    u32 resetIntfCounters(u32 id); ///< of the DHCPv4 engine

    // ---- Both engines ----
    u32 vlanAdd(u32 id, u16 vlan) { return set(&config_t::vlanAdd, id, vlan); }
    u32 vlanDel(u32 id, u16 vlan) { return set(&config_t::vlanDel, id, vlan); }
    u32 clearPortVlanAll() { return set(&config_t::clearPortVlanAll); }
    u32 setCircuitIdModeATMParams(u32 id, u32 parentId, u32 vpi, u32 vci)
    {
        return set(&config_t::setCircuitIdModeATMParams, id, parentId, vpi, vci);
    }
    u32 setSystemContact(text value);
    u32 setSystemLocation(text value);
    u32 setSystemName(text value);
    u32 setIntfDescr(u32 id, text value); ///< in the node's registry
    u32 setCpeSerialNumber(u32 id, text value);
    u32 setCpeMac(u32 id, const std::uint8_t* mac); ///< six bytes
    u32 updateShelfId(const std::string& shelfId) { return code(config.on_updateShelfId(shelfId)); }
    u32 onChangeShelfId(const std::string& shelfId);
    u32 rpcSetLocalMac(const std::uint8_t* mac); ///< six bytes
    u32 rpcSetLocalIp(u32 ip);
    /// A port comes up or changes its name: a new one enters the node's registry, a known one takes over
    /// name, parent and position, there and in the engines.
    u32 rpcPortAddEvent(Interfaces::Interface port);

    // ---- Identifiers as a frame of the interface and VLANs would get them; 1 for an unknown interface ----
    u32 genCircuitIdByInterfaceName(u32 id, u16 vid, u16 cvid, std::string& result);
    u32 genCircuitIdByIntfVlan(u32 id, u16 vid, u16 cvid, std::string& result)
    {
        return genCircuitIdByInterfaceName(id, vid, cvid, result);
    }
    u32 genRemoteIdByIntfVlan(u32 id, u16 vid, u16 cvid, std::string& result);
    u32 genDra6InterfaceIdByIntfVlan(u32 id, u16 vid, u16 cvid, std::string& result);
    u32 genDra6RemoteIdByIntfVlan(u32 id, u16 vid, u16 cvid, std::string& result);

    // ---- Events and messages ----
    u32 bllConfEvent(int event) { return bll_conf_event(event); }
    u32 bllConfEventV6(int event) { return bll_conf_event(event); }
    u32 configurationApplyStart() { return 0; }
    u32 configurationApplyStop() { return 0; }
    u32 clearConfigStart() { return 0; }
    u32 clearConfigStop() { return 0; }
    void debugMessage(const char* message); ///< to the node's own log
    /// The relay's debug words. What one has to say goes to @p reply, and to the file @p tty if that is
    /// named.
    void onExternalMessage(const std::string& key, text value, std::ostringstream* reply,
                           const std::string& tty);
    /// Hands the word to the manager's subscribers.
    void onExternalMessageDhcpr(const std::string& key, text value, const std::string& tty);

    [[nodiscard]] dhcpraImpl& engine() { return dhcpra_impl; } ///< for source guard's hook
    [[nodiscard]] dhcpraV6Impl& engineV6() { return dhcprav6_impl; }

private:
    static u32 code(int result) { return static_cast<u32>(result); }

    /// A setter of the facade under the exclusive lock; of overloaded ones the caller names the types.
    template <class... Types>
    u32 set(int (dhcpra_config::*setter)(Types...), std::type_identity_t<Types>... values)
    {
        return underLock<exclusiveLock_t>(1U, [&] { return code((config.*setter)(values...)); });
    }

    /// Peers announce phases of their configuration; nothing here depends on them.
    static u32 bll_conf_event(int) { return 0; }

    RPCProxy mngProxy{"dhcpra_fun"};
    std::atomic<bool> readyDone{false};
    dhcpraImpl dhcpra_impl;
    dhcpraV6Impl dhcprav6_impl;
    dhcpra_config config{&dhcpra_impl, &dhcprav6_impl};
    /// Asleep until the service profile is wired to PVC mode changes: nothing sets it.
    bool pvcCidModeNotify = false;
};
