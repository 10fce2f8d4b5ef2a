#pragma once

#include "relay/model/LowestIdIndex.h"
#include "relay/model/dhcpraInterface.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/**
 * The interfaces of one relay engine in ascending order of id, with look-ups beside it that cost the same
 * however many interfaces there are: several are made for each frame. Among equals the lowest id is found, as
 * a walk in order would find it. Null when nothing is found; pointers stay valid until the interface is
 * replaced or the table is cleared.
 *
 * Locking as for dhcpraInterface.
 */
class InterfaceTable
{
public:
    using interfaces_t = std::map<std::uint32_t, dhcpraInterface>;

    InterfaceTable() = default;
    InterfaceTable(const InterfaceTable&) = delete;
    InterfaceTable& operator=(const InterfaceTable&) = delete;

    /// Takes the interface in; one with the same id is replaced.
    dhcpraInterface& add(dhcpraInterface interface);
    void clear();

    [[nodiscard]] dhcpraInterface* getInterfaceById(std::uint32_t id)
    {
        if (id < shortIds)
            return id < byShortId.size() ? byShortId[id] : nullptr;
        const auto found = interfaces.find(id);
        return found == interfaces.end() ? nullptr : &found->second;
    }
    [[nodiscard]] const dhcpraInterface* getInterfaceById(std::uint32_t id) const
    {
        return const_cast<InterfaceTable*>(this)->getInterfaceById(id);
    }
    [[nodiscard]] dhcpraInterface* getInterfaceByName(std::string_view name);
    [[nodiscard]] const dhcpraInterface* getInterfaceByName(std::string_view name) const;
    [[nodiscard]] dhcpraInterface* getInterfaceByLinuxName(std::string_view name);
    [[nodiscard]] const dhcpraInterface* getInterfaceByLinuxName(std::string_view name) const;
    [[nodiscard]] dhcpraInterface* getInterfaceByVpiVci(std::uint32_t parentId, std::uint32_t vpi,
                                                        std::uint32_t vci);
    [[nodiscard]] const dhcpraInterface* getInterfaceByVpiVci(std::uint32_t parentId, std::uint32_t vpi,
                                                              std::uint32_t vci) const;

    // The keys of the look-ups change here only. False for an unknown id.
    bool setName(std::uint32_t id, const std::string& name);
    bool setCircuitIdModeATMParams(std::uint32_t id, std::uint32_t parentId, std::uint32_t vpi,
                                   std::uint32_t vci);

    /// Grows whenever an interface comes in or all go, so that lists of interfaces can be kept.
    [[nodiscard]] std::uint64_t revision() const { return changes; }

    [[nodiscard]] const interfaces_t& all() const { return interfaces; }
    [[nodiscard]] std::size_t size() const { return interfaces.size(); }
    [[nodiscard]] bool empty() const { return interfaces.empty(); }

    /// Pairs of id and interface, ascending.
    [[nodiscard]] interfaces_t::iterator begin() { return interfaces.begin(); }
    [[nodiscard]] interfaces_t::iterator end() { return interfaces.end(); }
    [[nodiscard]] interfaces_t::const_iterator begin() const { return interfaces.begin(); }
    [[nodiscard]] interfaces_t::const_iterator end() const { return interfaces.end(); }

private:
    struct AtmKey
    {
        std::uint32_t parentId = 0;
        std::uint32_t vpi = 0;
        std::uint32_t vci = 0;
        bool operator==(const AtmKey&) const = default;
    };
    struct AtmHash
    {
        std::size_t operator()(const AtmKey& key) const;
    };
    struct TextHash
    {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };
    static constexpr std::uint32_t shortIds = 0x10000;
    static AtmKey atmKey(const dhcpraInterface& interface);

    void addToIndexes(dhcpraInterface& interface);
    void addName(dhcpraInterface& interface);
    void removeName(const dhcpraInterface& interface);
    void refreshShortcut(std::string_view name);
    void removeFromIndexes(const dhcpraInterface& interface);

    interfaces_t interfaces;
    std::uint64_t changes = 0;
    std::vector<dhcpraInterface*> byShortId; // by id, as far as the ids have the 16 bits of a frame's record
    LowestIdIndex<std::string, dhcpraInterface, TextHash> byName;
    /// By hash of the name, for most names what byName answers; of two names in one slot the one that was
    /// entered last. A frame finds its interface here without the index's nodes.
    std::vector<dhcpraInterface*> shortcuts;
    LowestIdIndex<std::string, dhcpraInterface, TextHash> byLinuxName;
    LowestIdIndex<AtmKey, dhcpraInterface, AtmHash> byVpiVci;
};
