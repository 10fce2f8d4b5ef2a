#pragma once

#include "tools/dhcpractl/Procedures.h"

namespace dhcpractl {

/// The relay's program, which is meant where the command line names none.
[[nodiscard]] const Program& relayProgram();

/// All programs that a command line may name.
[[nodiscard]] std::span<const Program> programs();

} // namespace dhcpractl
