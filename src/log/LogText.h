#pragma once

#include "log/Log.h"

#include <utility>

/// One message in one call: sets the level, then writes the pieces in order. The last piece ends in a newline
/// unless the caller goes on with the same line.
template <typename... Pieces>
void logText(LogImpl::logLevel_t level, Pieces&&... pieces)
{
    Log& log = singleton<Log>::instance();
    log.setMsgLevel(level);
    (log.write(std::decay_t<Pieces>(std::forward<Pieces>(pieces))), ...);
}
