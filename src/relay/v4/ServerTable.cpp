#include "relay/v4/ServerTable.h"

#include <algorithm>
#include <utility>

ServerTable::ServerTable(pairs_t newPairs) : pairs(std::move(newPairs))
{
    for (const auto& [server, vlan] : pairs)
        byVlan[vlan].push_back(server);
}

void ServerTable::set(std::uint32_t server, std::uint16_t vlan, bool add)
{
    const auto [first, last] = pairs.equal_range(server);
    const auto found = std::find_if(first, last, [vlan](const auto& pair) { return pair.second == vlan; });
    if ((found != last) == add)
        return;
    // Only this VLAN's servers are told anew: a peer that replays thousands of pairs sends them one by one.
    auto& servers = byVlan[vlan];
    const auto place = std::lower_bound(servers.begin(), servers.end(), server);
    if (add) {
        pairs.emplace(server, vlan);
        servers.insert(place, server);
    } else {
        pairs.erase(found);
        servers.erase(place);
    }
}

std::span<const std::uint32_t> ServerTable::serversOf(std::uint16_t vlan) const
{
    const auto found = byVlan.find(vlan);
    return found == byVlan.end() ? std::span<const std::uint32_t>() : std::span(found->second);
}
