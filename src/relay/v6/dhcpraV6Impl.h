#pragma once

#include "relay/DebugState.h"
#include "relay/frame/FrameOwner.h"
#include "relay/id/CustomFormatTestData.h"
#include "relay/id/IdContext.h"
#include "relay/model/DebugChannels.h"
#include "relay/model/InterfaceTable.h"
#include "relay/model/RelayIdentity.h"
#include "relay/model/RelaySettings.h"
#include "relay/model/VlanTable.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

/**
 * The DHCPv6 relay agent (RFC 8415): settings, interfaces, VLANs, counters and ids.
 *
 * Locks, in this order: the global lock, then the engine lock (recursive). Settings, interfaces and VLANs are
 * under the engine lock; callers that work on an interface or VLAN object itself hold the global lock and
 * engineMutex() meanwhile, because the frame thread counts ICMPv6 frames without the global lock.
 */
class dhcpraV6Impl final : public FrameOwner
{
public:
    using settings_t = RelaySettingsV6;
    using debugFlag = dhcpraTypes::debugFlag;
    using idGenType = dhcpraTypes::idGenType;
    using dhcpraLoggingLevel = dhcpraTypes::dhcpraLoggingLevel;

    static constexpr const char* appfilter_name = "dhcpv6";
    static constexpr const char* icmpv6_appfilter_name = "icmpv6";
    static constexpr const char* interface_name = "br0_dhcpv6";
    static constexpr const char* procfs_bridge_file = "/proc/net/zobridge/br0/bridge";
    static constexpr const char* procfs_mng_file = "/proc/net/mng/config";

    // ---- Lifecycle ----

    /// The pseudo device and its thread come with the frame path; until then there is nothing that can fail.
    [[nodiscard]] bool start();
    /// Forgets the interfaces.
    void stop();
    /// Back to factory settings, under the exclusive lock. False if it was not got.
    [[nodiscard]] bool applyDefaultSettings();
    /// Takes every interface of the node's registry in, with the modes of @p settings and fresh counters.
    void addInterfaces(const settings_t& settings);

    /// The engine lock.
    [[nodiscard]] boost::recursive_mutex& engineMutex() const { return engineLock; }

    // ---- Global settings; each takes the engine lock ----

    [[nodiscard]] bool isDraEnabled() const { return read(draEnabled); }
    [[nodiscard]] bool isInsertRemoteID() const { return read(insertRemoteID); } ///< frames do not ask
    [[nodiscard]] bool getInterfaceID() const { return read(interfaceID); }
    [[nodiscard]] bool isDraCircuitIdCVlanEnabled() const { return read(draCircuitIdCVlan); }
    [[nodiscard]] int getChassisId() const { return read(identity.chassisId); }
    [[nodiscard]] std::string getInterfaceIdFormat() const { return read(interfaceIdFormat); }
    [[nodiscard]] std::string getRemoteIdFormat() const { return read(remoteIdFormat); }
    [[nodiscard]] VlanTable::vlans_t getSettingsPerVlan() const { return read(vlans.all()); }
    [[nodiscard]] dhcpraLoggingLevel loggingLevelGet() const { return debugState.loggingLevel(); }

    /// Switching the relay off also resets the counters of all interfaces.
    void setDraEnabled(bool value);
    void setInsertRemoteID(bool value) { store(insertRemoteID, value); }
    void setInterfaceID(bool value) { store(interfaceID, value); }
    void setDraCircuitIdCVlan(bool value) { store(draCircuitIdCVlan, value); }
    void setChassisId(int value) { store(identity.chassisId, value); }
    void setInterfaceIdFormat(const std::string& value) { store(interfaceIdFormat, value); }
    void setRemoteIdFormat(const std::string& value) { store(remoteIdFormat, value); }
    void loggingLevelSet(dhcpraLoggingLevel value) { debugState.setLoggingLevel(value); }

    // The node's names, as the ids tell them.
    void setShelfId(const std::string& value) { store(identity.shelfId, value); }
    void setSystemContact(const std::string& value) { store(identity.systemContact, value); }
    void setSystemLocation(const std::string& value) { store(identity.systemLocation, value); }
    void setSystemName(const std::string& value) { store(identity.systemName, value); }
    /// Six bytes; null is ignored.
    void rpcSetLocalMac(const std::uint8_t* mac);
    void rpcSetLocalIp(std::uint32_t ip) { store(identity.localIp, ip); } ///< host order

    // ---- Interfaces and VLANs; null when absent. Callers hold the global lock and engineMutex() ----

