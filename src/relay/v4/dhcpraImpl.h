#pragma once

#include "relay/clients/ClientHistory.h"
#include "relay/clients/ClientTable.h"
#include "relay/engine/DecisionTrace.h"
#include "relay/engine/EngineThread.h"
#include "relay/engine/FrameChannel.h"
#include "relay/engine/FrameEndWatch.h"
#include "relay/engine/HookSlot.h"
#include "relay/engine/RelayEngine.h"
#include "relay/frame/dhcpraMessage.h"
#include "relay/ids/CircuitIds.h"
#include "relay/io/FrameIo.h"
#include "relay/io/ServerSender.h"
#include "relay/model/RelaySettings.h"
#include "relay/v4/FrameDecision.h"
#include "relay/v4/ServerTable.h"

#include <boost/function.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

/**
 * The DHCPv4 relay agent (RFC 2131, RFC 3046): one thread takes each DHCP frame that the bridge diverts,
 * decides and sends it on. In Full mode the node is a layer 3 relay; in Simplified mode it only adds
 * option 82.
 *
 * A facade over its parts: settings and tables (RelayEngine.h, model/), the frame view (frame/), the ids
 * (id/), socket and sender (io/), the decisions (FrameDecision.h), the client tables. The member functions
 * stand by topic in dhcpraImpl.cpp (settings), FrameLoop.cpp, FrameTraffic.cpp, ClientRequests.cpp,
 * FullMode.cpp, SimplifiedMode.cpp and Diagnostics.cpp.
 *
 * Locks, in this order: the global lock, then frameMutex (recursive). The frame thread takes the global one
 * exclusively for each frame. Settings, interfaces, VLANs and tables are under frameMutex; callers that work
 * on an interface or VLAN object itself hold the global lock and engineMutex() meanwhile, because a frame is
 * handled even when its thread did not get the global lock in time.
 */
class dhcpraImpl final : public RelayEngine
{
public:
    using settings_t = RelaySettings;
    using dhcprClientInfo_t = ::dhcprClientInfo_t;
    using dhcprLocalClientInfo_t = ::dhcprLocalClientInfo_t;
    using customFormatTestData_t = ::customFormatTestData_t;

    /// Told of each frame once for every copy that has gone, at the end of the frame: 0 to go on, -1 for not
    /// OK, which is only noted; what it writes to @p counter stays unread. Runs on the frame thread under the
    /// exclusive lock and without engineMutex(). Where the thread did not get that lock in time, an attempt
    /// of the hook ends at once with a lock that is not taken (underFrameLocks()).
    using FrameSentHook = boost::function<int(const dhcpraMessage& msg, dhcpraTypes::counterId* counter)>;

    static constexpr const char* appfilter_name = "dhcp";
    static constexpr const char* interface_name = "br0_dhcp";
    static constexpr const char* procfs_bridge_file = "/proc/net/zobridge/br0/bridge";
    static constexpr const char* procfs_mng_file = "/proc/net/mng/config";

    /// On the raw socket of the pseudo device and the node's IP stack.
    dhcpraImpl();
    /// On others, for tests, fuzzers and benchmarks.
    dhcpraImpl(std::unique_ptr<FrameIo> frames, std::unique_ptr<ServerSender> servers);
    ~dhcpraImpl() override;

    // --- Lifecycle (dhcpraImpl.cpp)
    // ---------------------------------------------------------------------------

    /// Makes and attaches the pseudo device and starts the frame thread; true also when it runs already.
    [[nodiscard]] bool start();

    /// Ends the frame thread and forgets the interfaces. The caller may hold the global lock, but not
    /// engineMutex(): the frame thread may be waiting for it.
    void stop();

    /// Both take the exclusive lock. False if it was not got.
    [[nodiscard]] bool applyDefaultSettings();
    void addInterfaces(const std::map<std::uint32_t, settings_t::interfaceSettings_t>& settings);

