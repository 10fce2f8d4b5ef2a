#pragma once

#include "tools/dhcpractl/Connection.h"

#include <string>

namespace dhcpractl {

struct ApplyOptions
{
    std::string file; ///< "-": standard input
    bool keepGoing = false;
    bool dryRun = false;
};

/**
 * Calls the procedures of a file's lines in order. The first line that is wrong or refused ends it, unless it
 * is to keep going; it is named with file, line and reason on standard error. A dry run only reads the lines.
 * Answers an ExitCode; Unreachable always ends it.
 */
[[nodiscard]] int apply(Connection& connection, const ApplyOptions& options);

} // namespace dhcpractl
