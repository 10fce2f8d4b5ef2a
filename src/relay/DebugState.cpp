#include "relay/DebugState.h"

#include "log/LogText.h"

#include <cstdarg>
#include <string>

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
    if (!toLog.load(std::memory_order_relaxed))
        return;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        logText(LogImpl::debug, std::string("[DHCPRA] ").append(text.substr(0, end)).append("\n"));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
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
