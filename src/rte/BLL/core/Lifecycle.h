#pragma once

#include "rte/BLL/core/EntityTable.h"

#include <atomic>
#include <ctime>
#include <list>
#include <string>

/// Where the business logic layer stands.
enum class bllState_t : int { initial = 0, configured = 1, started = 2, stopped = 3 };

/**
 * The procedures that walk all entities in dependency order, or back. They hold the global lock for the whole
 * walk, so no frame and no management call gets in between. Progress goes to Log. With a cycle of dependences
 * the order is empty: no entity is touched and the procedure succeeds. Exceptions of entities pass through.
 */
class Lifecycle
{
public:
    explicit Lifecycle(EntityTable& table) : entities(table) {}

    /// Only while `initial`. An entity that is not @p enabled is skipped, which is no error. Takes no lock.
    bool registerEntity(BLEntity& entity, bool enabled);

    bool start();
    bool applyDefaultSettings(bool printTimes);
    void applyConfiguration(const std::string& name);
    void saveConfiguration(const std::string& name) const;
    void stop(bool saveFirst, const std::string& fileName);

    [[nodiscard]] bllState_t state() const { return bllState.load(std::memory_order_relaxed); }

private:
    [[nodiscard]] std::list<std::string> order() const;
    void stopBackFrom(std::list<std::string>::const_iterator failed, const std::list<std::string>& names);

    EntityTable& entities;
    std::atomic<bllState_t> bllState{bllState_t::initial}; ///< read before the lock, written under it
};

/// Whole milliseconds from @p second to @p first.
[[nodiscard]] long timespecSubtract_msec(const timespec* first, const timespec* second);
