#pragma once

#include "tools/vnodectl/Connection.h"

#include <nlohmann/json.hpp>

/// What the node tells, as objects and lists of flat objects.
namespace vnodectl {

using Json = nlohmann::ordered_json;

[[nodiscard]] Json showStatus(Connection& node);
[[nodiscard]] Json showFacts(Connection& node);
[[nodiscard]] Json showInterfaces(Connection& node);
[[nodiscard]] Json showVlans(Connection& node);
[[nodiscard]] Json showMacs(Connection& node);
[[nodiscard]] Json showDevices(Connection& node);
[[nodiscard]] Json showCounters(Connection& node); ///< by interface
[[nodiscard]] Json showFilters(Connection& node);
[[nodiscard]] Json showNotes(Connection& node);
[[nodiscard]] Json showDriverCalls(Connection& node);

} // namespace vnodectl
