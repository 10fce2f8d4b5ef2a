#pragma once

#include "relay/engine/DecisionTrace.h"
#include "relay/engine/FrameChannel.h"
#include "relay/engine/FrameEndWatch.h"

#include <cstddef>

/// Numbered looks at the last four bytes of the frame at hand; a change since the last look is said under the
/// debug flags. Frame thread only.
class FrameEndTrace
{
public:
    /// All must outlive it.
    FrameEndTrace(const DecisionTrace& texts, const FlaggedSink& dumpSink, const FrameChannel& ownChannel)
        : trace(texts), dump(dumpSink), channel(ownChannel)
    {}

    void take(const UdpFrame& frame) { watch.take(frame.bytesToSend()); }
    void look(const UdpFrame& frame, int check)
    {
        if (const auto change = watch.look(frame.bytesToSend()))
            tell(frame, *change, check, "");
    }
    /// With the sizes of the ids that have come in between.
    void lookBehindIds(const UdpFrame& frame, int check, std::size_t circuitIdSize, std::size_t remoteIdSize);

private:
    void tell(const UdpFrame& frame, const FrameEndWatch::Change& change, int check,
              const char* idSizes) const;

    const DecisionTrace& trace;
    const FlaggedSink& dump;
    const FrameChannel& channel;
    FrameEndWatch watch;
};
