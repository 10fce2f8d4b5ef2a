#pragma once

#include "relay/model/DebugSink.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

/// Collects debug texts.
class TextSink final : public DebugSink
{
public:
    [[nodiscard]] bool wantsDebugText() const override { return true; }
    void log(const char* format, ...) const override __attribute__((format(printf, 2, 3)))
    {
        char piece[1000];
        std::va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(piece, sizeof piece, format, arguments);
        va_end(arguments);
        text += piece;
    }

    std::string take() { return std::exchange(text, {}); }

private:
    mutable std::string text;
};
