#include "tools/vnodectl/Changes.h"
#include "tools/vnodectl/Print.h"
#include "tools/vnodectl/Queries.h"
#include "tools/vnodectl/Texts.h"

#include <CLI/CLI.hpp>

#include <array>
#include <functional>
#include <iostream>

namespace {

using namespace vnodectl;

enum ExitCode { exitGood = 0, exitRefused = 1, exitUsage = 2, exitUnreachable = 3 };

struct ShowRow
{
    const char* word;
    const char* help;
    Json (*show)(Connection&);
};

constexpr std::array shows{
    ShowRow{"status", "What the node is, totals, drops by reason", showStatus},
    ShowRow{"facts", "Addresses, board, slot, deployment options", showFacts},
    ShowRow{"interfaces", "The registry", showInterfaces},
    ShowRow{"vlans", "VLANs, their names and members", showVlans},
    ShowRow{"macs", "The MAC table", showMacs},
    ShowRow{"devices", "Linux devices: ports and pseudo devices, with their counters", showDevices},
    ShowRow{"counters", "Frames by interface", showCounters},
    ShowRow{"filters", "Application filters and the devices that they are attached to", showFilters},
    ShowRow{"notes", "Newest remarks of the daemon to parts that are not modelled", showNotes},
    ShowRow{"driver-calls", "Newest calls that reached the driver", showDriverCalls},
};

/// Values that the command line fills, and what to do once it has been read.
struct Command
{
    bool json = false;
    std::function<void(Connection&)> run;

