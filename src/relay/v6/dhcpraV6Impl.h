#pragma once

#include "relay/frame/FrameOwner.h"
#include "relay/id/CustomFormatTestData.h"
#include "relay/id/InterfaceIds.h"
#include "relay/model/InterfaceTable.h"
#include "relay/model/RelayIdentity.h"
#include "relay/model/RelaySettings.h"
#include "relay/model/VlanTable.h"

#include <atomic>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include <boost/thread/recursive_mutex.hpp>

/**
 * The DHCPv6 relay engine: its settings, interfaces, VLANs and counters.
 *
 * Locking: the global lock comes first (exclusive to change, shared to read, taken by the callers), then the
 * engine lock, which guards the members against the frame thread: it counts ICMPv6 frames without the global
 * lock. Operations here take the engine lock themselves; whoever works on an interface or VLAN that a look-up
 * answered holds it through lockEngine().
 */
class dhcpraV6Impl : public FrameOwner
{
public:
    using settings_t = RelaySettingsV6;
    using engineLock_t = boost::recursive_mutex;

    static constexpr char appfilter_name[] = "dhcpv6";
    static constexpr char icmpv6_appfilter_name[] = "icmpv6";
    static constexpr char interface_name[] = "br0_dhcpv6";
    static constexpr char procfs_bridge_file[] = "/proc/net/zobridge/br0/bridge";
    static constexpr char procfs_mng_file[] = "/proc/net/mng/config";
    static constexpr char defaultVendorId[] = "KORVANEL";

    [[nodiscard]] boost::unique_lock<engineLock_t> lockEngine() const
    {
        return boost::unique_lock<engineLock_t>(engineLock);
    }

    // ---- Lifecycle. The frame thread comes with the frame path: until then start() has nothing to start.
    // ----
    [[nodiscard]] bool start();
    void stop();
    /// Back to factory settings; false when the global lock was not obtained.
    [[nodiscard]] bool applyDefaultSettings();
    /// Takes every interface of the node's registry in, with factory counters and the modes of @p settings.
    void addInterfaces(const settings_t& settings);

    // ---- Global settings ----
    [[nodiscard]] bool isDraEnabled() const;
    [[nodiscard]] bool isInsertRemoteID() const;
    [[nodiscard]] bool getInterfaceID() const;
    [[nodiscard]] bool isDraCircuitIdCVlanEnabled() const;
    [[nodiscard]] int getChassisId() const;
    [[nodiscard]] std::string getInterfaceIdFormat() const;
    [[nodiscard]] std::string getRemoteIdFormat() const;
    [[nodiscard]] VlanTable::vlans_t getSettingsPerVlan() const;
    [[nodiscard]] dhcpraTypes::dhcpraLoggingLevel loggingLevelGet() const { return loggingLevel; }

    void setDraEnabled(bool value); ///< switching off resets the counters of all interfaces
    void setInsertRemoteID(bool value);
    void setInterfaceID(bool value);
    void setDraCircuitIdCVlan(bool value);
    void setChassisId(int value);
    void setInterfaceIdFormat(const std::string& format);
    void setRemoteIdFormat(const std::string& format);
    void loggingLevelSet(dhcpraTypes::dhcpraLoggingLevel level);

    // ---- Who the node is ----
    void setShelfId(const std::string& text);
    void setSystemContact(const std::string& text);
    void setSystemLocation(const std::string& text);
    void setSystemName(const std::string& text);
    void rpcSetLocalMac(const std::uint8_t* mac); ///< six bytes
    void rpcSetLocalIp(std::uint32_t ip);         ///< host order

