#pragma once

#include "relay/engine/LiveFrame.h"
#include "relay/engine/RelayTables.h"
#include "relay/ids/CircuitIds.h"
#include "relay/model/DebugChannels.h"
#include "relay/model/RelaySettings.h"

#include <cstdint>
#include <string>
#include <vector>

/// One of the two ids of option 82 in both forms. Kept by who uses it often, so that an id needs no memory of
/// its own.
struct Option82Id
{
    std::string text;
    std::vector<std::uint8_t> binary; ///< preferred where it is not empty

    void clear()
    {
        text.clear();
        binary.clear();
    }
};

/// Makes the ids of option 82 for frames (idGenType::liveFrame), from the tables and settings of one engine.
/// With its frameMutex held.
class Option82Ids
{
public:
    /// All must outlive it.
    Option82Ids(const RelayTables& relayTables, const GlobalSettings& globalSettings, const DebugSink& sink)
        : tables(relayTables), global(globalSettings), debug(sink)
    {}

    /// The id is left empty if no interface has this name.
    void circuitId(const std::string& interface, const BridgeFrame& frame, Option82Id& id) const
    {
        id.clear();
        const IdContext context = contextOf(frame);
        idsOf(context).genCircuitIdByInterfaceName(interface, frame.getFrameVlan(), frame.getFrameCVlan(),
                                                   id.text, id.binary, liveFrame);
    }
    void remoteId(const std::string& interface, const BridgeFrame& frame, Option82Id& id) const
    {
        id.clear();
        const IdContext context = contextOf(frame);
        idsOf(context).genRemoteIdByInterfaceName(interface, frame.getFrameVlan(), frame.getFrameCVlan(),
                                                  id.text, id.binary, liveFrame);
    }
    [[nodiscard]] CircuitIds idsOf(const IdContext& context) const
    {
        return {context, {global.circuitIdFormat, global.remoteIdFormat, tables.draCircuitIdCVlan}};
    }

private:
    static constexpr auto liveFrame = dhcpraTypes::idGenType::liveFrame;

    [[nodiscard]] IdContext contextOf(const BridgeFrame& frame) const
    {
        return liveIdContext(tables, {debug, DebugChannels::testDebug}, frame);
    }

    const RelayTables& tables;
    const GlobalSettings& global;
    const DebugSink& debug;
};
