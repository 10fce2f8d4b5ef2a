#pragma once

#include <cstdint>

/// First answer for a frame of either family, from what it is and the interface on which it came in.
enum frameReaction : std::uint8_t {
    reactionProcess = 0,
    reactionSendAsIs = 1,
    reactionDiscard = 2,
};
