#pragma once

#include "relay/engine/DecisionTrace.h"
#include "relay/engine/EngineThread.h"
#include "relay/engine/FrameChannel.h"
#include "relay/engine/HookSlot.h"
#include "relay/engine/RelayEngine.h"
#include "relay/frame/dhcpraV6Message.h"
#include "relay/frame/icmpV6Message.h"
#include "relay/io/FrameIo.h"
#include "relay/model/RelaySettings.h"
#include "relay/v6/FrameDecisionV6.h"

#include <boost/function.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

/// What source guard says about an ICMPv6 frame.
struct NdpVerdict
{
    bool pass = true;
    int reason = 0;
    int ndpCase = 0;
};

/**
 * The DHCPv6 relay agent (RFC 8415, RFC 6221): one thread takes each DHCPv6 and ICMPv6 frame that the bridge
 * diverts. It wraps what clients send, unwraps what servers answer, and sends everything else on as it came.
 *
 * The twin of dhcpraImpl, on the same parts: settings and tables (RelayEngine.h), frame view (frame/), ids
 * (id/), socket (io/), channel and thread (FrameChannel.h, EngineThread.h); the decisions stand in
 * FrameDecisionV6.h. The member functions stand by topic in dhcpraV6Impl.cpp (settings), FrameLoopV6.cpp,
 * SimplifiedModeV6.cpp and V6Diagnostics.cpp.
 *
 * Locks, in this order: the global lock, then frameMutex, the engine lock. The frame thread takes the global
 * one exclusively for each DHCPv6 frame. Settings, interfaces and VLANs are under the engine lock; callers
 * that work on an interface or VLAN object itself hold the global lock and engineMutex() meanwhile, because
 * the frame thread counts ICMPv6 frames without the global lock.
 */
class dhcpraV6Impl final : public RelayEngine
{
public:
    using settings_t = RelaySettingsV6;

    /// Told of each DHCPv6 frame that was relayed or passed, after it has gone and whether it got there or
    /// not: of a client's frame as the client sent it, of a server's as it left. Answer and @p counter change
    /// nothing. Runs on the frame thread under the exclusive lock and without engineMutex(). Where the thread
    /// did not get that lock in time, an attempt of the hook ends at once with a lock that is not taken
    /// (underFrameLocks()).
    using FrameSentHook = boost::function<int(const dhcpraV6Message& msg, dhcpraTypes::counterId* counter)>;
    /// Asked before an ICMPv6 frame goes on. Runs on the frame thread without any lock.
    using NdpCheckHook = boost::function<NdpVerdict(const icmpV6Message& msg)>;

    static constexpr const char* appfilter_name = "dhcpv6";
    static constexpr const char* icmpv6_appfilter_name = "icmpv6";
    static constexpr const char* interface_name = "br0_dhcpv6";
    static constexpr const char* procfs_bridge_file = "/proc/net/zobridge/br0/bridge";
    static constexpr const char* procfs_mng_file = "/proc/net/mng/config";

    /// The rate limit.
    static constexpr int framesPerSecond = 320;

    /// On the raw socket of the pseudo device.
    dhcpraV6Impl();
    /// On another, for tests, fuzzers and benchmarks.
    explicit dhcpraV6Impl(std::unique_ptr<FrameIo> frames);
    ~dhcpraV6Impl() override;

    // ---- Lifecycle ----

    /// Makes and attaches the pseudo device and starts the frame thread; true also when it runs already.
    [[nodiscard]] bool start();
    /// Ends the frame thread and forgets the interfaces. The caller may hold the global lock, but not
    /// engineMutex(): the frame thread may be waiting for it.
    void stop();
    /// Both at any time; an empty hook takes the present one out. Without a check every ICMPv6 frame passes.
    void setFrameSentHook(FrameSentHook hook) { frameSent.plugIn(std::move(hook)); }
    void setNdpCheckHook(NdpCheckHook hook) { ndpCheck.plugIn(std::move(hook)); }
    /// Back to factory settings, under the exclusive lock. False if it was not got.
    [[nodiscard]] bool applyDefaultSettings();
    /// Takes every interface of the node's registry in, with the modes of @p settings and fresh counters.
    void addInterfaces(const settings_t& settings);

    // ---- Global settings of this family; each takes frameMutex ----

    [[nodiscard]] bool isInsertRemoteID() const { return read(insertRemoteID); } ///< frames do not ask
    [[nodiscard]] bool getInterfaceID() const { return read(interfaceID); }
    [[nodiscard]] std::string getInterfaceIdFormat() const { return read(interfaceIdFormat); }
    [[nodiscard]] std::string getRemoteIdFormat() const { return read(remoteIdFormat); }

