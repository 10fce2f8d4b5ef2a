#include "rte/BLL/core/LockReports.h"

#include <iostream>
#include <unistd.h>

#include <boost/thread/recursive_mutex.hpp>

#include "common/Clock.h"
#include "log/LogText.h"
#include "rte/BLL/core/GlobalLockState.h"
#include "rte/BLL/core/LockReportMemory.h"
#include "rte/BLL/core/StallReports.h"
#include "rte/BLL/core/TableText.h"
#include "rte/BLL/core/ThreadRegistry.h"
#include "selfdebug/SelfDebugger.h"

namespace lockReports {
namespace {

using Mutex = recursiveSharedMutex_t;
using RegistryGuard = boost::unique_lock<boost::recursive_mutex>;
using tableText::cell;

/// What the failure reports remember; one for each lock, under one mutex that comes before the registry's.
struct Memories
{
    boost::mutex mutex;
    LockReportMemory lock;
    LockReportMemory actLock;
};

Memories& memories()
{
    static auto& object = *new Memories;
    return object;
}

/// The columns that every table ends in. Under the registry mutex.
std::string identityCells(const boost::thread::id& id, const Mutex::stateData& data)
{
    return cell(tableText::threadId(id), 10) + cell(std::to_string(data.lwpId), 9) +
           cell(tableText::hex(data.pthreadId), 10) + ThreadRegistry::instance().lookUp(id).name + "\n";
}

std::string identityHeader()
{
    return cell("thread::id", 10) + cell("pid_t", 9) + cell("pthread_t", 10) + "name\n";
}

/// The one-row table of a thread. Under the registry mutex.
std::string ownTable(const Mutex::stateMap_t::value_type& own)
{
    const std::string rule = tableText::rule(54);
    return rule + identityHeader() + rule + identityCells(own.first, own.second);
}

std::string violationText(lockType type, const Mutex::stateData& own)
{
    return std::string("Lock access violation: \n Access: ") + (type == lockType::write ? "Write" : "Read") +
           "\n Shared taken: " + std::to_string(own.sharedCount) +
           "\n Exclusive taken: " + std::to_string(own.exclusiveCount) + "\n\n";
}

bool violates(lockType type, const Mutex::stateData& own)
{
    switch (type) {
    case lockType::read:
        return own.sharedCount == 0 && own.exclusiveCount == 0;
    case lockType::write:
        return own.exclusiveCount == 0;
    }
    return false;
}

std::string description(const char* head, const Mutex::lockError_t& error)
{
    const RegistryGuard guard(ThreadRegistry::instance().mutex());
    const threadsInfo_t& info = ThreadRegistry::instance().lookUp(error.thread);
    std::ostringstream text;
    text << head << info.name << "; " << tableText::threadId(error.thread) << "; " << info.lwp << "; "
         << tableText::hex(info.pthread) << "] failed to get " << (error.exclusive ? "exclusive" : "shared")
         << " lock.\n";
    getLockHoldersDump(text, error.stateMap);
    return text.str();
}

/// True when a full report went out.
bool report(LockReportMemory& memory, const Mutex::lockError_t& error,
            std::string (*describe)(const Mutex::lockError_t&))
{
    if (memory.judge(error, Clock::now()) == LockReportMemory::Verdict::stillActive) {
        logText(LogImpl::critical, "ERROR: The same lock exception is still active.\n");
        return false;
    }
    const std::string text = describe(error);
    std::cerr << text << std::flush;
    logText(LogImpl::critical, text);
    stallReports::reportProblematicThreads(error.stateMap);
    memory.reported(error, Clock::now());
    return true;
}

} // namespace

void lockCheck(lockType type)
{
    const Mutex::stateMap_t state = globalLockState::lock().getStateMap();
    const auto own = state.find(boost::this_thread::get_id());
    if (own == state.end() || !violates(type, own->second))
        return;
    const RegistryGuard guard(ThreadRegistry::instance().mutex());
    std::cout << violationText(type, own->second) << ownTable(*own) << std::flush;
    SelfDebugger::instance().reportBacktrace();
}

void takeLockTest(bool test)
{
    if (!test)
        return;
    const Mutex::stateMap_t state = globalLockState::lock().getStateMap();
    const auto own = state.find(boost::this_thread::get_id());
    if (own == state.end() || own->second.sharedCount == 0 || own->second.exclusiveCount != 0)
        return;
    const RegistryGuard guard(ThreadRegistry::instance().mutex());
    std::cout << ownTable(*own) << std::flush;
    SelfDebugger::instance().reportBacktrace();
}

void getLockHoldersDump(std::ostream& stream, const Mutex::stateMap_t& map)
{
    const RegistryGuard guard(ThreadRegistry::instance().mutex());
    const std::string rule = tableText::rule(90);
    const std::time_t now = Clock::now();
    stream << "Dump of exclusive/shared lock holders and exclusive lock waiters:\n"
           << rule << cell("seconds", 7) << cell("shared", 6) << cell("exclusive", 9) << cell("wait_excl", 9)
           << identityHeader() << rule;
    for (const auto& [id, data] : map) {
        if (data.sharedCount == 0 && data.exclusiveCount == 0 && !data.waitingExclusive)
            continue;
        const std::time_t seconds = data.lockedSince == 0 ? 0 : now - data.lockedSince;
        stream << cell(std::to_string(seconds), 7) << cell(std::to_string(data.sharedCount), 6)
               << cell(std::to_string(data.exclusiveCount), 9) << cell(data.waitingExclusive ? "+" : "", 9)
               << identityCells(id, data);
    }
}

void debug_showLockHolders()
{
    std::ostringstream text;
    text << "Thread requesting lock holders dump: " << gettid() << "\n";
    getLockHoldersDump(text, globalLockState::lock().getStateMap());
    std::cout << text.str() << std::flush;
}

std::string getExceptionDescription(const Mutex::lockError_t& error)
{
    return description("\n*** LOCK EXCEPTION: [", error);
}

std::string getActExceptionDescription(const Mutex::lockError_t& error)
{
    return description("\n*** LOCK ACT EXCEPTION: [", error);
}

void reportLockException(const Mutex::lockError_t& error)
{
    const boost::unique_lock<boost::mutex> guard(memories().mutex);
    if (report(memories().lock, error, getExceptionDescription))
        globalLockState::lockingPeriod = boost::posix_time::seconds(globalLockState::defaultPeriodSeconds);
}

void reportActLockException(const Mutex::lockError_t& error)
{
    const boost::unique_lock<boost::mutex> guard(memories().mutex);
    report(memories().actLock, error, getActExceptionDescription);
}

} // namespace lockReports
