#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <unordered_map>
#include <vector>

/**
 * Which DHCP servers serve which VLANs: the pairs as the management interface shows them, and for each VLAN
 * its servers, so that a frame does not walk the pairs of all other VLANs. Addresses in host order. Under the
 * engine's frameMutex.
 */
class ServerTable
{
public:
    using pairs_t = std::multimap<std::uint32_t, std::uint16_t>; ///< server to VLAN

    ServerTable() = default;
    explicit ServerTable(pairs_t pairs);

    /// Adds or removes the pair; one that is there, or not there, changes nothing.
    void set(std::uint32_t server, std::uint16_t vlan, bool add);

    [[nodiscard]] const pairs_t& all() const { return pairs; }

    /// The servers of the VLAN in the order of the pairs.
    [[nodiscard]] std::span<const std::uint32_t> serversOf(std::uint16_t vlan) const;

private:
    pairs_t pairs;
    std::unordered_map<std::uint16_t, std::vector<std::uint32_t>> byVlan;
};
