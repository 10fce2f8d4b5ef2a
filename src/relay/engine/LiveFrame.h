#pragma once

#include "log/LogText.h"
#include "relay/engine/RelayTables.h"
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

/// The interface on which the frame came in; null, and said so in the name of @p operation, if there is none.
[[nodiscard]] inline dhcpraInterface* sourceOrWarning(RelayTables& tables, const BridgeFrame& frame,
                                                      const char* operation)
{
    dhcpraInterface* source = tables.interfaces.getInterfaceById(frame.getFrameSrcInterfaceId());
    if (source == nullptr)
        logText(LogImpl::warning, operation, "(): Interface (", frame.getFrameSrcInterfaceName(),
                ") not found.\n");
    return source;
}

/// What the ids of the frame at hand are made of, for one generation with the locks of the frame path held.
[[nodiscard]] inline IdContext liveIdContext(const RelayTables& tables, const IdDebug& debug,
                                             const BridgeFrame& frame)
{
    return {
        tables.interfaces,           tables.vlans, tables.identity,
        tables.customFormatTestData, debug,        liveFrameSource(frame, dhcpraTypes::idGenType::liveFrame)};
}
