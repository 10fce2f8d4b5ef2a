#pragma once

#include "platform/zomacTable.h"
#include "vnode/model/Types.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vnode {

/// Where MACs were seen, by VLAN, with ageing.
class MacTable
{
public:
    struct Entry
    {
        std::uint16_t vlan = 0;
        MacAddress mac{};
        std::uint32_t interfaceId = 0;
        Time seen;
    };

    MacTable(std::chrono::seconds maxAge, std::size_t maxEntries) : aging(maxAge), limit(maxEntries) {}

    /// False when the table is full, and nothing was learnt.
    bool learn(std::uint16_t vlan, const MacAddress& mac, std::uint32_t interfaceId, Time now);
    [[nodiscard]] std::optional<std::uint32_t> find(std::uint16_t vlan, const MacAddress& mac,
                                                    Time now) const;

    /// Sets the bit of each VLAN on which the MAC was learnt on that interface.
    void markVlans(const MacAddress& mac, std::uint32_t interfaceId, Time now,
                   zomacTableVlanBitmap& bitmap) const;

    /// Removes entries that are too old. The cost depends on their number, not on the table's size.
    void age(Time now);
    void clear();

    [[nodiscard]] std::size_t size() const { return index.size(); }
    [[nodiscard]] std::vector<Entry> entries() const; ///< the longest unseen first

private:
    using Order = std::list<Entry>;

    [[nodiscard]] static std::uint64_t keyOf(std::uint16_t vlan, const MacAddress& mac);
    [[nodiscard]] bool isOld(const Entry& entry, Time now) const { return now - entry.seen >= aging; }
    Order::iterator erase(Order::iterator entry);

    std::chrono::seconds aging;
    std::size_t limit;
    Order order; ///< by time last seen
    std::unordered_map<std::uint64_t, Order::iterator> index;
    std::unordered_map<std::uint64_t, std::unordered_set<std::uint16_t>> vlansOf; ///< by MAC
};

} // namespace vnode