    /// At any time; an empty one takes the present one out.
    void setFrameSentHook(FrameSentHook hook) { frameSent.plugIn(std::move(hook)); }

    // --- Global settings of this family; each takes frameMutex
    // ------------------------------------------------

    [[nodiscard]] bool isFullMode() const { return read(fullMode); }
    [[nodiscard]] bool isInsertOpt82() const { return read(insertOpt82); }
    [[nodiscard]] bool isUnicastExtension() const { return read(unicastExtension); }
    [[nodiscard]] bool isKeepOpt82() const { return read(keepOpt82); }
    [[nodiscard]] bool isCircuitTrusted() const { return read(circuitTrusted); }
    [[nodiscard]] bool isInsertCircuitID() const { return read(insertCircuitID); }
    [[nodiscard]] bool isInsertRemoteID() const { return read(insertRemoteID); }
    [[nodiscard]] std::string getCircuitIdFormat() const { return read(circuitIdFormat); }
    [[nodiscard]] std::string getRemoteIdFormat() const { return read(remoteIdFormat); }
    [[nodiscard]] std::string getNodeId() const { return read(identity.nodeId); }
    [[nodiscard]] std::uint32_t getDefaultServer() const { return read(defaultServer); } ///< host order
    [[nodiscard]] ServerTable::pairs_t getServersPerVlan() const { return read(servers.all()); }
    [[nodiscard]] bool debugAdminStateGet() const { return read(debugAdminState); }

    void setFullMode(bool value) { store(fullMode, value); }
    void setInsertOpt82(bool value) { store(insertOpt82, value); }
    void setUnicastExtension(bool value) { store(unicastExtension, value); }
    void setKeepOpt82(bool value) { store(keepOpt82, value); }
    void setCircuitTrusted(bool value) { store(circuitTrusted, value); }
    void setInsertCircuitID(bool value) { store(insertCircuitID, value); }
    void setInsertRemoteID(bool value) { store(insertRemoteID, value); }
    void setCircuitIdFormat(const std::string& value) { store(circuitIdFormat, value); }
    void setRemoteIdFormat(const std::string& value) { store(remoteIdFormat, value); }
    void setNodeId(const std::string& value) { store(identity.nodeId, value); }
    void setDefaultServer(std::uint32_t server) { store(defaultServer, server); }
    void setServerPerVlan(std::uint32_t server, std::uint16_t vlan, bool add);
    void debugAdminStateSet(bool value) { store(debugAdminState, value); }

    // --- Interfaces and VLANs; null when absent. Callers hold the global lock and engineMutex()
    // -----------------

    [[nodiscard]] const dhcpraInterface* getInterfaceByLinuxName(const std::string& name) const;
    [[nodiscard]] bool isVlanConfigured(std::uint16_t vid) const;
    /// Removes the per-VLAN records of every interface.
    bool clearPortVlanAll();

    /// Sums over all interfaces; the arguments are overwritten.
    void getSummedCounters(counters_t& sum) const;
    void getSummedCountersPerVlan(countersPerVlan_t& sum) const;

    // --- Ids (dhcpraImpl.cpp); outputs stay untouched when the name is no configured interface
    // -------------------

