#pragma once

#include "relay/model/dhcpraTypes.h"

#include <cstdint>

/// First answer for a frame of either family, from what it is and the interface on which it came in.
enum frameReaction : std::uint8_t {
    reactionProcess = 0,
    reactionSendAsIs = 1,
    reactionDiscard = 2,
};

/// A mode in debug texts; a number outside of the modes has the name of the last.
[[nodiscard]] const char* modeName(dhcpraTypes::interfaceMode mode);