    void setInsertRemoteID(bool value) { store(insertRemoteID, value); }
    void setInterfaceID(bool value) { store(interfaceID, value); }
    void setInterfaceIdFormat(const std::string& value) { store(interfaceIdFormat, value); }
    void setRemoteIdFormat(const std::string& value) { store(remoteIdFormat, value); }

    // ---- VLANs. Callers hold the global lock and engineMutex() ----

    [[nodiscard]] bool isVlanConfigured(std::uint16_t vid) const { return vlans.isVlanConfiguredV6(vid); }
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

    // ---- Frames ----

    /// Body of the frame thread; ends on interruption.
    void processFrame();
    /// Handles the frame that stands in message(): one turn of the loop without reading and rate limit.
    void handleFrame();
    /// The one frame view, reused for every frame.
    [[nodiscard]] dhcpraV6Message& message() { return msg; }

    [[nodiscard]] frameReaction getFrameReaction(const dhcpraV6Message& frame) const;
    /// The two paths, on the frame in message() with frameMutex held.
    void processFrameClientToServerSimplified();
    void processFrameServerToClientSimplified();

    /// Counts the frame on its interface and VLAN, if the interface is known; it is simply not sent.
    void discard(const dhcpraV6Message& frame, dhcpraTypes::counterV6Id counter);
    void discardNdp(const dhcpraV6Message& frame, dhcpraTypes::counterV6Ndp counter);
    void refreshCounters(const dhcpraV6Message& frame);
    void refreshNdpCounters(const dhcpraV6Message& frame);

    [[nodiscard]] int dhcpra_socket_read(dhcpraV6Message& frame) { return channel.read(frame); }
    [[nodiscard]] long dhcpra_socket_write(const dhcpraV6Message& frame)
    {
        return io->write(frame.bytesToSend());
    }
    [[nodiscard]] bool getNext() { return channel.getNext(msg); }
    void sendFrame(const dhcpraV6Message& frame);

    /// Peers announce phases of their configuration; nothing here depends on them.
    void bll_conf_event(int) {}

    // ---- Diagnostics (V6Diagnostics.cpp); from the thread of a debug word ----

    void setDebugFlag(debugFlag group, bool on);
    /// @p intfId of 0 shows all interfaces.
    void dhcpraDump(std::uint32_t intfId, std::ostringstream* out) const;
    void dhcpraTestDump(std::ostringstream* out) const;
    void dhcpraTestSet(const std::string& key, const std::string& value, std::ostringstream* out);
    void dhcpraTestRun(const std::string& key, const std::string& mode, std::ostringstream* out) const;
    static void dhcpraTestDebug(int value, std::ostringstream* out);

private:
    /// What the id generators refer to, for one generation with frameMutex held.
    [[nodiscard]] IdContext idContextOf(idGenType type) const;

    // Turn of the loop
    void handleDhcpFrame();
    void handleNdpFrame();
    [[nodiscard]] bool decideOn(FrameEngineLock& engine);
    [[nodiscard]] bool takeVlan(const dhcpraVlan*& vlan);
    [[nodiscard]] bool isRelayOnFor(const dhcpraVlan* vlan) const;
    void tellReaction(ReactionV6 reaction, std::uint8_t type) const;
    void relayFrame();
    void tellDhcpFrame();
    [[nodiscard]] dhcpraInterface* sourceOrWarning(const char* operation, const dhcpraV6Message& frame);
    [[nodiscard]] dhcpraInterface* sourceOrNote(const dhcpraV6Message& frame);

    // The two paths
    void makeInterfaceId(const std::string& name);
    [[nodiscard]] const dhcpraInterface* interfaceOfOption18();
    void discardWrongReply();

    DecisionTrace trace{processSink, nullptr};

    // Under frameMutex.
    bool insertRemoteID = false;
    bool interfaceID = true;
    std::string interfaceIdFormat = dhcpraV6_interfaceid_format_def;
    std::string remoteIdFormat = dhcpraV6_remoteid_format_def;

    // Frame thread only.
    dhcpraV6Message msg{this};
    icmpV6Message ndpMsg;
    std::string interfaceId, remoteId, receivedId, port; // kept, so that a frame needs no memory of its own
    std::vector<std::uint8_t> interfaceIdBin, remoteIdBin;

    std::unique_ptr<FrameIo> io;
    FrameChannel channel{
        *io, *this, {"dhcpraV6Impl", "IPv6"}, {ioSink, ioDumpSink, msgDumpSink, messageSink, trace}};
    HookSlot<FrameSentHook> frameSent;
    HookSlot<NdpCheckHook> ndpCheck;
    EngineThread frameThread;
};
