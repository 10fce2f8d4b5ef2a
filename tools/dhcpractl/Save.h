#pragma once

#include "tools/dhcpractl/Settings.h"

#include <iosfwd>

namespace dhcpractl {

/**
 * Writes lines that apply() makes the same settings of again: factory settings first, then every setting that
 * the daemon tells. What it does not tell (shelf and chassis id, addresses and names of the node, equipment
 * behind interfaces) is named in a comment.
 */
void save(Connection& connection, const std::optional<IdRange>& range, std::ostream& out);

} // namespace dhcpractl
