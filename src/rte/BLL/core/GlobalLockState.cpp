#include "rte/BLL/core/GlobalLockState.h"

namespace globalLockState {

recursiveSharedMutex_t& lock()
{
    static auto& object = *new recursiveSharedMutex_t;
    return object;
}

recursiveSharedMutex_t& actLock()
{
    static auto& object = *new recursiveSharedMutex_t;
    return object;
}

} // namespace globalLockState
