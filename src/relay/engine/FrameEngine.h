#pragma once

#include "log/LogText.h"
#include "platform/Interfaces.h"
#include "relay/engine/EngineThread.h"
#include "relay/engine/FrameChannel.h"
#include "relay/engine/HookSlot.h"
#include "relay/engine/LiveFrame.h"
#include "relay/engine/RelayEngine.h"
#include "relay/ids/CustomIds.h"
#include "relay/ids/TestWords.h"
#include "relay/io/FrameSocket.h"
#include "relay/io/PseudoDevice.h"
#include "relay/model/CounterSet.h"

#include <algorithm>
#include <boost/function.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// What the debug channel calls the two families, and which switch traces their macro language.
struct FamilyWords
{
    const char* className;         ///< of the engine, in texts
    const char* noLockForDefaults; ///< logged by applyDefaultSettings(); empty: nothing is
    FrameChannel::Names channel;
    const DebugChannels::Switch* decisions; ///< channel of the decisions' twins; null: none
    DebugChannels::Switch* testDebug;
    const TestWordNames& testWords;
    const IdFamily& ids;
};

/**
 * One relay agent of either family: its tables (RelayEngine), the one frame view with socket and channel, the
 * thread, the hook that is told of frames, and the words of the debug channel. What is decided on a frame and
 * done with it stands in the family's own room.
 *
 * @tparam Family tells the types and names: Message (the frame view), Settings (factory settings as one
 * value), words (FamilyWords), device (the pseudo device), receiveBufferBytes, configure() (start settings of
 * one interface), what an interface and the VLANs keep for the family (counterCount, allCounters,
 * countersPerVlan, clearRecords, isVlanConfigured), and dumpRecords() (its VLAN records in a dump).
 *
 * Locks, in this order: the global lock, then frameMutex (recursive). The frame thread takes the global one
 * exclusively for each DHCP frame. Settings, interfaces, VLANs and tables are under frameMutex; callers that
 * work on an interface or VLAN object itself hold the global lock and engineMutex() meanwhile, because a
 * frame is handled even when its thread did not get the global lock in time, and ICMPv6 frames are counted
 * without it.
 */
template <class Family>
class FrameEngine : public RelayEngine
{
public:
    using Message = typename Family::Message;
    using settings_t = typename Family::Settings;
    using interfaceSettings_t = typename settings_t::interfaceSettings_t;

    /// 0 to go on, -1 for not OK, which is only noted: the frame has gone. What it writes to @p counter stays
    /// unread. Runs on the frame thread under the exclusive lock and without engineMutex(). Where the thread
    /// did not get that lock in time, an attempt of the hook ends at once with a lock that is not taken
    /// (underFrameLocks()).
    using FrameSentHook = boost::function<int(const Message& msg, dhcpraTypes::counterId* counter)>;

    static constexpr const char* procfs_bridge_file = "/proc/net/zobridge/br0/bridge";
    static constexpr const char* procfs_mng_file = "/proc/net/mng/config";
    static constexpr const char* interface_name = Family::device;

    // --- Lifecycle

    /// Ends the frame thread and forgets the interfaces. The caller may hold the global lock, but not
    /// engineMutex(): the frame thread may be waiting for it.
    void stop()
    {
        frameThread.stop(*io);
        const Guard guard(frameMutex);
        tables.interfaces.clear();
    }

    /// At any time; an empty one takes the present one out.
    void setFrameSentHook(FrameSentHook hook) { frameSent.plugIn(std::move(hook)); }

    /// Back to factory settings, under the exclusive lock. False if it was not got.
    [[nodiscard]] bool applyDefaultSettings()
    {
        const exclusiveLock_t global;
        if (!global.locked) {
            if (*Family::words.noLockForDefaults != 0)
                logText(LogImpl::critical, Family::words.noLockForDefaults);
            return false;
        }
        const settings_t settings(registryList());
        const Guard guard(frameMutex);
        setDraEnabled(settings.draEnabled);
        tables.draCircuitIdCVlan = settings.draCircuitIdCVlan;
        loggingLevelSet(settings.loggingLevel);
        addInterfaces(settings.interfaces);
        tables.vlans = VlanTable(settings.vlans);
        takeOwnSettings(settings);
        return true;
    }

    /// Takes every interface of the node's registry in, with the start settings of its id and fresh counters,
    /// under the exclusive lock.
    void addInterfaces(const std::map<std::uint32_t, interfaceSettings_t>& settings)
    {
        const exclusiveLock_t global;
        if (!global.locked)
            return logText(LogImpl::critical, Family::words.className,
                           "::addInterfaces(): obtaining exclusive lock failed.\n");
        const std::vector<Interfaces::Interface> registry = registryList();
        const Guard guard(frameMutex);
        tables.interfaces.clear();
        static const interfaceSettings_t unset;
        for (const Interfaces::Interface& row : registry) {
            dhcpraInterface interface(row.id, row.name, row.linuxName, row.type);
            const auto found = settings.find(row.id);
            Family::configure(interface, found == settings.end() ? unset : found->second);
            tables.interfaces.add(std::move(interface));
        }
    }

    // --- Interfaces and VLANs; isVlanConfigured() with the global lock and engineMutex() held

