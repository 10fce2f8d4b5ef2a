#pragma once

#include <cstdint>

/// What becomes of a frame: the answer of a decision, which itself changes and sends nothing.
struct Verdict
{
    enum class Act : std::uint8_t {
        nothing,     ///< neither sent nor counted
        pass,        ///< goes on as it stands
        discard,     ///< is counted on its interface and not sent
        toServers,   ///< goes to the servers as a request of this relay
        flood,       ///< goes to every interface on the network side
        toInterface, ///< goes to one interface, or to where the bridge finds its address
    };

    Act act = Act::nothing;
    std::uint32_t counter = 0; ///< of a discard, in the numbering of the family
    /// Whoever carries it out needs no setting any more, so that configuration need not wait for it.
    bool settled = false;
};

/// First answer for a frame of either family, from what it is and the interface on which it came in.
enum frameReaction : std::uint8_t {
    reactionProcess = 0,
    reactionSendAsIs = 1,
    reactionDiscard = 2,
};
