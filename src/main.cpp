#include "dai/Dai.h"
#include "ipsg/Ipsg.h"
#include "relay/entity/dhcpra.h"
#include "rte/BLL/core/BLLManager.h"
#include "selfdebug/SelfDebugger.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <sys/resource.h>
#include <syslog.h>
#include <unistd.h>

namespace {

/**
 * Everything that must stand before main, in this order: the manager first, then each entity, registered as
 * soon as it is built. Objects of other files that are built before main have no order among each other, so
 * none of them takes part; all these are built on first use, which is here. They go in the reverse order:
 * every entity can still reach the manager while it stops its threads.
 */
struct StaticConstruction
{
    struct Registered
    {
        Registered(BLLManager& manager, BLEntity& entity) { manager.registerEntity(entity); }
    };

    BLLManager& manager = singleton<BLLManager>::instance();
    Registered relay{manager, singleton<dhcpra>::instance()};
    Registered sourceGuard{manager, singleton<Ipsg>::instance()};
    Registered arpInspection{manager, singleton<Dai>::instance()};
};

const StaticConstruction staticConstruction;

constexpr rlim_t mostDescriptors = 1024;

/// A connection on a descriptor past what select() can hold would never be served: with this limit there is
/// none.
void limitDescriptors()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = std::min(limit.rlim_max, mostDescriptors);
    setrlimit(RLIMIT_NOFILE, &limit);
}

void armCrashReports(int argc, char** argv)
{
    // The daemon works without them as well, so the results don't matter here.
    SelfDebugger& debugger = SelfDebugger::instance();
    debugger.init(argc, argv, "/var/log/dhcpraLastMemap.log");
    debugger.enableFatalSignalsDebugReports();
    debugger.enableManualDebugReports();
}

bool startEntity(BLEntity& entity, const char* failure)
{
    if (entity.start())
        return true;
    syslog(LOG_CRIT, "%s", failure);
    return false;
}

/// The first one runs the RPC loop that serves all three, so the order matters.
bool startEntities()
{
    return startEntity(singleton<dhcpra>::instance(), "ERROR dhcpra::instance().start() failed") &&
           startEntity(singleton<Ipsg>::instance(), "ERROR ipsg::instance().start() failed") &&
           startEntity(singleton<Dai>::instance(), "ERROR Dai::instance().start() failed");
}

} // namespace

int main(int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_IGN); // a management peer that resets its connection must not end the process
    std::fprintf(stderr, "[%d] ----> %s\n", getpid(), argc > 0 ? argv[0] : "");
    limitDescriptors();
    armCrashReports(argc, argv);

    // Status 0 also then: whoever supervises this process takes it for a clean exit, by agreement. Static
    // destructors end the threads that were started.
    if (!startEntities())
        return 0;
    singleton<BLLManager>::instance().subscribeOwnWords();
    while (true)
        sleep(10);
}
