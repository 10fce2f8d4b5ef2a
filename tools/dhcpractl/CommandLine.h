#pragma once

#include "tools/dhcpractl/Apply.h"
#include "tools/dhcpractl/Connection.h"
#include "tools/dhcpractl/Programs.h"
#include "tools/dhcpractl/Show.h"
#include "tools/dhcpractl/Watch.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace dhcpractl {

/// What the command line fills, and what to do once it has been read. Must outlive the parsing application.
struct Command
{
    const Program* program = &relayProgram();
    ConnectionOptions connection;
    bool tcp = true;
    bool json = false;
    /// Answers an ExitCode; may throw the exceptions of Failures.h.
    std::function<int(Connection&)> run;

    std::string procedure;
    std::vector<std::string> arguments;
    ApplyOptions apply;
    ShowOptions show;
    WatchOptions watch;
    std::uint32_t interface = 0;
    std::uint16_t vlan = 0;
    std::optional<std::uint16_t> optionalVlan;
    std::string key;
    std::string value;
    std::string ids; ///< empty: all
    std::string file;
};

void addCommands(CLI::App& app, Command& command);

} // namespace dhcpractl
