#include "rte/BLL/core/ThreadRegistry.h"

#include <sys/prctl.h>
#include <unistd.h>

#include "log/LogText.h"
#include "rte/BLL/core/TableText.h"
#include "selfdebug/AlternateStack.h"

using Guard = boost::unique_lock<boost::recursive_mutex>;

ThreadRegistry& ThreadRegistry::instance()
{
    static auto& object = *new ThreadRegistry;
    return object;
}

void ThreadRegistry::registerThread(const std::string& name)
{
    constexpr std::size_t kernelNameLength = 15;
    {
        const Guard guard(threadsMutex);
        threadsInfo_t& info = threads[boost::this_thread::get_id()];
        info = {name, gettid(), pthread_self()};
        logText(LogImpl::debug, "BLLManager: thread registered: ", info.name, " (", info.lwp, ")\n");
        prctl(PR_SET_NAME, name.substr(0, kernelNameLength).c_str());
    }
    boost::this_thread::at_thread_exit([] { ThreadRegistry::instance().unregisterThread(); });
    useAlternateStack();
}

void ThreadRegistry::unregisterThread()
{
    const Guard guard(threadsMutex);
    const auto own = threads.find(boost::this_thread::get_id());
    if (own == threads.end())
        return;
    logText(LogImpl::debug, "BLLManager: thread unregistered: ", own->second.name, " (", own->second.lwp,
            ")\n");
    threads.erase(own);
}

void ThreadRegistry::showThreads(std::ostringstream* out)
{
    constexpr std::size_t width = 12;
    const Guard guard(threadsMutex);
    const std::string rule = tableText::rule(100);
    *out << "Currently registered threads (" << std::dec << threads.size() << "):\n" << rule;
    *out << tableText::cell("thread::id", width) << tableText::cell("pid_t", width)
         << tableText::cell("pthread_t", width) << "name\n"
         << rule;
    for (const auto& [id, info] : threads)
        *out << tableText::cell(tableText::threadId(id), width)
             << tableText::cell(std::to_string(info.lwp), width)
             << tableText::cell(tableText::hex(info.pthread), width) << info.name << "\n";
}

threadsInfo_t& ThreadRegistry::lookUp(const boost::thread::id& id) { return threads[id]; }