    [[nodiscard]] dhcpraInterface* getInterface(std::uint32_t id) { return getInterfaceById(id); }
    [[nodiscard]] dhcpraInterface* getInterfaceById(std::uint32_t id)
    {
        return interfaces.getInterfaceById(id);
    }
    [[nodiscard]] const dhcpraInterface* getInterfaceById(std::uint32_t id) const override;
    [[nodiscard]] const dhcpraInterface* getInterfaceByName(const std::string& name) const override;
    [[nodiscard]] const dhcpraInterface* getInterfaceByVpiVci(std::uint32_t parentId, std::uint32_t vpi,
                                                              std::uint32_t vci) const override;
    bool setInterfaceName(std::uint32_t id, const std::string& name);
    bool setCircuitIdModeATMParams(std::uint32_t id, std::uint32_t parentId, std::uint32_t vpi,
                                   std::uint32_t vci);

    [[nodiscard]] const dhcpraVlan* getVlanById(std::uint16_t vid) const { return vlans.getVlanById(vid); }
    [[nodiscard]] dhcpraVlan* getVlanById(std::uint16_t vid, bool create)
    {
        return vlans.getVlanById(vid, create);
    }
    [[nodiscard]] bool isVlanConfigured(std::uint16_t vid) const { return vlans.isVlanConfiguredV6(vid); }
    void vlanDelete(std::uint16_t vid) { vlans.vlanDelete(vid); }
    /// Removes the per-VLAN records of every interface.
    bool clearPortVlanAll();

    /// Sums over all interfaces; the arguments are overwritten.
    void getSummedCounters(counters_t& sum) const;
    void getSummedCountersPerVlan(countersPerVlan_t& sum) const;
    void getNdpSummedCounters(counters_t& sum) const;
    void getNdpSummedCountersPerVlan(countersPerVlan_t& sum) const;

    // ---- Ids; outputs stay untouched when the name is no configured interface ----

    void genInterfaceIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                       std::string& id, std::vector<std::uint8_t>& idBin,
                                       idGenType type) const;
    void genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                    std::string& id, std::vector<std::uint8_t>& idBin, idGenType type) const;

    /// Peers announce phases of their configuration; nothing here depends on them.
    void bll_conf_event(int) {}

    // ---- Diagnostics (V6Diagnostics.cpp); from the thread of a debug word ----

    [[nodiscard]] bool wantsDebugText() const override { return debugState.wantsTexts(); }
    void setDebugFlag(debugFlag group, bool on) { debugState.setDebugFlag(group, on); }
    /// False silences the debug texts.
    void setLogDestination(bool toLog) { debugState.setToLog(toLog); }
    /// @p intfId of 0 shows all interfaces.
    void dhcpraDump(std::uint32_t intfId, std::ostringstream* out) const;
    void dhcpraTestDump(std::ostringstream* out) const;
    void dhcpraTestSet(const std::string& key, const std::string& value, std::ostringstream* out);
    void dhcpraTestRun(const std::string& key, const std::string& mode, std::ostringstream* out) const;
    static void dhcpraTestDebug(int value, std::ostringstream* out);

protected:
    void writeDebugText(std::string_view text) const override { debugState.write(text); }

private:
    template <typename T>
    T read(const T& member) const
    {
        const boost::lock_guard<boost::recursive_mutex> guard(engineLock);
        return member;
    }
    template <typename T>
    void store(T& member, const T& value)
    {
        const boost::lock_guard<boost::recursive_mutex> guard(engineLock);
        member = value;
    }
    template <typename Use>
    void withIdContext(Use use) const
    {
        const boost::lock_guard<boost::recursive_mutex> guard(engineLock);
        use(IdContext{interfaces, vlans, identity, customFormatTestData,
                      IdDebug{processSink, DebugChannels::testDebugV6}});
    }

    DebugState debugState;
    FlaggedSink processSink{*this, debugState, debugFlag::process};

    mutable boost::recursive_mutex engineLock;

    // Under engineLock.
    bool draEnabled = false;
    bool insertRemoteID = false;
    bool interfaceID = true;
    bool draCircuitIdCVlan = false;
    std::string interfaceIdFormat = dhcpraV6_interfaceid_format_def;
    std::string remoteIdFormat = dhcpraV6_remoteid_format_def;
    RelayIdentity identity;
    InterfaceTable interfaces;
    VlanTable vlans;
    customFormatTestData_t customFormatTestData;
};