    [[nodiscard]] bool isVlanConfigured(std::uint16_t vid) const
    {
        return (tables.vlans.*Family::isVlanConfigured)(vid);
    }
    /// Removes the per-VLAN records of every interface.
    bool clearPortVlanAll()
    {
        const Guard guard(frameMutex);
        return std::all_of(tables.interfaces.begin(), tables.interfaces.end(),
                           [](auto& entry) { return (entry.second.*Family::clearRecords)(); });
    }
    /// Sums over all interfaces; the arguments are overwritten.
    void getSummedCounters(counters_t& sum) const
    {
        sum.assign(Family::counterCount, 0);
        sumOver(Family::allCounters, addCounters, sum);
    }
    void getSummedCountersPerVlan(countersPerVlan_t& sum) const
    {
        sum.clear();
        sumOver(Family::countersPerVlan, addCountersPerVlan, sum);
    }

    // --- Traffic; frame thread

    /// The one frame view, reused for every frame.
    [[nodiscard]] Message& message() { return msg; }
    [[nodiscard]] int dhcpra_socket_create(const char* name, int& mtu) const
    {
        return openPacketSocket(name, mtu, ioSink);
    }
    [[nodiscard]] int dhcpra_socket_read(Message& frame) { return channel.read(frame); }
    [[nodiscard]] long dhcpra_socket_write(const Message& frame) { return io->write(frame.bytesToSend()); }
    /// True when a whole frame stands in message(). Called with no lock held.
    [[nodiscard]] bool getNext() { return channel.getNext(msg); }

    // --- Debug words; from the thread of the word. They take frameMutex, because what they show changes
    // --- under it.

    void setDebugFlag(debugFlag group, bool on)
    {
        debugState.setDebugFlag(group, on);
        if (group == debugFlag::message || group == debugFlag::all)
            msg.debugEnabled = on;
    }
    void dhcpraTestDump(std::ostringstream* out) const
    {
        const Guard guard(frameMutex);
        testDump(tables.customFormatTestData, DebugChannels::isOn(*Family::words.testDebug), *out);
    }
    void dhcpraTestSet(const std::string& key, const std::string& value, std::ostringstream* out)
    {
        const Guard guard(frameMutex);
        testSet(Family::words.testWords, tables.customFormatTestData, key, value, *out);
    }
    void dhcpraTestRun(const std::string& key, const std::string& mode, std::ostringstream* out) const
    {
        const Guard guard(frameMutex);
        const IdContext context = idContextOf(idGenType::testData); // a run never looks at a live frame
        testRun(Family::words.testWords, tables.customFormatTestData, CustomIds(context, Family::words.ids),
                key, mode, *out);
    }
    static void dhcpraTestDebug(int value, std::ostringstream* out)
    {
        DebugChannels::set(*Family::words.testDebug, value != 0);
        *out << "\n Test debug set to " << (value != 0 ? 1 : 0) << "\n\n";
    }

protected:
    using Guard = boost::lock_guard<boost::recursive_mutex>;

    /// @p frames null: the raw socket of the pseudo device.
    explicit FrameEngine(std::unique_ptr<FrameIo> frames)
        : io(frames != nullptr
                 ? std::move(frames)
                 : std::make_unique<FrameSocket>(Family::device, ioSink, Family::receiveBufferBytes))
    {}
    ~FrameEngine() override = default;

    [[nodiscard]] static std::vector<Interfaces::Interface> registryList()
    {
        std::vector<Interfaces::Interface> list;
        if (Interfaces::interfaceListGet(list) != 0)
            list.clear();
        return list;
    }

    /// Those that only the family has; with both locks held.
    virtual void takeOwnSettings(const settings_t& settings) = 0;

    /// What the id generators refer to, for one generation with frameMutex held.
    [[nodiscard]] IdContext idContextOf(idGenType type) const
    {
        return idContext(*Family::words.testDebug, liveFrameSource(msg, type));
    }

    /// Sums one kind of counters over all interfaces.
    template <class Sum>
    void sumOver(Sum (dhcpraInterface::*counters)() const, void (*add)(Sum&, const Sum&), Sum& sum) const
    {
        const Guard guard(frameMutex);
        for (const auto& [id, interface] : tables.interfaces)
            add(sum, (interface.*counters)());
    }

    /// Tells the hook, if there is one, of the frame in message(), @p copies times. What it answers comes too
    /// late to do anything about a frame that has gone; a refusal is noted.
    void tellHook(unsigned copies, const char* refusalText)
    {
        const auto hook = frameSent.get();
        if (hook == nullptr)
            return;
        auto counter = dhcpraTypes::counterId{};
        for (unsigned copy = 0; copy < copies; ++copy)
            if ((*hook)(msg, &counter) != 0 && refusalText != nullptr)
                trace.note(refusalText);
    }

    /// The part of a dump that both families have.
    static void dumpSettings(const std::string& idFormat, const std::string& remoteIdFormat,
                             const std::vector<dhcpraInterface>& interfaces, std::ostringstream& out)
    {
        out << " Global data: \n ------------ \n " << Family::idFormatName << ": '" << idFormat
            << "'\n remoteIdFormat: '" << remoteIdFormat << "'\n\n Intf-VLAN data: \n -------------- \n";
        for (const dhcpraInterface& interface : interfaces)
            Family::dumpRecords(interface, out);
        dumpEquipment(interfaces, out);
    }

    DecisionTrace trace{processSink, Family::words.decisions};

    // Frame thread only.
    Message msg{this};

    std::unique_ptr<FrameIo> io;
    FrameChannel channel{
        *io, *this, Family::words.channel, {ioSink, ioDumpSink, msgDumpSink, messageSink, trace}};
    HookSlot<FrameSentHook> frameSent;
    EngineThread frameThread;
};
