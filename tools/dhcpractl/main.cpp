#include "tools/dhcpractl/CommandLine.h"
#include "tools/dhcpractl/Failures.h"
#include "tools/dhcpractl/WholeFile.h"

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
    Connection connection(command.connection, *command.program);
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

/// What the command says in the end: a result that did not arrive is a failure too.
int finish(int code)
{
    if (closeStandardOutput())
        return code;
    const int failed = fail(UsageError("cannot write to standard output"), exitUsage);
    return code == exitGood ? failed : code;
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
        return finish(app.exit(error) == 0 ? exitGood : exitUsage);
    }
    return finish(run(command));
}
