#pragma once

#include "rte/BLL/core/GlobalLock.h"

#include <type_traits>

/**
 * Runs @p action with the global lock held and hands its answer up; without the lock the answer is @p refused
 * and the action does not run.
 */
template <class Lock, class Action>
[[nodiscard]] auto underLock(std::invoke_result_t<Action> refused, Action action)
{
    const Lock lock;
    return lock.locked ? action() : refused;
}
