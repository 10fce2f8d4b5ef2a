#pragma once

#include "relay/engine/DebugState.h"
#include "relay/engine/DecisionTrace.h"
#include "relay/frame/UdpFrame.h"
#include "relay/io/FrameIo.h"

#include <chrono>

/**
 * The way of frames between one engine and its pseudo device, once for both families: reads whole frames,
 * sends with retries, and dumps what passes under the engine's debug flags.
 *
 * Frame thread only, except where FrameIo says otherwise. It takes no lock.
 */
class FrameChannel
{
public:
    /// How an engine appears in texts.
    struct Names
    {
        const char* engine; ///< class name
        const char* family; ///< "IPv4"
    };
    struct Sinks
    {
        const FlaggedSink& io;
        const FlaggedSink& ioDump;
        const FlaggedSink& msgDump;
        const FlaggedSink& message;
        const DecisionTrace& trace;
    };

    /// All that is given must outlive the channel.
    FrameChannel(FrameIo& frameSocket, const FrameOwner& frameOwner, const Names& ownNames,
                 const Sinks& ownSinks)
        : socket(frameSocket), owner(frameOwner), names(ownNames), sinks(ownSinks)
    {}

    /// One step of the loop: opens a socket that is closed, rests until a frame is there and reads it. False
    /// without a whole frame; the caller comes back.
    [[nodiscard]] bool receive(UdpFrame& frame);

    /// Reads until a whole frame is there; false when the socket fails.
    [[nodiscard]] bool getNext(UdpFrame& frame);
    /// One read, with the answer of FrameIo::read().
    [[nodiscard]] int read(UdpFrame& frame);
    /// False if the frame was lost. @p quiet leaves the dumps out, for further copies of a flooded frame.
    bool send(const UdpFrame& frame, bool quiet = false);

    void traceFrameInfo(const UdpFrame& frame) const;
    void traceFrame(const UdpFrame& frame) const;
    /// Under the flag of raw dumps alone.
    void traceDump(const UdpFrame& frame, std::size_t size) const;

private:
    /// A device that fails again and again is asked for less and less often: a link that flaps is back within
    /// tens of milliseconds, one that stays away costs neither CPU nor log. A frame, or a socket that
    /// held for a second, starts the row anew.
    static constexpr std::chrono::milliseconds shortestReopenPause{10};
    static constexpr std::chrono::milliseconds longestReopenPause{1000};

    bool reopenIfClosed();
    void restBeforeReopening();

    FrameIo& socket;
    const FrameOwner& owner;
    const Names names;
    const Sinks sinks;
    std::chrono::milliseconds reopenPause = shortestReopenPause; // the next one
};
