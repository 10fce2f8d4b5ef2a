#include "vnode/control/ControlServer.h"
#include "vnode/control/StampFile.h"
#include "vnode/model/NodeFile.h"
#include "vnode/process/Console.h"
#include "vnode/process/NodeProcess.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <exception>
#include <string>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <system_error>

namespace {

enum ExitCode { exitGood = 0, exitBadFile = 1, exitUsage = 2, exitCannotRun = 3 };

struct Arguments
{
    std::string nodeFile;
    std::string socket = "/run/vnode.sock";
    bool checkOnly = false;
};

/// A port is a descriptor, and a node may have more of them than the usual limit.
void raiseDescriptorLimit()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    static_cast<void>(::setrlimit(RLIMIT_NOFILE, &limit));
}

/// Signals as descriptor events, so that nothing of the node runs in a handler.
class Signals
{
public:
    Signals(vnode::EventLoop& eventLoop, vnode::NodeProcess& nodeProcess)
        : loop(eventLoop), process(nodeProcess)
    {
        sigset_t set;
        sigemptyset(&set);
        for (const int signal : {SIGTERM, SIGINT, SIGUSR1})
            sigaddset(&set, signal);
        ::sigprocmask(SIG_BLOCK, &set, nullptr);
        descriptor.reset(::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
        if (!descriptor || !loop.watch(descriptor.get(), [this] { take(); }))
            throw std::system_error(errno, std::generic_category(), "signalfd");
    }
    ~Signals() { loop.forget(descriptor.get()); }
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

private:
    void take()
    {
        signalfd_siginfo info{};
        if (::read(descriptor.get(), &info, sizeof info) != sizeof info)
            return;
        if (info.ssi_signo == SIGUSR1)
            process.reportCounters();
        else
            loop.stop();
    }

    vnode::EventLoop& loop;
    vnode::NodeProcess& process;
    vnode::UniqueFd descriptor;
};

int run(const Arguments& arguments, vnode::NodeDescription description)
{
    ::signal(SIGPIPE, SIG_IGN); // a client that goes away costs its connection only
    raiseDescriptorLimit();

    std::string reason;
    vnode::control::StampPublisher stamps;
    if (!stamps.open(vnode::control::stampPathOf(arguments.socket), reason)) {
        vnode::say(reason);
        return exitCannotRun;
    }
    vnode::EventLoop loop;
    vnode::Node node(std::move(description));
    vnode::NodeProcess process(loop, node);
    const Signals signals(loop, process);
    process.start();
    stamps.publish(node.picture().generation);

    vnode::control::Service service(node, process, stamps);
    vnode::control::ControlServer server(loop, service);
    // The last step: clients take the socket file as the sign that the node is ready.
    if (!server.listen(arguments.socket, reason)) {
        vnode::say(reason);
        return exitCannotRun;
    }
    vnode::say("ready at ", arguments.socket);
    loop.run();
    vnode::say("ends");
    return exitGood;
}

int checkOrRun(const Arguments& arguments)
{
    vnode::NodeDescription description;
    try {
        description = vnode::readNodeFile(arguments.nodeFile);
    } catch (const vnode::NodeFileError& error) {
        std::cerr << error.what() << '\n';
        return exitBadFile;
    }
    if (arguments.checkOnly) {
        std::cout << arguments.nodeFile << ": good, " << description.interfaces.size() << " interfaces, "
                  << description.vlans.size() << " VLANs, " << description.ports.size() << " ports\n";
        return exitGood;
    }
    return run(arguments, std::move(description));
}

} // namespace

int main(int argc, char** argv)
{
    Arguments arguments;
    CLI::App app("vnode: a virtual access node. Bridges frames between Linux devices as the node file says "
                 "and diverts "
                 "DHCP to the daemon.");
    app.add_option("FILE", arguments.nodeFile, "Node file (XML)")->required();
    app.add_option("--socket", arguments.socket, "Control socket to make")->capture_default_str();
    app.add_flag("--check", arguments.checkOnly, "Only check the node file");
    app.footer(
        "Exit status: 0 ended by SIGTERM or SIGINT, or the file is good; 1 bad node file; 2 bad arguments; "
        "3 cannot run.\nSIGUSR1 writes the counters to standard error.");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitGood : exitUsage;
    }
    try {
        return checkOrRun(arguments);
    } catch (const std::exception& error) {
        vnode::say(error.what());
        return exitCannotRun;
    }
}
