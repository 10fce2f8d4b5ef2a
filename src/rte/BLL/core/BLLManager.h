#pragma once

#include "common/singleton.h"
#include "rte/BLL/core/BLEntity.h"
#include "rte/BLL/core/BoardTable.h"
#include "rte/BLL/core/EntityTable.h"
#include "rte/BLL/core/FeatureTable.h"
#include "rte/BLL/core/GlobalLock.h"
#include "rte/BLL/core/Lifecycle.h"
#include "rte/BLL/core/LockReports.h"
#include "rte/BLL/core/RPCProxy.h"
#include "rte/BLL/core/StallReports.h"
#include "rte/BLL/core/SubscriberList.h"
#include "rte/BLL/core/ThreadRegistry.h"

#include <atomic>
#include <ctime>
#include <ios>
#include <list>
#include <sstream>
#include <string>
#include <vector>

/// Names that callers of applyConfiguration() and saveConfiguration() use.
inline constexpr const char* defaultConfigName = "default_config.xml";
inline constexpr const char* savedConfigName = "saved_config.xml";

/**
 * The process-wide manager of the business logic layer, reached through singleton<BLLManager>::instance():
 * entities and their lifecycle, events, the global lock, the thread registry, debug words, board tables. A
 * facade: each topic lives in a file of its own. Unless a topic says otherwise, operations may be called from
 * any thread.
 */
class BLLManager
{
public:
    BLLManager();
    ~BLLManager() noexcept;
    BLLManager(const BLLManager&) = delete;
    BLLManager& operator=(const BLLManager&) = delete;

    // ---- Entities (EntityTable.h, Lifecycle.h) ----

    /// Called from static construction. An entity that the board table disables is skipped, and the answer is
    /// true.
    bool registerEntity(BLEntity& entity)
    {
        return lifecycle.registerEntity(entity, checkBllEntity(entity.name));
    }
    bool resolveDependences(std::list<std::string>& names) { return entities.resolveDependences(names); }

    /// Subscribes the manager's own debug words and starts its RPC proxy. main does the former by itself.
    void init();
    void subscribeOwnWords();
    bool start() { return lifecycle.start(); }
    bool applyDefaultSettings()
    {
        return lifecycle.applyDefaultSettings(cpuUsageDebug.load(std::memory_order_relaxed));
    }
    void applyConfiguration(const std::string& name) { lifecycle.applyConfiguration(name); }
    void saveConfiguration(const std::string& name) { lifecycle.saveConfiguration(name); }
    void stop(bool saveFirst, const std::string& fileName) { lifecycle.stop(saveFirst, fileName); }
    bool toggleCpuUsageDebug(); ///< answers the new state
    static long timespecSubtract_msec(const timespec* first, const timespec* second);

    // ---- Events ----
    // An empty subscriber makes the call throw boost::bad_function_call; any exception ends the round.

    SubscriberList<void()> preConfigurationApplying;
    SubscriberList<void(int)> configurationApplied;
    SubscriberList<bool(bool)> systemReload;

    /// Under the exclusive lock, which the subscribers run with: 0, or 1 if it was not got.
    int postPreConfigurationApplying();
    int postConfigurationApplied(int argument);

    /// Asks every subscriber whether the system may reload; the first false decides. The caller acts on the
    /// answer.
    bool systemReloadRequest(const std::string& msg);

    // ---- External messages (ExternalMessages.cpp) ----

    SubscriberList<void(const std::string& key, const std::string& value, std::ostringstream* out,
                        const std::string& tty)>
        externalMessageSubscribers;
    SubscriberList<void(const std::string& key, const std::string& value, const std::string& tty)>
        prefixedMessageSubscribers;

    /// Brings a debug word to its subscribers, on this thread, and what they wrote to the terminal @p tty, or
    /// to standard output if that is empty. True when the answer could not be delivered.
    bool postExternalMessage(const std::string& key, const std::string& value, const std::string& tty);

    /// The manager's own words; an unknown one is ignored. "lockingPeriod" throws what std::stoi throws.
    void onExternalMessage(const std::string& key, const std::string& value, std::ostringstream* out);

