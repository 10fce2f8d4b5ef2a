#pragma once

#include "tools/dhcpractl/Connection.h"

#include <cstdint>
#include <iosfwd>
#include <optional>

namespace dhcpractl {

struct WatchOptions
{
    std::optional<std::uint32_t> interface; ///< none: the sums over all
    unsigned interval = 1;                  ///< seconds between looks
    unsigned count = 0;                     ///< looks; 0: until interrupted
    bool json = false;                      ///< one object a line
};

/// Counters that moved since the last look, and how many a second that is.
void watchCounters(Connection& connection, const WatchOptions& options, std::ostream& out);

} // namespace dhcpractl