    void genCircuitIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                     std::string& circuitId, std::vector<std::uint8_t>& circuitIdBin,
                                     idGenType type) const;
    void genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                    std::string& remoteId, std::vector<std::uint8_t>& remoteIdBin,
                                    idGenType type) const;
    bool genCustomId(std::uint32_t intfId, std::uint16_t vid, std::uint16_t cvid, const std::string& format,
                     std::string& id, std::vector<std::uint8_t>& bin, idGenType type) const;

    // --- Frames
    // ----------------------------------------------------------------------------------------------

    /// Body of the frame thread; ends on interruption (FrameLoop.cpp).
    void processFrame();

    /// Handles the frame that stands in message(): one turn of the loop without the reading.
    void handleFrame();

    /// The one frame view, reused for every frame.
    [[nodiscard]] dhcpraMessage& message() { return msg; }

    [[nodiscard]] frameReaction getFrameReaction(const dhcpraMessage& frame) const;
    void processFrameClientToServerFull(dhcpraMessage& frame);
    void processFrameClientToServerSimplified(dhcpraMessage& frame);
    void processFrameServerToClientFull(dhcpraMessage& frame);
    void processFrameServerToClientSimplified(dhcpraMessage& frame);

    /// Counts the frame as discarded on its interface, if that is known; it is simply not sent.
    void discard(const dhcpraMessage& frame, dhcpraTypes::counterId counter);
    void refreshCounters(const dhcpraMessage& frame);

    // Traffic (FrameTraffic.cpp)
    [[nodiscard]] int dhcpra_socket_create(const char* name, int& mtu) const;
    [[nodiscard]] int dhcpra_socket_read(dhcpraMessage& frame) { return channel.read(frame); }
    [[nodiscard]] long dhcpra_socket_write(const dhcpraMessage& frame);
    /// True when a whole frame stands in message(). Called with no lock held.
    [[nodiscard]] bool getNext() { return channel.getNext(msg); }
    void sendFrame(const dhcpraMessage& frame) { sendFrame(frame, false); }
    /// @p quiet leaves the dumps out, for further copies of a flooded frame.
    void sendFrame(const dhcpraMessage& frame, bool quiet);
    /// @p server in host order.
    bool sendToDHCPServer(const dhcpraMessage& frame, std::uint32_t server);

    // Client tables, with frameMutex held
    void dhcprAddClientEntry(const dhcpraMessage& frame, std::uint32_t interfaceId);
    [[nodiscard]] bool dhcprFindClientEntry(const dhcpraMessage& frame, dhcprClientInfo_t& entry) const;
    void dhcprDeleteClientEntry(const dhcpraMessage& frame);
    void dhcprUpdateLocalClientEntry(const dhcpraMessage& frame, std::uint32_t interfaceId);
    [[nodiscard]] const ClientTable& clientTable() const { return clients; }
    [[nodiscard]] const ClientHistory& clientHistory() const { return localClients; }

    // --- Diagnostics (Diagnostics.cpp); from the thread of a debug word
    // ----------------------------------------

    void setDebugFlag(debugFlag group, bool on);
    /// @p intfId of 0 shows all interfaces.
    void dhcpraDump(std::uint32_t intfId, std::ostringstream* out) const;
    void dhcpraTestDump(std::ostringstream* out) const;
    void dhcpraTestSet(const std::string& key, const std::string& value, std::ostringstream* out);
    void dhcpraTestRun(const std::string& key, const std::string& mode, std::ostringstream* out) const;
    static void dhcpraTestDebug(int value, std::ostringstream* out);
    static void dhcpraFrameDebug(int value, std::ostringstream* out);

