#pragma once

#include "tools/dhcpractl/Connection.h"
#include "tools/dhcpractl/Settings.h"

#include <cstdint>
#include <iosfwd>
#include <optional>

namespace dhcpractl {

struct ShowOptions
{
    bool json = false;
    std::optional<std::uint32_t> interface;
    bool counters = false;
    std::optional<IdRange> range; ///< where interfaces are looked for; none: everywhere
};

void showRelay(Connection& connection, const ShowOptions& options, std::ostream& out);
/// One interface, or all that are found.
void showInterfaces(Connection& connection, const ShowOptions& options, std::ostream& out);
void showVlans(Connection& connection, const ShowOptions& options, std::ostream& out);
void showServers(Connection& connection, const ShowOptions& options, std::ostream& out);
/// Open transactions and the history of clients, from the dump.
void showClients(Connection& connection, const ShowOptions& options, std::ostream& out);

} // namespace dhcpractl
