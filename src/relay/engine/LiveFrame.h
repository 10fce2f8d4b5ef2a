#pragma once

#include "relay/frame/BridgeFrame.h"
#include "relay/ids/IdContext.h"

/// What the frame in the engine's view contributes to an id. Only a live generation runs on the frame thread;
/// others must not look at the frame, which may be changing while they run.
[[nodiscard]] inline FrameSource liveFrameSource(const BridgeFrame& frame, dhcpraTypes::idGenType type)
{
    if (type != dhcpraTypes::idGenType::liveFrame || !frame.isValid())
        return {};
    const std::uint8_t* ethernet = frame.getEthHeader();
    return {true, ethernet == nullptr ? nullptr : ethernet + wire::macSource};
}
