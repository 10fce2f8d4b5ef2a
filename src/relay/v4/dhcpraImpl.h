#pragma once

#include "relay/engine/FrameEndTrace.h"
#include "relay/io/ServerSender.h"
#include "relay/v4/FamilyV4.h"
#include "relay/v4/FrameDecisions.h"
#include "relay/v4/FrameExecutor.h"
#include "relay/v4/Option82Ids.h"
#include "relay/v4/ServerTable.h"
#include "relay/v4/Transactions.h"

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

/**
 * The DHCPv4 relay agent (RFC 2131, RFC 3046): one thread takes each DHCP frame that the bridge diverts,
 * decides and sends it on. In Full mode the node is a layer 3 relay; in Simplified mode it only adds
 * option 82.
 *
 * It puts the parts together: thread, view, tables and debug words (FrameEngine), what is decided
 * (FrameDecisions), what is done (FrameExecutor), the client tables (Transactions) and the servers
 * (ServerTable). Its operations by their contracted names forward to them. The hook is told of each frame
 * once for every copy that has gone, at the end of the frame.
 */
class dhcpraImpl final : public FrameEngine<FamilyV4>
{
public:
    using dhcprClientInfo_t = ::dhcprClientInfo_t;
    using dhcprLocalClientInfo_t = ::dhcprLocalClientInfo_t;
    using customFormatTestData_t = ::customFormatTestData_t;

    static constexpr const char* appfilter_name = "dhcp";

    /// On the raw socket of the pseudo device and the node's IP stack.
    dhcpraImpl() : dhcpraImpl(nullptr, std::make_unique<UdpServerSender>()) {}
    /// On others, for tests, fuzzers and benchmarks.
    dhcpraImpl(std::unique_ptr<FrameIo> frames, std::unique_ptr<ServerSender> sender)
        : FrameEngine(std::move(frames)), serverSender(std::move(sender))
    {}
    /// The singleton outlives every orderly stop; a process that just ends must still join its thread.
    ~dhcpraImpl() override { stop(); }

    // --- Lifecycle

    /// Makes and attaches the pseudo device and starts the frame thread; true also when it runs already.
    [[nodiscard]] bool start();

    // --- Global settings of this family; each takes frameMutex

    [[nodiscard]] bool isFullMode() const { return read(global.fullMode); }
    [[nodiscard]] bool isInsertOpt82() const { return read(global.insertOpt82); }
    [[nodiscard]] bool isUnicastExtension() const { return read(global.unicastExtension); }
    [[nodiscard]] bool isKeepOpt82() const { return read(global.keepOpt82); }
    [[nodiscard]] bool isCircuitTrusted() const { return read(global.circuitTrusted); }
    [[nodiscard]] bool isInsertCircuitID() const { return read(global.insertCircuitID); }
    [[nodiscard]] bool isInsertRemoteID() const { return read(global.insertRemoteID); }
    [[nodiscard]] std::string getCircuitIdFormat() const { return read(global.circuitIdFormat); }
    [[nodiscard]] std::string getRemoteIdFormat() const { return read(global.remoteIdFormat); }
    [[nodiscard]] std::string getNodeId() const { return read(tables.identity.nodeId); }
    [[nodiscard]] std::uint32_t getDefaultServer() const
    {
        return read(global.defaultServer);
    } ///< host order
    [[nodiscard]] ServerTable::pairs_t getServersPerVlan() const { return read(servers.all()); }
    [[nodiscard]] bool debugAdminStateGet() const { return read(global.debugAdminState); }

    void setFullMode(bool value) { store(global.fullMode, value); }
    void setInsertOpt82(bool value) { store(global.insertOpt82, value); }
    void setUnicastExtension(bool value) { store(global.unicastExtension, value); }
    void setKeepOpt82(bool value) { store(global.keepOpt82, value); }
    void setCircuitTrusted(bool value) { store(global.circuitTrusted, value); }
    void setInsertCircuitID(bool value) { store(global.insertCircuitID, value); }
    void setInsertRemoteID(bool value) { store(global.insertRemoteID, value); }
    void setCircuitIdFormat(const std::string& value) { store(global.circuitIdFormat, value); }
    void setRemoteIdFormat(const std::string& value) { store(global.remoteIdFormat, value); }
    void setNodeId(const std::string& value) { store(tables.identity.nodeId, value); }
    void setDefaultServer(std::uint32_t server) { store(global.defaultServer, server); }
    void setServerPerVlan(std::uint32_t server, std::uint16_t vlan, bool add);
    void debugAdminStateSet(bool value) { store(global.debugAdminState, value); }