private:
    /// What the request paths look at, resolved once.
    struct Request
    {
        dhcpraInterface& source;
        std::uint16_t vlan;
        std::uint16_t cvlan;
        RequestTraits traits;
        bool insertOpt82;
    };

    /// Where a reply goes, as far as it is known.
    struct ReplyTarget
    {
        const dhcpraInterface* interface = nullptr;
        std::optional<std::uint16_t> vlan;
        std::optional<std::uint16_t> cvlan;
        std::uint16_t ethType = 0; ///< tag protocols of the request, 0 when not known
        std::uint16_t cEthType = 0;
    };

    /// By which name the debug text tells the port that option 82 led to.
    enum class PortName : std::uint8_t { registry, bridge };

    // Lifecycle
    void takeLocalMac();
    /// For one generation with frameMutex held.
    [[nodiscard]] IdContext idContextOf(idGenType type) const;

    // Turn of the loop
    void nextTurn();
    void decideOn(dhcpraMessage& frame, FrameEngineLock& engine, bool exclusive);
    void dispatch(dhcpraMessage& frame, bool full);
    [[nodiscard]] bool isUnicastExtensionOn(const dhcpraMessage& frame) const;
    [[nodiscard]] bool isKeepOpt82On(std::uint16_t vlan, const dhcpraInterface* target) const;

    // Requests, both modes
    [[nodiscard]] Request requestOf(const dhcpraMessage& frame, dhcpraInterface& source) const;
    void traceRequest(const Request& request) const;
    [[nodiscard]] bool isFromOwnAddress(const dhcpraMessage& frame, const Request& request);
    [[nodiscard]] bool isDiscarded(const dhcpraMessage& frame, std::uint8_t actions);
    void insertOption82(dhcpraMessage& frame, const Request& request, bool removeFirst, bool watchEnd);
    /// Answers what the client tables have of the frame.
    ClientFrame rememberRequest(const dhcpraMessage& frame, const Request& request);
    void sendToServers(const dhcpraMessage& frame, const Request& request, const ClientFrame& client);
    void flood(dhcpraMessage& frame, const Request& request);

    // Replies
    [[nodiscard]] bool isAddressedToBoard(const dhcpraMessage& frame);
    [[nodiscard]] bool findReplyTarget(const dhcpraMessage& frame, ReplyTarget& target);
    [[nodiscard]] const dhcpraInterface* interfaceOfOption82(const dhcpraMessage& frame, PortName shown);
    void restoreVlans(dhcpraMessage& frame, const ReplyTarget& target);
    [[nodiscard]] bool restoreVlanFromMacTable(dhcpraMessage& frame, const dhcpraInterface* target);
    [[nodiscard]] static bool stripOption82(dhcpraMessage& frame, bool keep);
    void addressToClient(dhcpraMessage& frame);
    void closeTransaction(const dhcpraMessage& frame, std::uint32_t targetId);

    // Traffic and traces
    void tellFrameSent(const dhcpraMessage& frame);
    void checkFrameEnd(const dhcpraMessage& frame, int check)
    {
        if (const std::optional<FrameEndWatch::Change> change = frameEnd.look(frame.bytesToSend()))
            tellFrameEndChanged(frame, *change, check);
    }
    void tellFrameEndChanged(const dhcpraMessage& frame, const FrameEndWatch::Change& change, int check);
    [[nodiscard]] const std::vector<std::uint32_t>& floodTargets();

    DecisionTrace trace{processSink};

    // Under frameMutex.
    bool fullMode = false;
    bool insertOpt82 = true;
    bool unicastExtension = false;
    bool keepOpt82 = false;
    bool circuitTrusted = false;
    bool insertCircuitID = true;
    bool insertRemoteID = false;
    bool debugAdminState = false;
    std::string circuitIdFormat = dhcpra_cid_format_def;
    std::string remoteIdFormat = dhcpra_rid_format_def;
    std::uint32_t defaultServer = 0;
    ServerTable servers;
    ClientTable clients{processSink};
    ClientHistory localClients{processSink};
    std::vector<std::uint32_t> networkSide; // ids of the interfaces in mode SERVERS or ENABLE, ascending
    std::uint64_t networkSideRevision = 0;
    bool floodTargetsKnown = false;

    // Frame thread only.
    dhcpraMessage msg{this};
    FrameEndWatch frameEnd;
    struct
    {
        unsigned copies = 0; ///< of the frame, that went and that the hook does not know of yet
        const char* refusalText = "";
    } untold;
    std::string circuitId, remoteId, receivedId, port; // kept, so that a frame needs no memory of its own
    std::vector<std::uint8_t> circuitIdBin, remoteIdBin;

    std::unique_ptr<FrameIo> io;
    std::unique_ptr<ServerSender> serverSender;
    FrameChannel channel{
        *io, *this, {"dhcpraImpl", "IPv4"}, {ioSink, ioDumpSink, msgDumpSink, messageSink, trace}};
    HookSlot<FrameSentHook> frameSent;
    EngineThread frameThread;
};
