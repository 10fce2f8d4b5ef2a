#include "rte/BLL/core/BLLManager.h"

#include "log/LogText.h"
#include "log/SysLog.h"
#include "platform/Node.h"

#include <boost/bind/bind.hpp>

namespace {

/// The manager serves no RPC program of its own.
void* rpcBllmanagerStart(void*) { return nullptr; }

BoardSources boardSources()
{
    BoardSources sources;
    sources.isActive = &isActive;
    return sources;
}

} // namespace

// Runs during static construction, before main: no lock of GlobalLock.h, no external message may be used
// here.
BLLManager::BLLManager() : mngProxy(rpcBllmanagerStart, "BLLManager_mng"), board(boardSources())
{
    Log& log = singleton<Log>::instance();
    log.setLogLevel(LogImpl::debug);
    log.reset(new SysLog("BLL"));
    loadBllConfig();
    loadBllFeatures();
}

BLLManager::~BLLManager() noexcept = default;

void BLLManager::init()
{
    subscribeOwnWords();
    if (!mngProxy.start())
        logText(LogImpl::warning, "Error: RPC Proxy has not been started.\n");
}

void BLLManager::subscribeOwnWords()
{
    externalMessageSubscribers.push_back(boost::bind(&BLLManager::onExternalMessage, this,
                                                     boost::placeholders::_1, boost::placeholders::_2,
                                                     boost::placeholders::_3));
}

long BLLManager::timespecSubtract_msec(const timespec* first, const timespec* second)
{
    return ::timespecSubtract_msec(first, second);
}

bool BLLManager::toggleCpuUsageDebug()
{
    const bool on = !cpuUsageDebug.load(std::memory_order_relaxed);
    cpuUsageDebug.store(on, std::memory_order_relaxed);
    return on;
}

void BLLManager::loadBllFeatures() { features.load(getBoardDescription(), &isActive); }

int BLLManager::postPreConfigurationApplying()
{
    const exclusiveLock_t guard;
    if (!guard.locked)
        return 1;
    logText(LogImpl::debug, "*** EVENT: <preConfigurationApplying>, notify all subscribers.\n");
    for (const auto& subscriber : preConfigurationApplying.snapshot())
        subscriber();
    return 0;
}

int BLLManager::postConfigurationApplied(int argument)
{
    const exclusiveLock_t guard;
    if (!guard.locked)
        return 1;
    logText(LogImpl::debug, "*** EVENT: <configurationApplied>, notify all subscribers.\n");
    for (const auto& subscriber : configurationApplied.snapshot())
        subscriber(argument);
    return 0;
}

bool BLLManager::systemReloadRequest(const std::string& msg)
{
    logText(LogImpl::warning, "BLLManager::systemReloadRequest, msg: ", msg, "\n");
    for (const auto& subscriber : systemReload.snapshot()) {
        if (!subscriber(true)) {
            logText(LogImpl::warning, "BLLManager::systemReloadRequest, reload request denied\n");
            return false;
        }
    }
    return true;
}
