#pragma once

#include "relay/engine/DecisionTrace.h"
#include "relay/engine/FrameChannel.h"
#include "relay/engine/FrameEndTrace.h"
#include "relay/engine/RelayTables.h"
#include "relay/engine/VerdictExecutor.h"
#include "relay/frame/dhcpraMessage.h"
#include "relay/io/ServerSender.h"
#include "relay/model/RelaySettings.h"
#include "relay/v4/FloodTargets.h"
#include "relay/v4/FrameDecision.h"
#include "relay/v4/Option82Ids.h"
#include "relay/v4/ServerTable.h"
#include "relay/v4/Transactions.h"

#include <utility>

/**
 * Does with a frame what its verdict says: changes it, keeps its transaction, counts it, sends it. With the
 * engine's frameMutex held, except that a settled verdict needs only what keeps the interfaces.
 */
class FrameExecutor : public VerdictExecutor<FrameExecutor, FrameVerdict, dhcpraMessage>
{
public:
    /// What it works with; all must outlive it.
    struct Parts
    {
        RelayTables& tables;
        const GlobalSettings& global;
        const ServerTable& servers;
        const Option82Ids& ids;
        Transactions& clients;
        FrameChannel& channel;
        ServerSender& serverSender;
        FrameEndTrace& frameEnd;
        const DecisionTrace& trace;
        const FlaggedSink& messageSink;
        const FlaggedSink& msgDumpSink;
    };
    /// Copies of the frame at hand that have gone, and what is said of each that the hook refuses.
    struct Sent
    {
        unsigned copies = 0;
        const char* refusalText = "";
    };

    explicit FrameExecutor(const Parts& ownParts) : parts(ownParts) {}

    /// @p quiet leaves the dumps out, for further copies of a flooded frame.
    void sendFrame(const dhcpraMessage& frame, bool quiet = false);
    /// @p server in host order.
    bool sendToDHCPServer(const dhcpraMessage& frame, std::uint32_t server);
    /// Counts the frame as discarded on its interface, if that is known.
    void discard(const dhcpraMessage& frame, dhcpraTypes::counterId counter);

    /// The account since it was last taken.
    [[nodiscard]] Sent takeSent() { return std::exchange(sent, {}); }

private:
    friend class VerdictExecutor<FrameExecutor, FrameVerdict, dhcpraMessage>;

    [[nodiscard]] bool change(const FrameVerdict& verdict, dhcpraMessage& frame);
    void pass(const FrameVerdict& verdict, dhcpraMessage& frame);
    void discard(const FrameVerdict& verdict, const dhcpraMessage& frame)
    {
        discard(frame, static_cast<dhcpraTypes::counterId>(verdict.counter));
    }
    void sendToServers(const FrameVerdict& verdict, const dhcpraMessage& frame);
    void flood(const FrameVerdict& verdict, dhcpraMessage& frame);
    void sendToInterface(const FrameVerdict& verdict, dhcpraMessage& frame);

    /// The texts in the name of the verdict's path.
    [[nodiscard]] NamedTrace saysOn(const FrameVerdict& verdict) const;
    void changeRequest(const FrameVerdict& verdict, dhcpraMessage& frame, const NamedTrace& says);
    void insertOption82(const FrameVerdict& verdict, dhcpraMessage& frame, dhcpraInterface& source,
                        const NamedTrace& says);
    /// False if the reply cannot be made fit for its client.
    [[nodiscard]] bool changeReply(const FrameVerdict& verdict, dhcpraMessage& frame, const NamedTrace& says);
    static void restoreTags(const ReplyTarget& target, dhcpraMessage& frame);
    static void addressToClient(dhcpraMessage& frame, const NamedTrace& says);

    const Parts parts;
    FloodTargets floodTargets;
    Option82Id circuitId, remoteId; // kept, so that a frame needs no memory of its own
    Sent sent;
};
