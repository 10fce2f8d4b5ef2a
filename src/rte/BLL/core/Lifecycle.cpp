#include "rte/BLL/core/Lifecycle.h"

#include "log/LogText.h"
#include "rte/BLL/core/GlobalLock.h"
#include "rte/BLL/core/LockWaitStop.h"
#include "storage/StorageMng.h"

#include <cstdio>
#include <iterator>

namespace {

void announce(const std::string& name) { logText(LogImpl::debug, "\n\tBLE <", name, ">... "); }
void announceSettings(const std::string& name) { logText(LogImpl::debug, "\n\tBLE: <", name, ">... "); }

timespec monotonicNow()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

bool applyDefaultsTimed(BLEntity& entity)
{
    const timespec before = monotonicNow();
    const bool applied = entity.applyDefaultSettings();
    const timespec after = monotonicNow();
    std::printf("\r(%ld ms) took BLE '%s'.\n", timespecSubtract_msec(&after, &before), entity.name.c_str());
    std::fflush(stdout);
    return applied;
}

} // namespace

long timespecSubtract_msec(const timespec* first, const timespec* second)
{
    long seconds = first->tv_sec - second->tv_sec;
    long nanoseconds = first->tv_nsec - second->tv_nsec;
    if (nanoseconds < 0) {
        --seconds;
        nanoseconds += 1'000'000'000L;
    }
    return seconds * 1000 + nanoseconds / 1'000'000;
}

bool Lifecycle::registerEntity(BLEntity& entity, bool enabled)
{
    logText(LogImpl::debug, "Registering BLE <", entity.name, ">... ");
    Log& log = singleton<Log>::instance();
    if (state() != bllState_t::initial) {
        log.write("error.\n");
        return false;
    }
    if (!enabled) {
        log.write("not registered.\n");
        return true;
    }
    entities.put(entity);
    log.write("done.\n");
    return true;
}

/// With a cycle of dependences this is empty: the procedures then touch nothing and succeed, as callers
/// expect.
std::list<std::string> Lifecycle::order() const
{
    std::list<std::string> names;
    entities.resolveDependences(names);
    return names;
}

bool Lifecycle::start()
{
    logText(LogImpl::debug, ">>> Starting procedure has been started.\n");
    if (state() != bllState_t::configured && state() != bllState_t::stopped) {
        logText(LogImpl::warning, "<<< Error: BLL is not configured or is already running.\n");
        return false;
    }
    const exclusiveLock_t lock;
    if (!lock.locked)
        return false;

    logText(LogImpl::notice, "\nBLE init order:\n");
    const std::list<std::string> names = order();
    for (const std::string& name : names)
        logText(LogImpl::notice, "\n\tBLE <", name, ">... \n");

    for (auto name = names.begin(); name != names.end(); ++name) {
        announce(*name);
        BLEntity& entity = *entities.find(*name);
        const bool started = entity.start();
        if (started && entity.applyDefaultSettings()) {
            logText(LogImpl::debug, "done.");
            continue;
        }
        logText(LogImpl::debug, "error.\n");
        logText(LogImpl::debug, "Start procedure has been interrupted by an error.\n");
        logText(LogImpl::critical, "Error ", started ? "applying default settings for " : "starting ", *name,
                " BLE.\n");
        stopBackFrom(name, names);
        return false;
    }
    bllState.store(bllState_t::started, std::memory_order_relaxed);
    logText(LogImpl::notice, "\n<<< Starting procedure has been completed.\n");
    return true;
}

/// Stops what stands before the failed entity, last started first. The failed one itself is not stopped.
void Lifecycle::stopBackFrom(std::list<std::string>::const_iterator failed,
                             const std::list<std::string>& names)
{
    if (failed == names.begin())
        return;
    logText(LogImpl::warning, "Will start stop procedure.\n");
    logText(LogImpl::debug, ">>> Stopping procedure has been started.\n");
    for (auto name = std::make_reverse_iterator(failed); name != names.rend(); ++name) {
        announce(*name);
        if (entities.find(*name)->stop()) {
            logText(LogImpl::debug, "done.");
        } else {
            logText(LogImpl::debug, "error.\n");
            logText(LogImpl::critical, "Error stopping ", *name, " BLE.\n");
        }
    }
    logText(LogImpl::debug, "\n<<< Stopping procedure has been completed.\n");
}

