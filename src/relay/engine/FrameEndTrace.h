#pragma once

#include "relay/engine/DecisionTrace.h"
#include "relay/engine/FrameChannel.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

/// Keeps the last four bytes of the frame at hand and tells when they changed: a watch for frames that are
/// changed behind the relay's back. A frame of fewer bytes counts as having zeros in front.
class FrameEndWatch
{
public:
    using Bytes = std::array<std::uint8_t, 4>;
    struct Change
    {
        Bytes from;
        Bytes to;
    };

    void take(std::span<const std::uint8_t> frame) { lastFourBytes = endOf(frame); }

    /// The change since the last look; the new bytes are kept.
    [[nodiscard]] std::optional<Change> look(std::span<const std::uint8_t> frame)
    {
        const Bytes now = endOf(frame);
        if (now == lastFourBytes)
            return std::nullopt;
        const Change change{lastFourBytes, now};
        lastFourBytes = now;
        return change;
    }

private:
    [[nodiscard]] static Bytes endOf(std::span<const std::uint8_t> frame)
    {
        Bytes bytes{};
        if (frame.size() >= bytes.size()) {
            std::memcpy(bytes.data(), frame.data() + (frame.size() - bytes.size()), bytes.size());
            return bytes;
        }
        for (std::size_t back = 1; back <= frame.size(); ++back)
            bytes[bytes.size() - back] = frame[frame.size() - back];
        return bytes;
    }

    Bytes lastFourBytes{};
};

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
