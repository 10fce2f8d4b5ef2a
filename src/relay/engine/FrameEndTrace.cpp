#include "relay/engine/FrameEndTrace.h"

#include <cstdio>

void FrameEndTrace::lookBehindIds(const UdpFrame& frame, int check, std::size_t circuitIdSize,
                                  std::size_t remoteIdSize)
{
    const auto change = watch.look(frame.bytesToSend());
    if (!change)
        return;
    char sizes[80];
    std::snprintf(sizes, sizeof sizes, ", CircuitId size: %zu, RemoteId Size: %zu", circuitIdSize,
                  remoteIdSize);
    tell(frame, *change, check, sizes);
}

void FrameEndTrace::tell(const UdpFrame& frame, const FrameEndWatch::Change& change, int check,
                         const char* idSizes) const
{
    const auto& [from, to] = change;
    trace.note("\t Debug %d: last four bytes changed from %02x:%02x:%02x:%02x to %02x:%02x:%02x:%02x.", check,
               from[0], from[1], from[2], from[3], to[0], to[1], to[2], to[3]);
    trace.note("\t Debug %d: Frame size: %d%s", check, frame.getFrameFullSize(), idSizes);
    if (!dump.wantsDebugText())
        return;
    dump.log("Debug %d Dump: ", check);
    channel.traceDump(frame, frame.bytesToSend().size());
}
