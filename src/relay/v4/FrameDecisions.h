#pragma once

#include "relay/engine/DecisionTrace.h"
#include "relay/engine/RelayTables.h"
#include "relay/frame/dhcpraMessage.h"
#include "relay/model/RelaySettings.h"
#include "relay/v4/FrameDecision.h"
#include "relay/v4/Option82Ids.h"
#include "relay/v4/Transactions.h"

#include <optional>
#include <string>

/**
 * Reads a frame, the settings that hold for it and the tables, and answers what becomes of it:
 * FrameDecision.h with its values. It changes neither frame nor tables. With the engine's frameMutex held.
 */
class FrameDecisions
{
public:
    /// All must outlive it.
    FrameDecisions(const RelayTables& relayTables, const GlobalSettings& globalSettings,
                   const Transactions& transactions, const Option82Ids& ids, const DecisionTrace& texts)
        : tables(relayTables), global(globalSettings), clients(transactions), option82Ids(ids), trace(texts)
    {}

    /// The whole chain of checks, and of the four paths the one that holds.
    [[nodiscard]] FrameVerdict decide(const dhcpraMessage& frame);

    [[nodiscard]] frameReaction reactionTo(const dhcpraMessage& frame) const;
    [[nodiscard]] FrameVerdict requestInMode(bool fullMode, const dhcpraMessage& frame) const;
    [[nodiscard]] FrameVerdict replyInMode(bool fullMode, const dhcpraMessage& frame);

private:
    /// Where a frame came in and in which VLAN; either null without settings of its own.
    struct Place
    {
        const dhcpraInterface* source;
        const dhcpraVlan* vlan;
    };
    /// By which name the debug text tells the port that option 82 led to.
    enum class PortName : std::uint8_t { registry, bridge };

    [[nodiscard]] Place placeOf(const dhcpraMessage& frame) const;
    [[nodiscard]] bool isFullModeAt(const Place& place) const;
    [[nodiscard]] bool isUnicastExtensionAt(const Place& place) const;
    [[nodiscard]] frameReaction reactionAt(const Place& place, const dhcpraMessage& frame) const;
    [[nodiscard]] FrameVerdict processAt(const Place& place, const dhcpraMessage& frame,
                                         const NamedTrace& says);
    [[nodiscard]] FrameVerdict requestAt(const Place& place, bool fullMode, const dhcpraMessage& frame) const;
    [[nodiscard]] FrameVerdict replyAt(const Place& place, bool fullMode, const dhcpraMessage& frame);
    [[nodiscard]] bool findTargetInFullMode(const dhcpraMessage& frame, ReplyTarget& target,
                                            const NamedTrace& says);
    [[nodiscard]] bool takeVlanFromMacTable(const dhcpraMessage& frame, ReplyTarget& target,
                                            const NamedTrace& says) const;
    [[nodiscard]] const dhcpraInterface* interfaceOfOption82(const dhcpraMessage& frame, PortName shown,
                                                             const NamedTrace& says);
    [[nodiscard]] bool isKeepOption82(std::uint16_t vlan, const ReplyTarget& target) const;

    const RelayTables& tables;
    const GlobalSettings& global;
    const Transactions& clients;
    const Option82Ids& option82Ids;
    const DecisionTrace& trace;

    Option82Id generatedId; // kept, so that a frame needs no memory of its own
    std::string receivedId, port;
};
