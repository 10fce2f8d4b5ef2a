#include "log/SysLog.h"

#include <syslog.h>
#include <utility>

namespace {

int priorityOf(LogImpl::logLevel_t level)
{
    switch (level) {
    case LogImpl::warning:
        return LOG_WARNING;
    case LogImpl::notice:
        return LOG_NOTICE;
    case LogImpl::debug:
        return LOG_DEBUG;
    case LogImpl::critical:
        break;
    }
    return LOG_CRIT;
}

std::string withBlanksForTabs(const std::string& text)
{
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        if (c == '\t')
            result.append(4, ' ');
        else
            result.push_back(c);
    }
    return result;
}

} // namespace

SysLog::SysLog(std::string identifier) : LogImpl(true), ident(std::move(identifier))
{
    openlog(ident.c_str(), LOG_PID | LOG_CONS | LOG_NDELAY, LOG_LOCAL1);
}

void SysLog::writeMessageToLog(const logData_t& data)
{
    if (data.buffer.empty())
        return;
    syslog(priorityOf(data.level), "%s", withBlanksForTabs(data.buffer).c_str());
}
