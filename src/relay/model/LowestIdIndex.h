#pragma once

#include <cstdint>
#include <map>
#include <unordered_map>

/**
 * A flat look-up beside an ordered table: of all objects with one key, the one with the lowest id. Holds
 * pointers that the table keeps valid.
 */
template <class Key, class Object, class Hash, class Equal = std::equal_to<>>
class LowestIdIndex
{
public:
    void add(const Key& key, std::uint32_t id, Object* object) { objects[key].emplace(id, object); }

    void remove(const Key& key, std::uint32_t id)
    {
        const auto equals = objects.find(key);
        if (equals == objects.end())
            return;
        equals->second.erase(id);
        if (equals->second.empty())
            objects.erase(equals);
    }

    /// Null when nothing has the key. @p key may be any type that Hash and Equal take.
    template <class Lookup>
    [[nodiscard]] Object* lowest(const Lookup& key) const
    {
        const auto equals = objects.find(key);
        return equals == objects.end() ? nullptr : equals->second.begin()->second;
    }

    void clear() { objects.clear(); }

private:
    std::unordered_map<Key, std::map<std::uint32_t, Object*>, Hash, Equal> objects;
};
