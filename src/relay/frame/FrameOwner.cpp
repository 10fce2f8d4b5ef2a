#include "relay/frame/FrameOwner.h"

#include <cstdarg>
#include <cstdio>

void FrameOwner::log(const char* format, ...) const
{
    if (!wantsDebugText())
        return;

    // Nearly all texts fit; a dump or a whole decoded frame takes the heap.
    char shortText[1000];
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(shortText, sizeof shortText, format, arguments);
    va_end(arguments);
    if (length < 0)
        return;
    const auto needed = static_cast<std::size_t>(length);
    if (needed < sizeof shortText)
        return writeDebugText({shortText, needed});

    std::string longText(needed, '\0');
    va_start(arguments, format);
    std::vsnprintf(longText.data(), needed + 1, format, arguments);
    va_end(arguments);
    writeDebugText(longText);
}