    std::uint32_t id = 0;
    std::uint32_t parent = 0;
    std::string name;
    std::string value;
    int number = 0;
    bool on = false;
    NewInterface row;
    NewFault fault;
};

void addShows(CLI::App& app, Command& command)
{
    for (const ShowRow& row : shows) {
        CLI::App* word = app.add_subcommand(row.word, row.help);
        word->callback([&command, &row] {
            command.run = [&command, &row](Connection& node) {
                const Json answer = row.show(node);
                if (command.json)
                    std::cout << answer.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
                else
                    print(std::cout, answer);
            };
        });
    }
}

CLI::App* addWord(CLI::App& app, Command& command, const char* word, const char* help,
                  std::function<void(Connection&)> run)
{
    CLI::App* added = app.add_subcommand(word, help);
    added->callback([&command, run = std::move(run)] { command.run = run; });
    return added;
}

void addInterfaceWords(CLI::App& app, Command& command)
{
    CLI::App* interface = app.add_subcommand("interface", "Change the registry");
    interface->require_subcommand(1);
    CLI::App* add = addWord(*interface, command, "add", "Add a row",
                            [&](Connection& node) { addInterface(node, command.row); });
    add->add_option("ID", command.row.id)->required();
    add->add_option("NAME", command.row.name)->required();
    const std::vector<std::string>& types = interfaceTypes();
    std::vector<std::pair<std::string, std::uint32_t>> choices;
    for (std::uint32_t type = 0; type < types.size(); ++type)
        choices.emplace_back(types[type], type);
    add->add_option("TYPE", command.row.type)->required()->transform(CLI::CheckedTransformer(choices));
    add->add_option("--linux", command.row.linuxName, "Name that the bridge knows; NAME if not given");
    add->add_option("--parent", command.row.parent);
    add->add_option("--description", command.row.description);
    add->add_option("--panel", command.row.panel);
    add->add_option("--port", command.row.port);
    add->add_option("--intf", command.row.intf, "Number of the ONU or PVC");
    add->add_option("--gem", command.row.gem);

    addWord(*interface, command, "remove", "Remove a row",
            [&](Connection& node) { removeInterface(node, command.id); })
        ->add_option("ID", command.id)
        ->required();
    CLI::App* rename = addWord(*interface, command, "rename", "Give another name",
                               [&](Connection& node) { renameInterface(node, command.id, command.name); });
    rename->add_option("ID", command.id)->required();
    rename->add_option("NAME", command.name)->required();
    CLI::App* describe =
        addWord(*interface, command, "describe", "Give another description",
                [&](Connection& node) { describeInterface(node, command.id, command.value); });
    describe->add_option("ID", command.id)->required();
    describe->add_option("TEXT", command.value)->required();
    CLI::App* parent = addWord(*interface, command, "parent", "Give another parent (0: none)",
                               [&](Connection& node) { setParent(node, command.id, command.parent); });
    parent->add_option("ID", command.id)->required();
    parent->add_option("PARENT", command.parent)->required();
}

void addSettingWords(CLI::App& app, Command& command)
{
    CLI::App* option = addWord(app, command, "option", "Turn a deployment option on or off",
                               [&](Connection& node) { setOption(node, command.number, command.on); });
    option->add_option("NUMBER", command.number)->required();
    option->add_option("STATE", command.on, "on or off")->required();
    CLI::App* fact =
        addWord(app, command, "fact", "Set a fact: mac, ipv4, ipv6, ipv6Gateway, boardType, boardName, slot",
                [&](Connection& node) { setFact(node, command.name, command.value); });
    fact->add_option("NAME", command.name)->required();
    fact->add_option("VALUE", command.value,
                     "\"none\" makes mac, ipv4, ipv6 and slot absent: the daemon's query fails")
        ->required();
    CLI::App* vlan = addWord(app, command, "vlan-name", "Name a VLAN",
                             [&](Connection& node) { nameVlan(node, command.id, command.name); });
    vlan->add_option("ID", command.id)->required();
    vlan->add_option("NAME", command.name)->required();

    CLI::App* clear = app.add_subcommand("clear", "Forget");
    clear->require_subcommand(1);
    addWord(*clear, command, "macs", "All learnt MACs", clearMacs);
    addWord(*clear, command, "counters", "All counters", clearCounters);
    addWord(*clear, command, "faults", "All faults asked for", clearFaults);
}

void addDriverWords(CLI::App& app, Command& command)
{
    addWord(app, command, "create-device", "Create a pseudo device, as the daemon does",
            [&](Connection& node) { createDevice(node, command.name); })
        ->add_option("DEVICE", command.name)
        ->required();
    CLI::App* attach =
        addWord(app, command, "attach", "Attach a filter to a pseudo device, as the daemon does",
                [&](Connection& node) { attachFilter(node, command.name, command.value); });
    attach->add_option("FILTER", command.name)->required();
    attach->add_option("DEVICE", command.value)->required();
    addWord(app, command, "detach", "Detach a filter",
            [&](Connection& node) { detachFilter(node, command.name); })
        ->add_option("FILTER", command.name)
        ->required();

    CLI::App* fault = addWord(app, command, "fault", "Make calls of the daemon fail",
                              [&](Connection& node) { addFault(node, command.fault); });
    fault
        ->add_option("OPERATION", command.fault.operation,
                     "driverOpen, driverIoctl, driverWrite, createPseudoDevice, openControl, registryWrite, "
                     "macTableRead")
        ->required();
    fault->add_option("ERRNO", command.fault.error, "Number of the error")->required();
    fault->add_option("--skip", command.fault.skip, "Calls that still succeed before");
    fault->add_option("--times", command.fault.times, "Calls that fail; 0: all");
    fault->add_option("--path", command.fault.path, "Only on this driver node or device");
    fault->add_option("--request", command.fault.request, "Only this ioctl request");
}

int execute(const Command& command, const std::string& socket)
{
    try {
        Connection node(socket);
        command.run(node);
        return exitGood;
    } catch (const Refused& error) {
        std::cerr << "vnodectl: refused: " << error.what() << '\n';
        return exitRefused;
    } catch (const std::exception& error) {
        std::cerr << "vnodectl: " << error.what() << '\n';
        return exitUnreachable;
    }
}

} // namespace

int main(int argc, char** argv)
{
    Command command;
    std::string socket = "/run/vnode.sock";
    CLI::App app("vnodectl: looks into a running virtual node and changes it.");
    app.add_option("--socket", socket, "Control socket of the node")
        ->envname("VNODE_SOCKET")
        ->capture_default_str();
    app.add_flag("--json", command.json, "Answer in JSON");
    app.require_subcommand(1);
    app.footer("Exit status: 0 done; 1 the node refused; 2 bad arguments; 3 the node cannot be reached.");
    addShows(app, command);
    addInterfaceWords(app, command);
    addSettingWords(app, command);
    addDriverWords(app, command);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitGood : exitUsage;
    }
    return execute(command, socket);
}
