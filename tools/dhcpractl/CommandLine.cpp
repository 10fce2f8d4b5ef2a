#include "tools/dhcpractl/CommandLine.h"

#include "tools/dhcpractl/Arguments.h"
#include "tools/dhcpractl/Change.h"
#include "tools/dhcpractl/Failures.h"
#include "tools/dhcpractl/Print.h"
#include "tools/dhcpractl/Procedures.h"
#include "tools/dhcpractl/ReplyFile.h"
#include "tools/dhcpractl/Save.h"
#include "tools/dhcpractl/Settings.h"
#include "tools/dhcpractl/WholeFile.h"

#include <iostream>
#include <limits>
#include <sstream>

namespace dhcpractl {

namespace {

using Action = std::function<void(Connection&)>;

/// A command whose action ends well when it ends.
CLI::App* addWord(CLI::App& parent, Command& command, const char* word, const char* about, Action action)
{
    CLI::App* added = parent.add_subcommand(word, about);
    added->callback([&command, action = std::move(action)] {
        command.run = [action](Connection& connection) { return action(connection), int{exitGood}; };
    });
    return added;
}

/// A command that only groups others.
CLI::App& addGroup(CLI::App& parent, const char* word, const char* about)
{
    CLI::App* added = parent.add_subcommand(word, about);
    added->require_subcommand(1);
    return *added;
}

std::string keysOf(const char* title, std::span<const Setting> settings)
{
    std::string text = std::string(title) + ":\n";
    for (const Setting& setting : settings) {
        std::string key = "  " + std::string(setting.key);
        key.resize(std::max<std::size_t>(key.size(), 28), ' ');
        text += key + std::string(setting.about) + "\n";
    }
    return text;
}

/// Nothing where the command line says nothing: all interfaces.
std::optional<IdRange> parseIds(const std::string& text)
{
    if (text.empty())
        return std::nullopt;
    constexpr std::int64_t highest = std::numeric_limits<std::uint32_t>::max();
    const std::size_t dash = text.find('-');
    const auto first = static_cast<std::uint32_t>(parseNumber(text.substr(0, dash), 0, highest));
    if (dash == std::string::npos)
        return IdRange{first, first};
    return IdRange{first, static_cast<std::uint32_t>(parseNumber(text.substr(dash + 1), first, highest))};
}

void addIdsOption(CLI::App& app, Command& command)
{
    app.add_option("--ids", command.ids, "FIRST-LAST: interfaces with these ids only");
}

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

// ---- call and apply ----

std::string listOfProcedures(const Program& program)
{
    std::string text =
        "Procedures (\"rpc_" + std::string(program.prefix) + "\" or \"rpc_\" may be left out):\n";
    for (const Procedure& procedure : program.procedures)
        text += "  " + std::string(procedure.name) + (procedure.arguments == 0 ? "" : " ") +
                wordsOf(procedure) + "\n";
    return text +
           "Values: BOOL on or off; TRISTATE unset, false or true; MODE a name or number; IP a.b.c.d; MAC in "
           "hex;\n"
           "INTERFACE-RECORD key=value,... of id name linux type flag1 flag2 flag3 speed speed2 dsl1 dsl2\n"
           "description value1 flag4 parent slot panel port intf gem.\n";
}

int runCall(Connection& connection, const Command& command)
{
    const Program& program = connection.program();
    const Procedure& procedure = findProcedure(program, command.procedure);
    const Json result = call(connection, command.procedure, command.arguments);
    print(std::cout, result, command.json);
    if (isGood(program, procedure, result))
        return exitGood;
    std::cerr << "dhcpractl: " << procedure.name << ": " << program.meaningOf(codeOf(result)) << '\n';
    return exitRefused;
}

void addCall(CLI::App& app, Command& command, const Program& program)
{
    CLI::App* word = app.add_subcommand("call", "Call one procedure and show its result");
    word->add_option("PROCEDURE", command.procedure, "Name or number")->required();
    word->add_option("ARGUMENTS", command.arguments);
    word->prefix_command(); // arguments such as -1 are no options
    word->footer(listOfProcedures(program));
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
    word->footer("Words with spaces stand in quotes; # starts a comment. Arguments are those of \"call\".");
    word->callback([&command] {
        command.run = [&command](Connection& connection) { return apply(connection, command.apply); };
    });
}

void saveTo(Connection& connection, const Command& command)
{
    std::ostringstream text;
    save(connection, parseIds(command.ids), text);
    if (command.file == "-")
        std::cout << text.str();
    else
        writeWholeFile(command.file, text.str());
}

void addSave(CLI::App& app, Command& command)
{
    CLI::App* word = addWord(app, command, "save", "Write the settings as lines for \"apply\"",
                             [&command](Connection& connection) { saveTo(connection, command); });
    word->add_option("FILE", command.file, "\"-\" for standard output")->required();
    addIdsOption(*word, command);
}

// ---- show and watch ----

void addShows(CLI::App& app, Command& command)
{
    CLI::App& show = addGroup(app, "show", "Look at settings, counters and clients");
    const auto shower = [&command](void (*what)(Connection&, const ShowOptions&, std::ostream&)) -> Action {
        return [&command, what](Connection& connection) {
            command.show.json = command.json;
            command.show.range = parseIds(command.ids);
            what(connection, command.show, std::cout);
        };
    };
    addWord(show, command, "relay", "Settings of the whole relay, both families", shower(showRelay));
    CLI::App* interface =
        addWord(show, command, "interface", "Settings of an interface, or of all that are found",
                shower(showInterfaces));
    interface->add_option("ID", command.show.interface);
    interface->add_subcommand("counters", "Its counters instead")->callback([&command] {
        command.show.counters = true;
    });
    addIdsOption(*interface, command);
    addWord(show, command, "vlans", "Settings of VLANs", shower(showVlans));
    addWord(show, command, "servers", "Servers of VLANs", shower(showServers));
    addWord(show, command, "clients", "Open transactions and the history of clients", shower(showClients));
}

void addWatch(CLI::App& app, Command& command)
{
    CLI::App& watch = addGroup(app, "watch", "Look again and again");
    CLI::App* word = addWord(watch, command, "counters", "Counters that move, with their rates",
                             [&command](Connection& connection) {
                                 command.watch.json = command.json;
                                 watchCounters(connection, command.watch, std::cout);
                             });
    word->add_option("ID", command.watch.interface, "Of this interface; else the sums");
    word->add_option("--interval", command.watch.interval, "Seconds")
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
    word->add_option("--count", command.watch.count, "Times; without it until interrupted");
}

// ---- set and reset ----

void addSets(CLI::App& app, Command& command)
{
    CLI::App& set = addGroup(app, "set", "Change a setting");

    CLI::App* relay =
        addWord(set, command, "relay", "Of the whole relay",
                [&command](Connection& connection) { setRelay(connection, command.key, command.value); });
    relay->add_option("KEY", command.key)->required();
    relay->add_option("VALUE", command.value)->required();
    relay->footer(keysOf("Keys", relaySettings()));

    CLI::App* interface =
        addWord(set, command, "interface", "Of an interface", [&command](Connection& connection) {
            setInterface(connection, command.interface, command.key, command.value, command.optionalVlan);
        });
    interface->add_option("ID", command.interface)->required();
    interface->add_option("KEY", command.key)->required();
    interface->add_option("VALUE", command.value)->required();
    interface->add_option("--vlan", command.optionalVlan, "On the interface for this VLAN alone");
    interface->footer(keysOf("Keys", interfaceSettings()) +
                      keysOf("Keys with --vlan", interfaceVlanSettings()));

    CLI::App* vlan = addWord(set, command, "vlan", "Of a VLAN", [&command](Connection& connection) {
        setVlan(connection, command.vlan, command.key, command.value);
    });
    vlan->add_option("VLAN", command.vlan)->required();
    vlan->add_option("KEY", command.key)->required();
    vlan->add_option("VALUE", command.value, "unset, false or true")->required();
    vlan->footer(keysOf("Keys", vlanSettings()));

    CLI::App& server = addGroup(set, "server", "A server of a VLAN");
    CLI::App& record = addGroup(set, "record", "What an interface says for a VLAN, both families");
    for (const bool add : {true, false}) {
        const char* word = add ? "add" : "remove";
        CLI::App* ofServer = addWord(server, command, word, "", [&command, add](Connection& connection) {
            setServer(connection, command.value, command.vlan, add);
        });
        ofServer->add_option("IP", command.value)->required();
        ofServer->add_option("VLAN", command.vlan)->required();
        CLI::App* ofRecord = addWord(record, command, word, "", [&command, add](Connection& connection) {
            setRecord(connection, command.interface, command.vlan, add);
        });
        ofRecord->add_option("ID", command.interface)->required();
        ofRecord->add_option("VLAN", command.vlan)->required();
    }
}

void addReset(CLI::App& app, Command& command)
{
    CLI::App& reset = addGroup(app, "reset", "Start again from zero");
    CLI::App* word =
        addWord(reset, command, "counters", "Of the DHCPv4 relay, of all interfaces that are found",
                [&command](Connection& connection) { resetCounters(connection, parseIds(command.ids)); });
    word->add_option("ID", command.ids, "Of this interface alone");
    addIdsOption(*word, command);
}

// ---- debug ----

void addDebug(CLI::App& app, Command& command)
{
    CLI::App& debug =
        addGroup(app, "debug", "Debug words; the daemon answers through a file on this machine");
    const auto addKeyAndValue = [&command](CLI::App* word) {
        word->add_option("KEY", command.key)->required();
        word->add_option("VALUE", command.value);
    };
    addKeyAndValue(addWord(debug, command, "word", "A word of the relay, such as dhcpraDump",
                           [&command](Connection& connection) {
                               std::cout << askWord(connection, command.key, command.value);
                           }));
    addKeyAndValue(addWord(debug, command, "manager", "A word of the manager, such as threads show",
                           [&command](Connection& connection) {
                               std::cout << askManager(connection, command.key, command.value);
                           }));
    CLI::App* flag = addWord(
        debug, command, "flag", "A group of the relay's debug texts, on or off",
        [&command](Connection& connection) {
            ask(connection, "dra_ext_message", {"dhcpra_debug", command.key + "=" + command.value, ""});
        });
    flag->add_option("GROUP", command.key)
        ->required()
        ->check(CLI::IsMember({"io", "io_dump", "msg_dump", "process", "message"}));
    flag->add_option("STATE", command.value)->required()->check(CLI::IsMember({"on", "off"}));
    CLI::App* output =
        addWord(debug, command, "output", "Where the relay's debug texts go; stdout silences them",
                [&command](Connection& connection) {
                    ask(connection, "dra_ext_message", {"dhcpra_debug", command.value, ""});
                });
    output->add_option("WHERE", command.value)->required()->check(CLI::IsMember({"syslog", "stdout"}));
}

/// What any program can be asked, from its rows.
void addProgramCommands(CLI::App& app, Command& command, const Program& program)
{
    app.require_subcommand(1);
    app.fallthrough(); // options of all commands may stand at the end too
    addCall(app, command, program);
    addApply(app, command);
}

void addRelayCommands(CLI::App& app, Command& command)
{
    addShows(app, command);
    addSets(app, command);
    addReset(app, command);
    addWatch(app, command);
    addDebug(app, command);
    addProgramCommands(app, command, relayProgram());
    addSave(app, command);
}

} // namespace

void addCommands(CLI::App& app, Command& command)
{
    app.set_help_all_flag("--help-all", "Help on all commands");
    app.footer(
        "Exit status: 0 done; 1 the daemon refused; 2 wrong command line, or a file or standard output\n"
        "that cannot be read or written; 3 no answer.");
    addConnectionOptions(app, command);
    addRelayCommands(app, command);
    for (const Program& program : programs()) {
        CLI::App* word = app.add_subcommand(std::string(program.word), std::string(program.about));
        if (&program == &relayProgram())
            addRelayCommands(*word, command);
        else
            addProgramCommands(*word, command, program);
        word->parse_complete_callback([&command, &program] { command.program = &program; });
    }
}

} // namespace dhcpractl