    /// Null when absent. Callers hold the global lock and engineMutex().

    [[nodiscard]] const dhcpraInterface* getInterfaceByLinuxName(const std::string& name) const
    {
        return tables.interfaces.getInterfaceByLinuxName(name);
    }

    // --- Ids; outputs stay untouched when the name is no configured interface

    void genCircuitIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                     std::string& circuitId, std::vector<std::uint8_t>& circuitIdBin,
                                     idGenType type) const;
    void genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                    std::string& remoteId, std::vector<std::uint8_t>& remoteIdBin,
                                    idGenType type) const;
    bool genCustomId(std::uint32_t intfId, std::uint16_t vid, std::uint16_t cvid, const std::string& format,
                     std::string& id, std::vector<std::uint8_t>& bin, idGenType type) const;

    // --- Frames; frame thread, with frameMutex held where no other is told

    /// Body of the frame thread; ends on interruption.
    void processFrame();
    /// Handles the frame that stands in message(): one turn of the loop without the reading. Takes the locks.
    void handleFrame();

    [[nodiscard]] frameReaction getFrameReaction(const dhcpraMessage& frame) const
    {
        return decisions.reactionTo(frame);
    }
    void processFrameClientToServerFull(dhcpraMessage& frame)
    {
        executor.carryOut(decisions.requestInMode(true, frame), frame);
    }
    void processFrameClientToServerSimplified(dhcpraMessage& frame)
    {
        executor.carryOut(decisions.requestInMode(false, frame), frame);
    }
    void processFrameServerToClientFull(dhcpraMessage& frame)
    {
        executor.carryOut(decisions.replyInMode(true, frame), frame);
    }
    void processFrameServerToClientSimplified(dhcpraMessage& frame)
    {
        executor.carryOut(decisions.replyInMode(false, frame), frame);
    }

    /// Counts the frame as discarded on its interface, if that is known; it is simply not sent.
    void discard(const dhcpraMessage& frame, dhcpraTypes::counterId counter)
    {
        executor.discard(frame, counter);
    }
    void refreshCounters(const dhcpraMessage& frame);
    void sendFrame(const dhcpraMessage& frame, bool quiet = false) { executor.sendFrame(frame, quiet); }
    /// @p server in host order.
    bool sendToDHCPServer(const dhcpraMessage& frame, std::uint32_t server)
    {
        return executor.sendToDHCPServer(frame, server);
    }

    // --- Client tables, with frameMutex held

    void dhcprAddClientEntry(const dhcpraMessage& frame, std::uint32_t interfaceId)
    {
        clients.table.add(Transactions::clientFrameOf(frame), interfaceId);
    }
    [[nodiscard]] bool dhcprFindClientEntry(const dhcpraMessage& frame, dhcprClientInfo_t& entry) const
    {
        return clients.table.find(Transactions::clientFrameOf(frame), entry);
    }
    void dhcprDeleteClientEntry(const dhcpraMessage& frame)
    {
        clients.table.remove(Transactions::clientFrameOf(frame));
    }
    void dhcprUpdateLocalClientEntry(const dhcpraMessage& frame, std::uint32_t interfaceId)
    {
        clients.history.update(Transactions::clientFrameOf(frame), interfaceId);
    }
    [[nodiscard]] const ClientTable& clientTable() const { return clients.table; }
    [[nodiscard]] const ClientHistory& clientHistory() const { return clients.history; }

    // --- Debug words (Diagnostics.cpp), beside those of FrameEngine

    /// @p intfId of 0 shows all interfaces.
    void dhcpraDump(std::uint32_t intfId, std::ostringstream* out) const;
    static void dhcpraFrameDebug(int value, std::ostringstream* out);

private:
    void takeOwnSettings(const settings_t& settings) override;
    void takeLocalMac();

    // Under frameMutex.
    GlobalSettings global;
    ServerTable servers;
    Transactions clients{processSink};

    std::unique_ptr<ServerSender> serverSender;
    FrameEndTrace frameEnd{trace, ioDumpSink, channel};
    Option82Ids ids{tables, global, processSink};
    FrameDecisions decisions{tables, global, clients, ids, trace};
    FrameExecutor executor{{tables, global, servers, ids, clients, channel, *serverSender, frameEnd, trace,
                            messageSink, msgDumpSink}};
};
