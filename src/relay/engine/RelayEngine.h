#pragma once

#include "relay/engine/DebugState.h"
#include "relay/engine/RelayTables.h"
#include "relay/frame/FrameOwner.h"
#include "relay/ids/IdContext.h"
#include "relay/model/DebugChannels.h"
#include "relay/model/dhcpraTypes.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

/**
 * What the two relay engines have in common beside the way of frames: who the node is, its interfaces and
 * VLANs, the main switch and the debug texts, under one mutex. Each engine has all of it for itself.
 *
 * Locks, in this order: the global lock, then frameMutex (recursive).
 */
class RelayEngine : public FrameOwner
{
public:
    using debugFlag = dhcpraTypes::debugFlag;
    using idGenType = dhcpraTypes::idGenType;
    using dhcpraLoggingLevel = dhcpraTypes::dhcpraLoggingLevel;
    using interfaces_t = InterfaceTable::interfaces_t;

    /// frameMutex.
    [[nodiscard]] boost::recursive_mutex& engineMutex() const { return frameMutex; }

    // ---- Global settings; each takes frameMutex ----

    [[nodiscard]] bool isDraEnabled() const { return read(tables.draEnabled); }
    [[nodiscard]] bool isDraCircuitIdCVlanEnabled() const { return read(tables.draCircuitIdCVlan); }
    [[nodiscard]] int getChassisId() const { return read(tables.identity.chassisId); }
    [[nodiscard]] VlanTable::vlans_t getSettingsPerVlan() const { return read(tables.vlans.all()); }
    [[nodiscard]] dhcpraLoggingLevel loggingLevelGet() const { return debugState.loggingLevel(); }

    /// Switching the relay off also resets the counters of all interfaces.
    void setDraEnabled(bool value);
    void setDraCircuitIdCVlan(bool value) { store(tables.draCircuitIdCVlan, value); }
    void setChassisId(int value) { store(tables.identity.chassisId, value); }
    void loggingLevelSet(dhcpraLoggingLevel value) { debugState.setLoggingLevel(value); }

    // The node's names, as the ids tell them.
    void setShelfId(const std::string& value) { store(tables.identity.shelfId, value); }
    void setSystemContact(const std::string& value) { store(tables.identity.systemContact, value); }
    void setSystemLocation(const std::string& value) { store(tables.identity.systemLocation, value); }
    void setSystemName(const std::string& value) { store(tables.identity.systemName, value); }
    /// Six bytes; null is ignored.
    void rpcSetLocalMac(const std::uint8_t* mac);
    void rpcSetLocalIp(std::uint32_t ip) { store(tables.identity.localIp, ip); } ///< host order
    [[nodiscard]] RelayIdentity getIdentity() const { return read(tables.identity); }

    // ---- Interfaces and VLANs; null when absent. Callers hold the global lock and engineMutex() ----

    [[nodiscard]] dhcpraInterface* getInterface(const std::uint32_t& id) { return getInterfaceById(id); }
    [[nodiscard]] const dhcpraInterface* getInterface(const std::uint32_t& id) const
    {
        return getInterfaceById(id);
    }
    [[nodiscard]] dhcpraInterface* getInterfaceById(std::uint32_t id)
    {
        return tables.interfaces.getInterfaceById(id);
    }
    [[nodiscard]] const dhcpraInterface* getInterfaceById(std::uint32_t id) const final;
    [[nodiscard]] dhcpraInterface* getInterfaceByName(const std::string& name)
    {
        return tables.interfaces.getInterfaceByName(name);
    }
    [[nodiscard]] const dhcpraInterface* getInterfaceByName(const std::string& name) const final;
    [[nodiscard]] const dhcpraInterface* getInterfaceByVpiVci(std::uint32_t parentId, std::uint32_t vpi,
                                                              std::uint32_t vci) const final;
    [[nodiscard]] const interfaces_t& getInterfaces() const { return tables.interfaces.all(); }

    /// These two change keys of look-ups, so they go through the engine. False for an unknown id.
    bool setInterfaceName(std::uint32_t id, const std::string& name);
    bool setCircuitIdModeATMParams(std::uint32_t id, std::uint32_t parentId, std::uint32_t vpi,
                                   std::uint32_t vci);

    [[nodiscard]] const dhcpraVlan* getVlanById(std::uint16_t vid) const
    {
        return tables.vlans.getVlanById(vid);
    }
    [[nodiscard]] dhcpraVlan* getVlanById(std::uint16_t vid, bool create);
    void vlanDelete(std::uint16_t vid);

    // ---- Debug texts ----

    [[nodiscard]] bool wantsDebugText() const final { return debugState.wantsTexts(); }
    /// False silences the debug texts.
    void setLogDestination(bool toLog) { debugState.setToLog(toLog); }

protected:
    void writeDebugText(std::string_view text) const final { debugState.write(text); }

    template <typename T>
    T read(const T& member) const
    {
        const boost::lock_guard<boost::recursive_mutex> guard(frameMutex);
        return member;
    }
    template <typename T>
    void store(T& member, const T& value)
    {
        const boost::lock_guard<boost::recursive_mutex> guard(frameMutex);
        member = value;
    }

    /// What id generators refer to, for one generation with frameMutex held.
    [[nodiscard]] IdContext idContext(const DebugChannels::Switch& testTrace, const FrameSource& frame) const
    {
        return {tables.interfaces,        tables.vlans, tables.identity, tables.customFormatTestData,
                {processSink, testTrace}, frame};
    }

    /// For a dump, with frameMutex held: the interface, or with an id of 0 all of them, if a dump says
    /// something about it.
    [[nodiscard]] std::vector<dhcpraInterface> copyOfInterfaces(std::uint32_t intfId) const;
    /// The section of a dump about equipment behind interfaces.
    static void dumpEquipment(const std::vector<dhcpraInterface>& shown, std::ostringstream& out);

    DebugState debugState;
    FlaggedSink ioSink{*this, debugState, debugFlag::io};
    FlaggedSink ioDumpSink{*this, debugState, debugFlag::ioDump};
    FlaggedSink msgDumpSink{*this, debugState, debugFlag::msgDump};
    FlaggedSink processSink{*this, debugState, debugFlag::process};
    FlaggedSink messageSink{*this, debugState, debugFlag::message};

    mutable boost::recursive_mutex frameMutex;

    RelayTables tables; // under frameMutex
};

/// The VLAN records of one interface in a dump, if it has any; @p describe writes mode and id format of one.
template <class Records, class Describe>
void dumpVlanRecords(const dhcpraInterface& interface, const Records& records, std::ostringstream& out,
                     Describe describe)
{
    if (records.empty())
        return;
    out << " \tIntf Id: " << interface.getID() << ", name: '" << interface.getName() << "', Linux name: '"
        << interface.getLinuxname() << "':\n";
    for (const auto& [vid, record] : records) {
        out << "\t\tVlan: " << vid << "\n\t\t\t";
        describe(record);
        out << "'\n\t\t\tridFormat: '" << record.remoteIdFormat << "'\n";
    }
}
