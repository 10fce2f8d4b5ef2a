#pragma once

#include <stdexcept>

namespace dhcpractl {

/// What the shell sees.
enum ExitCode {
    exitGood = 0,
    exitRefused = 1,     ///< the daemon answered that it did not do it
    exitUsage = 2,       ///< the command line or a file is wrong
    exitUnreachable = 3, ///< no daemon, no port mapper, or the call failed on its way
};

class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class Unreachable : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class Refused : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace dhcpractl
