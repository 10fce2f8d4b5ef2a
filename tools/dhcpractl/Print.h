#pragma once

#include "tools/dhcpractl/Results.h"

#include <iosfwd>

namespace dhcpractl {

/// A result record for people, or as one JSON document.
void print(std::ostream& out, const Json& result, bool json);

/// Bytes of a text that are no UTF-8 come out as replacement characters.
[[nodiscard]] std::string jsonText(const Json& json);

} // namespace dhcpractl
