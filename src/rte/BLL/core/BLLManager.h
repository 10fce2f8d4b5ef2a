#pragma once

#include "common/singleton.h"
#include "rte/BLL/core/BLEntity.h"
#include "rte/BLL/core/BoardTable.h"
#include "rte/BLL/core/EntityTable.h"
#include "rte/BLL/core/FeatureTable.h"
#include "rte/BLL/core/Lifecycle.h"
#include "rte/BLL/core/RPCProxy.h"
#include "rte/BLL/core/SubscriberList.h"

#include <atomic>
#include <ctime>
#include <list>
#include <sstream>
#include <string>
#include <vector>

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
    ~BLLManager();
    BLLManager(const BLLManager&) = delete;
    BLLManager& operator=(const BLLManager&) = delete;

    // --- Entities (EntityTable.h, Lifecycle.h)
    // -------------------------------------------------------------------

    /// Called from static construction. An entity that the board table disables is skipped, and the answer is
    /// true.
    bool registerEntity(BLEntity& entity)
    {
        return lifecycle.registerEntity(entity, checkBllEntity(entity.name));
    }
    bool resolveDependences(std::list<std::string>& names) { return entities.resolveDependences(names); }

    /// Subscribes the manager's own debug words and starts its RPC proxy.
    void init();
    bool start() { return lifecycle.start(); }
    bool applyDefaultSettings() { return lifecycle.applyDefaultSettings(cpuUsageDebug); }
    void applyConfiguration(const std::string& name) { lifecycle.applyConfiguration(name); }
    void saveConfiguration(const std::string& name) { lifecycle.saveConfiguration(name); }
    void stop(bool saveFirst, const std::string& fileName) { lifecycle.stop(saveFirst, fileName); }
    static long timespecSubtract_msec(const timespec* first, const timespec* second);

    // --- Events
    // -------------------------------------------------------------------------------------------------- An
    // empty subscriber makes the call throw boost::bad_function_call, and any exception of one ends the
    // round.

    SubscriberList<void()> preConfigurationApplying;
    SubscriberList<void(int)> configurationApplied;
    SubscriberList<bool(bool)> systemReload;

    /// Under the exclusive lock, which the subscribers run with: 0, or 1 if it was not got.
    int postPreConfigurationApplying();
    int postConfigurationApplied(int argument);

    /// Asks every subscriber whether the system may reload; the first false decides. The caller acts on the
    /// answer.
    bool systemReloadRequest(const std::string& msg);

    // --- External messages (ExternalMessages.h)
    // ------------------------------------------------------------------

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

    // --- Board (BoardTable.h, FeatureTable.h)
    // --------------------------------------------------------------------

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

private:
    friend struct BllWords;

    RPCProxy mngProxy;
    std::atomic<bool> cpuUsageDebug{false}; ///< applyDefaultSettings() prints how long each entity took
    BoardTable board;
    FeatureTable features;
    EntityTable entities;
    Lifecycle lifecycle{entities};
};
