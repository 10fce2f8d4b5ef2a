#pragma once

#include <memory>
#include <mutex>
#include <utility>

/**
 * A place where somebody plugs in a hook while frames are under way. A call that has begun goes on with the
 * hook it found, which therefore may be called for a moment after another one was plugged in.
 *
 * The mutex is a leaf: a hook is called, and destroyed, without it.
 *
 * @tparam Hook a boost::function
 */
template <class Hook>
class HookSlot
{
public:
    /// An empty hook takes the present one out.
    void plugIn(Hook hook)
    {
        auto fresh = hook.empty() ? nullptr : std::make_shared<const Hook>(std::move(hook));
        const std::lock_guard guard(leaf);
        current.swap(fresh);
    }

    /// Null when nothing is plugged in.
    [[nodiscard]] std::shared_ptr<const Hook> get() const
    {
        const std::lock_guard guard(leaf);
        return current;
    }

private:
    mutable std::mutex leaf;
    std::shared_ptr<const Hook> current;
};
