#pragma once

#include "tools/dhcpractl/Connection.h"

#include <string>

namespace dhcpractl {

/// A debug word to the relay, and what it answers: the daemon writes that to a file of ours, so it must run
/// on this machine and see our temporary folder. @throws Refused when nothing came
[[nodiscard]] std::string askWord(Connection& connection, const std::string& key, const std::string& value);

/// The same for words of the manager; there no answer is usual, so an empty one is fine.
[[nodiscard]] std::string askManager(Connection& connection, const std::string& key,
                                     const std::string& value);

} // namespace dhcpractl
