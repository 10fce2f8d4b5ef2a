#include "relay/engine/DebugState.h"

#include "log/LogText.h"
#include "relay/frame/FrameText.h"

#include <cstdarg>

using dhcpraTypes::debugFlag;

void DebugState::setDebugFlag(debugFlag group, bool on)
{
    switch (group) {
    case debugFlag::io:
    case debugFlag::ioDump:
    case debugFlag::msgDump:
    case debugFlag::process:
    case debugFlag::message:
        flags[static_cast<std::size_t>(group)] = on;
        return;
    case debugFlag::all:
        for (Flag& flag : flags)
            flag = on;
        return;
    }
    logText(LogImpl::critical, "DHCPRA: setDebugFlag(): unknown debuf flag.");
}

void DebugState::write(std::string_view text) const
{
    if (toLog.load(std::memory_order_relaxed))
        frame::logLines(LogImpl::debug, text);
}

void FlaggedSink::log(const char* format, ...) const
{
    if (!wantsDebugText())
        return;
    std::va_list arguments;
    va_start(arguments, format);
    owner.vlog(format, arguments);
    va_end(arguments);
}
