#pragma once

#include "relay/engine/DebugState.h"
#include "relay/model/DebugChannels.h"
#include "relay/model/DebugSink.h"

#include <concepts>
#include <cstdio>
#include <string>
#include <type_traits>

/// A printf format and the place where it is given.
struct DecisionText
{
    const char* format;
    const char* function;
    int line;

    // Not explicit: every caller's place comes in with its literal.
    // NOLINTNEXTLINE(google-explicit-constructor)
    constexpr DecisionText(const char* text, const char* callingFunction = __builtin_FUNCTION(),
                           int callingLine = __builtin_LINE())
        : format(text), function(callingFunction), line(callingLine)
    {}
};

/// What may stand behind a text; a std::string would pass printf unseen.
template <typename T>
concept DecisionValue = std::integral<T> || std::same_as<T, const char*>;

/**
 * The texts of the frame path in their two channels: the engine's debug texts under the process flag, and the
 * frame-debug channel on standard output, which names function and line and does not ask the logging level.
 * Nothing is formatted while both are off.
 */
class DecisionTrace
{
public:
    /// @p twinChannel null: the decisions have no twin.
    explicit DecisionTrace(const FlaggedSink& processSink,
                           const DebugChannels::Switch* twinChannel = &DebugChannels::frameDebug)
        : channel(twinChannel), process(processSink)
    {}

    /// Whether a text would reach anybody: worth asking before working out what only a text shows.
    [[nodiscard]] bool isListenedTo() const
    {
        return debugTextsBuilt &&
               (process.wantsDebugText() || (channel != nullptr && DebugChannels::isOn(*channel)));
    }

    /// A debug text without a twin in the frame-debug channel.
    template <DecisionValue... Values>
    void note(const char* format, Values... values) const
    {
        if (debugTextsBuilt && process.wantsDebugText())
            sayTo(process, format, values...);
    }

    /// A decision: "\t text", with or without a line end, and its twin.
    template <DecisionValue... Values>
    void decided(DecisionText text, Values... values) const
    {
        note(text.format, values...);
        toChannel(text, values...);
    }

    /// The twin alone, in words of its own.
    template <DecisionValue... Values>
    void toChannel(DecisionText text, Values... values) const
    {
        if (!debugTextsBuilt || channel == nullptr || !DebugChannels::isOn(*channel))
            return;
        const std::string format = channelFormat(text);
        print(format.c_str(), values...);
    }

private:
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    template <typename... Values>
    static void sayTo(const DebugSink& sink, const char* format, Values... values)
    {
        sink.log(format, values...);
    }
    template <typename... Values>
    static void print(const char* format, Values... values)
    {
        std::printf(format, values...);
        std::fflush(stdout); // whoever follows a frame through a pipe wants to see it now
    }
#pragma GCC diagnostic pop

    /// Function and line written out, then the text without its leading tab and blank, ending in one newline.
    [[nodiscard]] static std::string channelFormat(const DecisionText& text);

    const DebugChannels::Switch* channel;
    const FlaggedSink& process; // by its own type: it is asked some fifty times for a frame
};

/// A printf format and the line where it is given.
struct LineText
{
    const char* format;
    int line;

    // Not explicit: every caller's line comes in with its literal.
    // NOLINTNEXTLINE(google-explicit-constructor)
    constexpr LineText(const char* text, int callingLine = __builtin_LINE()) : format(text), line(callingLine)
    {}
};

/// The same texts in the name of one function, whoever writes them: the frame-debug channel names those that
/// operators know.
class NamedTrace
{
public:
    NamedTrace(const DecisionTrace& allTexts, const char* functionName)
        : texts(allTexts), function(functionName)
    {}

    [[nodiscard]] bool isListenedTo() const { return texts.isListenedTo(); }

    template <DecisionValue... Values>
    void note(const char* format, Values... values) const
    {
        texts.note(format, values...);
    }
    template <DecisionValue... Values>
    void decided(LineText text, Values... values) const
    {
        texts.decided({text.format, function, text.line}, values...);
    }
    template <DecisionValue... Values>
    void toChannel(LineText text, Values... values) const
    {
        texts.toChannel({text.format, function, text.line}, values...);
    }

private:
    const DecisionTrace& texts;
    const char* function;
};

[[nodiscard]] constexpr const char* trueOrFalse(bool value) { return value ? "true" : "false"; }
