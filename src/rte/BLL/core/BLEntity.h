#pragma once

#include "storage/StorageItem.h"

#include <list>
#include <string>
#include <utility>

/**
 * A business-logic entity: one self-contained function of the node that BLLManager can configure, start, save
 * and stop in dependency order. The lifecycle procedures of BLLManager call all of these with the global lock
 * held.
 */
class BLEntity : public Storage::StorageItem
{
public:
    /// Brings up the entity's own threads or proxies; true on success.
    virtual bool start() = 0;
    /// Resets the entity to factory settings; true on success.
    virtual bool applyDefaultSettings() = 0;
    /// Shuts the entity down; true on success.
    virtual bool stop() = 0;
    /// Fills @p names with the entities that must be started before this one.
    virtual void getDependencies(std::list<std::string>& names) = 0;

    ~BLEntity() override = default;

    const std::string name; ///< unique key

protected:
    explicit BLEntity(std::string entityName) : name(std::move(entityName)) {}
};
