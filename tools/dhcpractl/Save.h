#pragma once

#include "tools/dhcpractl/Connection.h"

#include <cstdint>
#include <iosfwd>

namespace dhcpractl {

/**
 * Writes lines that apply() makes the same settings of again: factory settings first, then every setting that
 * the daemon tells. What it does not tell (shelf and chassis id, addresses and names of the node, equipment
 * behind interfaces) is named in a comment.
 */
void save(Connection& connection, std::uint32_t firstId, std::uint32_t lastId, std::ostream& out);

} // namespace dhcpractl
