#include "tools/dhcpractl/CommandLine.h"
#include "tools/dhcpractl/Failures.h"

#include <iostream>

namespace {

using namespace dhcpractl;

int fail(const std::exception& error, int code)
{
    std::cerr << "dhcpractl: " << error.what() << '\n';
    return code;
}

int run(const Command& command)
{
    Connection connection(command.connection);
    try {
        return command.run(connection);
    } catch (const UsageError& error) {
        return fail(error, exitUsage);
    } catch (const Refused& error) {
        return fail(error, exitRefused);
    } catch (const Unreachable& error) {
        return fail(error, exitUnreachable);
    }
}

} // namespace

int main(int argc, char** argv)
{
    Command command;
    CLI::App app("Looks into and configures the relay of a running dhcpra", "dhcpractl");
    addCommands(app, command);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitGood : exitUsage;
    }
    return run(command);
}
