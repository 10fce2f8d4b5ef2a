#pragma once

#include "relay/frame/icmpV6Message.h"
#include "relay/v6/FamilyV6.h"
#include "relay/v6/FrameDecisionV6.h"
#include "relay/v6/FrameExecutorV6.h"

#include <boost/function.hpp>
#include <cstdint>
#include <memory>
#include <optional>
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
 * The twin of dhcpraImpl on the same engine (FrameEngine); what is decided stands in FrameDecisionV6.h, what
 * is done with a frame in FrameExecutorV6.h. The hook is told of each DHCPv6 frame that was relayed or
 * passed, after it has gone and whether it got there or not: of a client's frame as the client sent it, of a
 * server's as it left. Its answer changes nothing.
 */
class dhcpraV6Impl final : public FrameEngine<FamilyV6>
{
public:
    /// Asked before an ICMPv6 frame goes on. Runs on the frame thread without any lock.
    using NdpCheckHook = boost::function<NdpVerdict(const icmpV6Message& msg)>;

    static constexpr const char* appfilter_name = "dhcpv6";
    static constexpr const char* icmpv6_appfilter_name = "icmpv6";
    static constexpr int framesPerSecond = FamilyV6::framesPerSecond;

    /// On the raw socket of the pseudo device, or on another, for tests, fuzzers and benchmarks.
    explicit dhcpraV6Impl(std::unique_ptr<FrameIo> frames = nullptr) : FrameEngine(std::move(frames)) {}
    /// A process that just ends must still join its thread.
    ~dhcpraV6Impl() override { stop(); }

    // ---- Lifecycle ----

    /// Makes and attaches the pseudo device and starts the frame thread; true also when it runs already.
    [[nodiscard]] bool start();
    /// At any time; an empty hook takes the present one out. Without a check every ICMPv6 frame passes.
    void setNdpCheckHook(NdpCheckHook hook) { ndpCheck.plugIn(std::move(hook)); }

    // ---- Global settings of this family; each takes frameMutex ----

    [[nodiscard]] bool isInsertRemoteID() const { return read(global.insertRemoteID); }
    [[nodiscard]] bool getInterfaceID() const { return read(global.interfaceID); }
    [[nodiscard]] std::string getInterfaceIdFormat() const { return read(global.interfaceIdFormat); }
    [[nodiscard]] std::string getRemoteIdFormat() const { return read(global.remoteIdFormat); }

    void setInsertRemoteID(bool value) { store(global.insertRemoteID, value); }
    void setInterfaceID(bool value) { store(global.interfaceID, value); }
    void setInterfaceIdFormat(const std::string& value) { store(global.interfaceIdFormat, value); }
    void setRemoteIdFormat(const std::string& value) { store(global.remoteIdFormat, value); }

    /// Sums over all interfaces; the arguments are overwritten.
    void getNdpSummedCounters(counters_t& sum) const;
    void getNdpSummedCountersPerVlan(countersPerVlan_t& sum) const;

    // ---- Ids; outputs stay untouched when the name is no configured interface ----

    void genInterfaceIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                       std::string& id, std::vector<std::uint8_t>& idBin,
                                       idGenType type) const;
    void genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                    std::string& id, std::vector<std::uint8_t>& idBin, idGenType type) const;

    // ---- Frames; frame thread ----

    /// Body of the frame thread; ends on interruption.
    void processFrame();
    /// Handles the frame that stands in message(): one turn of the loop without reading and rate limit.
    void handleFrame();

    [[nodiscard]] frameReaction getFrameReaction(const dhcpraV6Message& frame) const;
    /// The two paths, on the frame in message() with frameMutex held.
    void processFrameClientToServerSimplified() { executor.relayRequest(msg); }
    void processFrameServerToClientSimplified() { executor.relayReply(msg); }

    /// Counts the frame on its interface and VLAN, if the interface is known; it is simply not sent. These
    /// four take frameMutex.
    void discard(const dhcpraV6Message& frame, dhcpraTypes::counterV6Id counter)
    {
        executor.discard(frame, counter);
    }
    void discardNdp(const dhcpraV6Message& frame, dhcpraTypes::counterV6Ndp counter);
    void refreshCounters(const dhcpraV6Message& frame);
    void refreshNdpCounters(const dhcpraV6Message& frame);
    void sendFrame(const dhcpraV6Message& frame) { executor.sendFrame(frame); }

    /// Peers announce phases of their configuration; nothing here depends on them.
    void bll_conf_event(int) {}

    /// Debug word, beside those of FrameEngine. @p intfId of 0 shows all interfaces.
    void dhcpraDump(std::uint32_t intfId, std::ostringstream* out) const;

private:
    [[nodiscard]] InterfaceIds idsOf(idGenType type) const
    {
        return {
            idContextOf(type),
            {global.interfaceIdFormat, global.remoteIdFormat, global.interfaceID, tables.draCircuitIdCVlan}};
    }

    void takeOwnSettings(const settings_t& settings) override { global = settings; }

    // Turn of the loop
    void handleDhcpFrame();
    void handleNdpFrame();
    [[nodiscard]] std::optional<std::uint16_t> vlanOf(const dhcpraV6Message& frame) const;
    [[nodiscard]] VerdictV6 decide(const dhcpraV6Message& frame, std::uint16_t vid) const;
    [[nodiscard]] FrameTraitsV6 traitsOf(const dhcpraV6Message& frame) const;
    void tellReaction(ReactionV6 reaction, std::uint8_t type) const;
    [[nodiscard]] dhcpraInterface* sourceOrNote(const dhcpraV6Message& frame);

    GlobalSettingsV6 global; // under frameMutex

    icmpV6Message ndpMsg; // frame thread only
    FrameExecutorV6 executor{{tables, global, channel, trace, processSink, frameMutex}};
    HookSlot<NdpCheckHook> ndpCheck;
};
