#include "relay/frame/FrameOwner.h"

#include <cstdarg>
#include <cstdio>

void FrameOwner::log(const char* format, ...) const
{
    std::va_list arguments;
    va_start(arguments, format);
    vlog(format, arguments);
    va_end(arguments);
}

void FrameOwner::vlog(const char* format, std::va_list arguments) const
{
    if (!wantsDebugText())
        return;

    // Nearly all texts fit; a dump or a whole decoded frame takes the heap.
    char shortText[1000];
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(shortText, sizeof shortText, format, arguments);
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof shortText) {
        writeDebugText({shortText, static_cast<std::size_t>(length)});
    } else if (length >= 0) {
        std::string longText(static_cast<std::size_t>(length), '\0');
        std::vsnprintf(longText.data(), longText.size() + 1, format, again);
        writeDebugText(longText);
    }
    va_end(again);
}
