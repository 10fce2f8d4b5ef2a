#include "vnode/model/MacTable.h"

namespace vnode {

namespace {

std::uint64_t numberOf(const MacAddress& mac)
{
    std::uint64_t number = 0;
    for (const std::uint8_t byte : mac)
        number = number << 8 | byte;
    return number;
}

} // namespace

std::uint64_t MacTable::keyOf(std::uint16_t vlan, const MacAddress& mac)
{
    return std::uint64_t{vlan} << 48 | numberOf(mac);
}

bool MacTable::learn(std::uint16_t vlan, const MacAddress& mac, std::uint32_t interfaceId, Time now)
{
    const std::uint64_t key = keyOf(vlan, mac);
    if (const auto known = index.find(key); known != index.end()) {
        known->second->interfaceId = interfaceId;
        known->second->seen = now;
        order.splice(order.end(), order, known->second);
        return true;
    }
    if (index.size() >= limit)
        age(now);
    if (index.size() >= limit)
        return false;
    order.push_back({vlan, mac, interfaceId, now});
    index.emplace(key, std::prev(order.end()));
    vlansOf[numberOf(mac)].insert(vlan);
    return true;
}

std::optional<std::uint32_t> MacTable::find(std::uint16_t vlan, const MacAddress& mac, Time now) const
{
    const auto known = index.find(keyOf(vlan, mac));
    if (known == index.end() || isOld(*known->second, now))
        return std::nullopt;
    return known->second->interfaceId;
}

void MacTable::markVlans(const MacAddress& mac, std::uint32_t interfaceId, Time now,
                         zomacTableVlanBitmap& bitmap) const
{
    const auto vlans = vlansOf.find(numberOf(mac));
    if (vlans == vlansOf.end())
        return;
    for (const std::uint16_t vlan : vlans->second)
        if (find(vlan, mac, now) == interfaceId)
            bitmap[vlan / 32U] |= 1U << (31U - vlan % 32U);
}

void MacTable::age(Time now)
{
    while (!order.empty() && isOld(order.front(), now))
        erase(order.begin());
}

void MacTable::clear()
{
    order.clear();
    index.clear();
    vlansOf.clear();
}

std::vector<MacTable::Entry> MacTable::entries() const { return {order.begin(), order.end()}; }

MacTable::Order::iterator MacTable::erase(Order::iterator entry)
{
    index.erase(keyOf(entry->vlan, entry->mac));
    if (const auto vlans = vlansOf.find(numberOf(entry->mac)); vlans != vlansOf.end()) {
        vlans->second.erase(entry->vlan);
        if (vlans->second.empty())
            vlansOf.erase(vlans);
    }
    return order.erase(entry);
}

} // namespace vnode
