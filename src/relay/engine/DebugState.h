#pragma once

#include "relay/frame/FrameOwner.h"
#include "relay/model/dhcpraTypes.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <string_view>

/**
 * What decides on the debug texts of one engine: five flags, a logging level and a destination. Debug words
 * set them on the RPC thread while the frame thread reads them, hence atomic; a stale answer costs a line of
 * trace.
 */
class DebugState
{
public:
    using Flag = std::atomic<bool>;

    /// Texts are wanted at all. Above the factory level, so that the flags cost nothing although all are set.
    [[nodiscard]] bool wantsTexts() const { return level.load(std::memory_order_relaxed) > 6; }

    [[nodiscard]] const Flag& flag(dhcpraTypes::debugFlag group) const
    {
        return flags[static_cast<std::size_t>(group)];
    }

    /// @p group may be `all`; a number outside the groups is logged and changes nothing.
    void setDebugFlag(dhcpraTypes::debugFlag group, bool on);

    [[nodiscard]] dhcpraTypes::dhcpraLoggingLevel loggingLevel() const { return level; }
    void setLoggingLevel(dhcpraTypes::dhcpraLoggingLevel value)
    {
        level = dhcpraTypes::storedLoggingLevel(value);
    }

    /// True: the log. False drops the texts; the word "stdout" that asks for it silences this sink.
    void setToLog(bool on) { toLog = on; }

    /// Writes a formatted text line by line to the log.
    void write(std::string_view text) const;

private:
    std::array<Flag, 5> flags{true, true, true, true, true};
    std::atomic<dhcpraTypes::dhcpraLoggingLevel> level{dhcpraTypes::defaultLoggingLevel};
    std::atomic<bool> toLog{true};
};

/// The sink of one group of texts: the engine's own, behind the group's flag.
class FlaggedSink final : public DebugSink
{
public:
    FlaggedSink(const FrameOwner& engine, const DebugState& engineState, dhcpraTypes::debugFlag group)
        : owner(engine), state(engineState), flag(engineState.flag(group))
    {}

    [[nodiscard]] bool wantsDebugText() const override
    {
        return debugTextsBuilt && state.wantsTexts() && flag.load(std::memory_order_relaxed);
    }
    void log(const char* format, ...) const override __attribute__((format(printf, 2, 3)));

private:
    const FrameOwner& owner;
    const DebugState& state;
    const DebugState::Flag& flag;
};
