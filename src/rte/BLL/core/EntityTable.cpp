#include "rte/BLL/core/EntityTable.h"

#include "log/LogText.h"
#include "rte/BLL/core/StartOrder.h"

#include <vector>

void EntityTable::put(BLEntity& entity)
{
    const std::lock_guard guard(leaf);
    entities[entity.name] = &entity;
}

BLEntity* EntityTable::find(const std::string& name) const
{
    const std::lock_guard guard(leaf);
    const auto row = entities.find(name);
    return row == entities.end() ? nullptr : row->second;
}

std::map<std::string, BLEntity*> EntityTable::snapshot() const
{
    const std::lock_guard guard(leaf);
    return entities;
}

bool EntityTable::resolveDependences(std::list<std::string>& names) const
{
    std::vector<StartOrderEntry> entries;
    for (const auto& [name, entity] : snapshot()) {
        std::list<std::string> dependencies;
        entity->getDependencies(dependencies);
        entries.push_back({name, {dependencies.begin(), dependencies.end()}});
    }
    const auto order = startOrder(entries);
    if (!order) {
        logText(LogImpl::notice, "\nGraph of initialization dependences has cycle(s).\n");
        return false;
    }
    names.assign(order->begin(), order->end());
    return true;
}
