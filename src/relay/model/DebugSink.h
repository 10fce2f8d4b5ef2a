#pragma once

/// Whether the debug texts of the frame path are there at all. False in one benchmark only, which shows what
/// they cost while nobody wants them.
#ifdef DHCPRA_WITHOUT_DEBUG_TEXTS
inline constexpr bool debugTextsBuilt = false;
#else
inline constexpr bool debugTextsBuilt = true;
#endif

/**
 * Where the flagged debug texts of the relay go. A caller asks wantsDebugText() first, so that nothing is
 * formatted and no argument is worked out while nobody listens; log() itself may be called at any time.
 *
 * The texts belong to different flags (frame view, decisions, input and output): an engine hands each part a
 * sink that answers for that part's flag.
 */
class DebugSink
{
public:
    virtual ~DebugSink() = default;

    [[nodiscard]] virtual bool wantsDebugText() const = 0;

    /// printf-like; the text carries its own line end.
    virtual void log(const char* format, ...) const __attribute__((format(printf, 2, 3))) = 0;

protected:
    DebugSink() = default;
    DebugSink(const DebugSink&) = default;
    DebugSink& operator=(const DebugSink&) = default;
};