    // ---- Board (BoardTable.h, FeatureTable.h) ----

    using bleConfig_t = ::bleConfig_t;
    std::string getBoardDescription() { return board.getBoardDescription(); }
    void loadBllConfig() { board.loadBllConfig(); }
    int loadBllCfgForBoard(const boost::shared_ptr<Storage::Setting>& s)
    {
        return board.loadBllCfgForBoard(s);
    }
    void loadDynamicLibs() { board.loadDynamicLibs(); }
    bool checkBllEntity(const std::string& name) const { return board.isEnabled(name); }
    bool disableBLLEntity(const std::string& name) { return board.disable(name); }
    /// Re-enabling is not offered: does nothing and answers false, as callers have come to expect.
    static bool enableBLLEntity(const std::string&) { return false; }
    std::vector<std::string> getActiveBLEsList() const { return board.names(); }

    void loadBllFeatures();
    bool isFeatureSupported(const std::string& name) const { return features.isSupported(name); }
    void setBllFeature(const std::string& name, bool value, std::ostringstream* out)
    {
        features.set(name, value, out);
    }
    void dumpFeatureSupport(std::ostringstream* out) const { features.dump(out); }

    // ---- Global lock (GlobalLock.h, GlobalLockState.h, LockReports.h) ----

    using lock_t = ::lock_t;
    using exclusiveLock_t = ::exclusiveLock_t;
    using sharedLock_t = ::sharedLock_t;
    using actLock_t = ::actLock_t;
    using actExclusiveLock_t = ::actExclusiveLock_t;
    using actSharedLock_t = ::actSharedLock_t;
    using lockType = ::lockType;
    using lockError_t = recursiveSharedMutex_t::lockError_t;
    using stateMap_t = recursiveSharedMutex_t::stateMap_t;

    static recursiveSharedMutex_t& lock() { return globalLockState::lock(); }
    static recursiveSharedMutex_t& actLock() { return globalLockState::actLock(); }
    static constexpr std::atomic<bool>& lockDebug = globalLockState::lockDebug;
    static constexpr std::atomic<bool>& actLockDebug = globalLockState::actLockDebug;

    static void lockCheck(lockType type) { lockReports::lockCheck(type); }
    static void takeLockTest(bool test) { lockReports::takeLockTest(test); }
    static void getLockHoldersDump(std::ostream& out, const stateMap_t& map)
    {
        lockReports::getLockHoldersDump(out, map);
    }
    static void debug_showLockHolders() { lockReports::debug_showLockHolders(); }
    static std::string getExceptionDescription(const lockError_t& e)
    {
        return lockReports::getExceptionDescription(e);
    }
    static std::string getActExceptionDescription(const lockError_t& e)
    {
        return lockReports::getActExceptionDescription(e);
    }
    static void reportLockException(const lockError_t& e) { lockReports::reportLockException(e); }
    static void reportActLockException(const lockError_t& e) { lockReports::reportActLockException(e); }

    // ---- Threads (ThreadRegistry.h, StallReports.h) ----

    using threadsInfo_t = ::threadsInfo_t;

    /// First thing on a long-lived thread: names it for reports and for the kernel.
    static void registerThread(const std::string& name) { ThreadRegistry::instance().registerThread(name); }
    static void unregisterThread() { ThreadRegistry::instance().unregisterThread(); }
    static void showThreads(std::ostringstream* out) { ThreadRegistry::instance().showThreads(out); }
    static void reportProblematicThreads(const stateMap_t& map)
    {
        stallReports::reportProblematicThreads(map);
    }
    static void bllDeadlockTest(bool on, std::ostringstream* out) { stallReports::bllDeadlockTest(on, out); }

private:
    /// Constructs std::cout before anything else: this object is built before main, when std::cout need not
    /// be ready, and the reader of the board table reports on it. Must stay the first member.
    std::ios_base::Init standardStreams;
    RPCProxy mngProxy;
    std::atomic<bool> cpuUsageDebug{false}; ///< applyDefaultSettings() prints how long each entity took
    BoardTable board;
    FeatureTable features;
    EntityTable entities;
    Lifecycle lifecycle{entities};
};
