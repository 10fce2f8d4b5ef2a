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
    void add(const Key& key, std::uint32_t id, Object* object)
    {
        Equals& equals = objects[key];
        equals.byId.emplace(id, object);
        equals.lowest = equals.byId.begin()->second;
    }

    void remove(const Key& key, std::uint32_t id)
    {
        const auto equals = objects.find(key);
        if (equals == objects.end())
            return;
        auto& byId = equals->second.byId;
        byId.erase(id);
        if (byId.empty())
            objects.erase(equals);
        else
            equals->second.lowest = byId.begin()->second;
    }

    /// Null when nothing has the key. @p key may be any type that Hash and Equal take.
    template <class Lookup>
    [[nodiscard]] Object* lowest(const Lookup& key) const
    {
        const auto equals = objects.find(key);
        return equals == objects.end() ? nullptr : equals->second.lowest;
    }

    void clear() { objects.clear(); }

private:
    struct Equals
    {
        Object* lowest = nullptr; // of byId; beside it, since that is what a look-up is for
        std::map<std::uint32_t, Object*> byId;
    };

    std::unordered_map<Key, Equals, Hash, Equal> objects;
};
