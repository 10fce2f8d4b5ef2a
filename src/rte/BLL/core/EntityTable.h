#pragma once

#include "rte/BLL/core/BLEntity.h"

#include <list>
#include <map>
#include <mutex>
#include <string>

/// The registered entities by name. It does not own them: each is a singleton.
class EntityTable
{
public:
    /// Inserts, or replaces the entity of that name.
    void put(BLEntity& entity);

    /// The entity of that name, or null.
    [[nodiscard]] BLEntity* find(const std::string& name) const;

    /// Fills @p names in start order. With a cycle it logs so, answers false and leaves @p names alone.
    bool resolveDependences(std::list<std::string>& names) const;

private:
    [[nodiscard]] std::map<std::string, BLEntity*> snapshot() const;

    mutable std::mutex leaf; ///< loaded libraries may register; entities are never called while it is held
    std::map<std::string, BLEntity*> entities;
};