    // ---- Interfaces and VLANs; null when there is none ----
    [[nodiscard]] dhcpraInterface* getInterface(std::uint32_t id) { return getInterfaceById(id); }
    [[nodiscard]] dhcpraInterface* getInterfaceById(std::uint32_t id)
    {
        return interfaces.getInterfaceById(id);
    }
    const dhcpraInterface* getInterfaceById(std::uint32_t id) const override;
    const dhcpraInterface* getInterfaceByName(const std::string& name) const override;
    const dhcpraInterface* getInterfaceByVpiVci(std::uint32_t parentId, std::uint32_t vpi,
                                                std::uint32_t vci) const override;
    [[nodiscard]] const dhcpraVlan* getVlanById(std::uint16_t vid) const { return vlans.getVlanById(vid); }
    [[nodiscard]] dhcpraVlan* getVlanById(std::uint16_t vid, bool create)
    {
        return vlans.getVlanById(vid, create);
    }
    [[nodiscard]] bool isVlanConfigured(std::uint16_t vid) const { return vlans.isVlanConfiguredV6(vid); }
    void vlanDelete(std::uint16_t vid) { vlans.vlanDelete(vid); }
    bool setName(std::uint32_t id, const std::string& name);
    bool setCircuitIdModeATMParams(std::uint32_t id, std::uint32_t parentId, std::uint32_t vpi,
                                   std::uint32_t vci);
    /// Takes the records per VLAN of all interfaces away; stops at the first that refuses.
    bool clearPortVlanAll();

    // ---- Counters, summed over the interfaces ----
    void getSummedCounters(counters_t& sum) const;
    void getSummedCountersPerVlan(countersPerVlan_t& sum) const;
    void getNdpSummedCounters(counters_t& sum) const;
    void getNdpSummedCountersPerVlan(countersPerVlan_t& sum) const;

    // ---- Identifiers; outputs stay as they are for an unknown interface ----
    void genInterfaceIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                       std::string& id, std::vector<std::uint8_t>& idBin,
                                       dhcpraTypes::idGenType type) const;
    void genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                    std::string& id, std::vector<std::uint8_t>& idBin,
                                    dhcpraTypes::idGenType type) const;

    // ---- Debug words; called on the RPC thread ----
    void dhcpraDump(std::uint32_t intfId, std::ostringstream* out) const; ///< id 0: all interfaces
    void dhcpraTestDump(std::ostringstream* out) const;
    void dhcpraTestSet(const std::string& key, const std::string& value, std::ostringstream* out);
    void dhcpraTestRun(const std::string& key, const std::string& mode, std::ostringstream* out) const;
    void dhcpraTestDebug(int value, std::ostringstream* out);
    void setDebugFlag(dhcpraTypes::debugFlag flag, bool on);
    void setLogDestination(int destination) { logDestination = destination; } ///< 1: the log; else dropped

    [[nodiscard]] bool wantsDebugText() const override { return loggingLevel > 6; }

protected:
    void writeDebugText(std::string_view text) const override;

private:
    void forEachInterface(void (*action)(dhcpraInterface&));
    template <class Ids>
    void withIds(Ids action) const;

    mutable engineLock_t engineLock;
    // Guarded by the engine lock.
    bool enabled = false;
    bool insertRemoteID = false;
    bool interfaceID = true;
    bool draCircuitIdCVlan = false;
    std::string interfaceIdFormat = dhcpraV6_interfaceid_format_def;
    std::string remoteIdFormat = dhcpraV6_remoteid_format_def;
    RelayIdentity identity;
    InterfaceTable interfaces;
    VlanTable vlans;
    customFormatTestData_t testData; ///< RPC thread only

    // Switched on the RPC thread, read on the frame thread.
    std::atomic<dhcpraTypes::dhcpraLoggingLevel> loggingLevel{dhcpraTypes::defaultLoggingLevel};
    std::atomic<int> logDestination{1};
    std::atomic<bool> ioDebug{true};
    std::atomic<bool> ioDumpDebug{true};
    std::atomic<bool> msgDumpDebug{true};
    std::atomic<bool> processDebug{true};
    std::atomic<bool> messageDebug{true};
};
