#include "dai/Dai.h"
#include "ipsg/Ipsg.h"
#include "relay/entity/dhcpra.h"
#include "rpc/programs.h"
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
 * Builds the manager and the entities before main, in this order, registers each entity with the manager and
 * hands it the start function of its RPC program.
 * C++ gives no order between static objects of different files. Therefore all of these are built on first
 * use, and this object is the first user. They are destroyed in the reverse order, so an entity can still use
 * the manager while its threads are stopped.
 */
struct StaticConstruction
{
    struct Registered
    {
        template <class Entity>
        Registered(BLLManager& manager, Entity& entity, RPCProxy::startFunction_t program)
        {
            entity.setProgram(program);
            manager.registerEntity(entity);
        }
    };

    BLLManager& manager = singleton<BLLManager>::instance();
    Registered relay{manager, singleton<dhcpra>::instance(), rpcDhcpraStart};
    Registered sourceGuard{manager, singleton<Ipsg>::instance(), rpcIpsgStart};
    Registered arpInspection{manager, singleton<Dai>::instance(), rpcDaiStart};
};

const StaticConstruction staticConstruction;

constexpr rlim_t mostDescriptors = 1024;

/// The RPC loop waits with select(), which takes descriptors up to 1023 only. With this limit the process
/// never gets a higher one.
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

    // A failed start ends with status 0 as well: the supervisor of this process expects that. Static
    // destructors stop the threads that were started.
    if (!startEntities())
        return 0;
    singleton<BLLManager>::instance().subscribeOwnWords();
    while (true)
        sleep(10);
}
