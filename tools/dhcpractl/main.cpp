#include "tools/dhcpractl/Apply.h"
#include "tools/dhcpractl/Connection.h"
#include "tools/dhcpractl/Failures.h"
#include "tools/dhcpractl/Print.h"
#include "tools/dhcpractl/Procedures.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <iostream>

namespace {

using namespace dhcpractl;

/// What the command line fills, and what to do once it has been read.
struct Command
{
    ConnectionOptions connection;
    bool tcp = true;
    bool json = false;
    std::function<int(Connection&)> run;

    std::string procedure;
    std::vector<std::string> arguments;
    ApplyOptions apply;
};

void addConnectionOptions(CLI::App& app, Command& command)
{
    ConnectionOptions& options = command.connection;
    app.add_option("--host", options.host, "Where the daemon is")->capture_default_str();
    app.add_option("--port", options.port, "Its port; without it the port mapper is asked");
    CLI::Option* udp = app.add_flag("--udp", options.udp, "Over UDP; long lists do not fit");
    app.add_flag("--tcp", command.tcp, "Over TCP, as without this")->excludes(udp);
    app.add_option("--timeout", options.timeout, "Seconds that a call may take")
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
    app.add_flag("--json", command.json, "Answers as JSON");
}

std::string listOfProcedures()
{
    std::string text = "Procedures (\"rpc_dra_\" or \"rpc_\" may be left out):\n";
    for (const Procedure& procedure : procedures())
        text += "  " + std::string(procedure.name) + (procedure.words.empty() ? "" : " ") +
                std::string(procedure.words) + "\n";
    return text;
}

int runCall(Connection& connection, const Command& command)
{
    const Procedure& procedure = findProcedure(command.procedure);
    const Json result = call(connection, command.procedure, command.arguments);
    print(std::cout, result, command.json);
    if (isGood(procedure, result))
        return exitGood;
    std::cerr << "dhcpractl: " << procedure.name << ": " << meaningOf(codeOf(result)) << '\n';
    return exitRefused;
}

void addCall(CLI::App& app, Command& command)
{
    CLI::App* word = app.add_subcommand("call", "Call one procedure and show its result");
    word->add_option("PROCEDURE", command.procedure, "Name or number")->required();
    word->add_option("ARGUMENTS", command.arguments);
    word->prefix_command(); // arguments such as -1 are no options
    word->footer(listOfProcedures());
    word->callback([&command, word] {
        const auto rest = word->remaining();
        command.arguments.insert(command.arguments.end(), rest.begin(), rest.end());
        command.run = [&command](Connection& connection) { return runCall(connection, command); };
    });
}

void addApply(CLI::App& app, Command& command)
{
    CLI::App* word = app.add_subcommand("apply", "Replay a configuration file: lines of PROCEDURE ARGUMENTS");
    word->add_option("FILE", command.apply.file, "\"-\" for standard input")->required();
    word->add_flag("--keep-going", command.apply.keepGoing, "Go on behind lines that are wrong or refused");
    word->add_flag("--dry-run", command.apply.dryRun, "Only check the lines");
    word->callback([&command] {
        command.run = [&command](Connection& connection) { return apply(connection, command.apply); };
    });
}

int run(const Command& command)
{
    Connection connection(command.connection);
    try {
        return command.run(connection);
    } catch (const UsageError& error) {
        std::cerr << "dhcpractl: " << error.what() << '\n';
        return exitUsage;
    } catch (const Refused& error) {
        std::cerr << "dhcpractl: " << error.what() << '\n';
        return exitRefused;
    } catch (const Unreachable& error) {
        std::cerr << "dhcpractl: " << error.what() << '\n';
        return exitUnreachable;
    }
}

} // namespace

int main(int argc, char** argv)
{
    Command command;
    CLI::App app("Looks into and configures the relay of a running dhcpra");
    app.require_subcommand(1);
    app.fallthrough(); // options of all commands may stand at the end too
    app.set_help_all_flag("--help-all", "Help on all commands");
    addConnectionOptions(app, command);
    addCall(app, command);
    addApply(app, command);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitGood : exitUsage;
    }
    return run(command);
}
