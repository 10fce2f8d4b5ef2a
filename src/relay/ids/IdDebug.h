#pragma once

#include "relay/model/DebugChannels.h"
#include "relay/model/DebugSink.h"

/// The two debug outputs of id generation: the flagged texts, and the trace on standard output.
struct IdDebug
{
    const DebugSink& sink; ///< answers for the process flag
    const DebugChannels::Switch& trace;
};

/// A flagged debug text; its arguments are not worked out while nobody listens.
#define DHCPRA_ID_LOG(debug, ...)                                                                            \
    do {                                                                                                     \
        if ((debug).sink.wantsDebugText())                                                                   \
            (debug).sink.log(__VA_ARGS__);                                                                   \
    } while (false)
