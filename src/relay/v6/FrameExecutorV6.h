#pragma once

#include "relay/engine/DecisionTrace.h"
#include "relay/engine/FrameChannel.h"
#include "relay/engine/LiveFrame.h"
#include "relay/engine/RelayTables.h"
#include "relay/engine/VerdictExecutor.h"
#include "relay/frame/dhcpraV6Message.h"
#include "relay/ids/InterfaceIds.h"
#include "relay/model/RelaySettings.h"
#include "relay/v6/FrameDecisionV6.h"

#include <boost/thread/recursive_mutex.hpp>
#include <cstdint>
#include <string>
#include <vector>

/**
 * Does with a DHCPv6 frame what its verdict says. The node is a lightweight relay agent on layer 2 (RFC
 * 6221): it wraps on the way up and unwraps on the way down; addresses and ports stay the client's, and the
 * link address stays "::". With the engine's frameMutex held, except that a settled verdict needs only what
 * keeps the interfaces.
 */
class FrameExecutorV6 : public VerdictExecutor<FrameExecutorV6, VerdictV6, dhcpraV6Message>
{
public:
    /// What it works with; all must outlive it.
    struct Parts
    {
        RelayTables& tables;
        const GlobalSettingsV6& global;
        FrameChannel& channel;
        const DecisionTrace& trace;
        const DebugSink& debug;
        boost::recursive_mutex& engineMutex;
    };

    explicit FrameExecutorV6(const Parts& ownParts) : parts(ownParts) {}

    void relayRequest(dhcpraV6Message& frame);
    void relayReply(dhcpraV6Message& frame);

    void sendFrame(const dhcpraV6Message& frame) { parts.channel.send(frame); }
    /// Counts the frame on its interface and VLAN, if the interface is known. Takes the engine's mutex.
    void discard(const dhcpraV6Message& frame, dhcpraTypes::counterV6Id counter);

private:
    friend class VerdictExecutor<FrameExecutorV6, VerdictV6, dhcpraV6Message>;

    [[nodiscard]] static bool change(const VerdictV6&, const dhcpraV6Message&) { return true; }
    void pass(const VerdictV6&, const dhcpraV6Message& frame) { sendFrame(frame); }
    void discard(const VerdictV6& verdict, const dhcpraV6Message& frame)
    {
        discard(frame, static_cast<dhcpraTypes::counterV6Id>(verdict.counter));
    }
    void sendToServers(const VerdictV6&, dhcpraV6Message& frame)
    {
        // Source guard is to see what the client has sent.
        frame.backupOriginalFrame();
        relayRequest(frame);
        frame.restoreOriginalFrame();
    }
    static void flood(const VerdictV6&, const dhcpraV6Message&) {} // on layer 2 the bridge floods
    void sendToInterface(const VerdictV6&, dhcpraV6Message& frame) { relayReply(frame); }

    void discardWith(dhcpraTypes::counterV6Id counter, const char* text, const dhcpraV6Message& frame);
    void discardWrongReply(const dhcpraV6Message& frame);
    [[nodiscard]] InterfaceIds idsOf(const dhcpraV6Message& frame) const;
    void makeInterfaceId(const std::string& name, const dhcpraV6Message& frame);
    [[nodiscard]] const dhcpraInterface* interfaceOfOption18(const dhcpraV6Message& frame);

    const Parts parts;
    std::string interfaceId, remoteId, receivedId, port; // kept, so that a frame needs no memory of its own
    std::vector<std::uint8_t> interfaceIdBin, remoteIdBin;
};
