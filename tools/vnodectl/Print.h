#pragma once

#include "tools/vnodectl/Queries.h"

#include <iosfwd>

namespace vnodectl {

/// A list of objects as a table, an object as lines of name and value. Numbers stand right, the rest left.
void print(std::ostream& out, const Json& value);

} // namespace vnodectl