bool Lifecycle::applyDefaultSettings(bool printTimes)
{
    logText(LogImpl::debug, ">>> Applying default settings procedure has been started.\n");
    if (state() != bllState_t::started) {
        logText(LogImpl::warning, "<<< Error: BLL is not running.\n");
        return false;
    }
    const exclusiveLock_t lock;
    if (!lock.locked)
        return false;

    for (const std::string& name : order()) {
        announce(name);
        BLEntity& entity = *entities.find(name);
        const bool applied = printTimes ? applyDefaultsTimed(entity) : entity.applyDefaultSettings();
        if (!applied) {
            logText(LogImpl::debug, "error.\n");
            logText(LogImpl::critical, "Applying default settings procedure for ", name,
                    " BLE has been interrupted by an error.\n");
            return false;
        }
        logText(LogImpl::debug, "done.");
    }
    logText(LogImpl::debug, "\n<<< Applying default settings procedure has been completed.\n");
    return true;
}

void Lifecycle::applyConfiguration(const std::string& name)
{
    logText(LogImpl::debug, ">>> Applying configuration has been started (", name, ").\n");
    if (state() != bllState_t::initial) {
        logText(LogImpl::warning, "<<< Error applying configuration: BLL is not initialized.\n");
        return;
    }
    // Stays empty and no file is read: the configuration of these entities arrives over RPC, they only need
    // the call.
    const Storage::StorageMng storage;
    const exclusiveLock_t lock;
    if (!lock.locked)
        return;

    for (const std::string& entity : order()) {
        const auto settings = storage.getRoot(entity);
        announceSettings(entity);
        entities.find(entity)->applyConfiguration(settings);
        logText(LogImpl::debug, "done.");
    }
    bllState.store(bllState_t::configured, std::memory_order_relaxed);
    logText(LogImpl::debug, "\n<<< Applying configuration has been completed.\n");
}

void Lifecycle::saveConfiguration(const std::string& name) const
{
    logText(LogImpl::debug, ">>> Saving configuration has been started.\n");
    Storage::StorageMng storage;
    {
        const sharedLock_t lock;
        if (!lock.locked)
            return;
        for (const std::string& entity : order()) {
            const auto settings = storage.addRoot(entity);
            announceSettings(entity);
            entities.find(entity)->saveConfiguration(settings);
            logText(LogImpl::debug, "done.");
        }
    }
    // A slow disk holds up nobody: the file is written outside the lock. Its result is on standard output.
    static_cast<void>(storage.save(name));
    logText(LogImpl::debug, "\n<<< Saving configuration has been completed.\n");
}

void Lifecycle::stop(bool saveFirst, const std::string& fileName)
{
    logText(LogImpl::debug, ">>> Stopping procedure has been started.\n");
    if (state() != bllState_t::started) {
        logText(LogImpl::warning, "<<< Error stopping BLL: BLL not in the started state.\n");
        return;
    }
    exclusiveLock_t lock;
    while (!lock.locked) {
        logText(LogImpl::warning,
                "Warning: Could not obtain exclusive lock for stopping BLL. Will try again.\n");
        if (LockWaitStop::requested()) // this very thread is being stopped: its waits end at once, for ever
            return;
        lock.lock();
    }

    std::list<std::string> names = order();
    names.reverse();
    for (const std::string& name : names) {
        announce(name);
        if (entities.find(name)->stop()) {
            logText(LogImpl::debug, "done.");
        } else {
            logText(LogImpl::debug, "error.");
            logText(LogImpl::warning, "Error stopping ", name, " BLE.\n");
        }
    }
    if (saveFirst)
        saveConfiguration(fileName);
    bllState.store(bllState_t::stopped, std::memory_order_relaxed);
    logText(LogImpl::debug, "\n<<< Stopping procedure has been completed.\n");
}
