#pragma once

#include "platform/Interfaces.h"

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vnode {

/// The interfaces of the node. Look-ups stay cheap with thousands of them; among interfaces of equal name or
/// position the lowest id wins. No lock: the owner guards it.
class Registry
{
public:
    static constexpr std::size_t typeCount = 8;

    [[nodiscard]] std::size_t size() const { return rows.size(); }
    [[nodiscard]] const Interfaces::Interface* find(std::uint32_t id) const;
    [[nodiscard]] const Interfaces::Interface* findByName(const std::string& name) const;
    [[nodiscard]] const Interfaces::Interface* findByLinuxName(const std::string& name) const;
    [[nodiscard]] const Interfaces::Interface* findByPosition(std::uint32_t slotNumber, std::uint32_t port,
                                                              std::uint32_t intf, std::uint32_t gem) const;
    [[nodiscard]] std::uint32_t highestId() const { return ids.empty() ? 0 : *ids.rbegin(); } ///< 0: no rows
    [[nodiscard]] std::vector<Interfaces::Interface> list() const; ///< ascending id
    [[nodiscard]] std::vector<std::uint32_t>
    childrenOf(std::uint32_t id) const; ///< direct ones, ascending id
    [[nodiscard]] std::uint32_t countOf(Interfaces::interfaceType type) const;

    /// Puts a row in, in place of one with the same id.
    void put(const Interfaces::Interface& row);
    bool remove(std::uint32_t id);
    // Changes of one member; false for an unknown id.
    bool rename(std::uint32_t id, const std::string& name);
    bool setParent(std::uint32_t id, std::uint32_t parentId);
    bool setPosition(std::uint32_t id, const Interfaces::slot_port_s& position);
    bool describe(std::uint32_t id, const std::string& text);

private:
    using Index = std::unordered_map<std::string, std::set<std::uint32_t>>;
    using Position = std::array<std::uint32_t, 4>; ///< slot number, port, ONU or PVC, GEM port

    static Position positionOf(const Interfaces::Interface& row);

    template <typename Change>
    bool change(std::uint32_t id, Change&& apply);
    template <typename AnyIndex, typename Key>
    [[nodiscard]] const Interfaces::Interface* lowest(const AnyIndex& index, const Key& key) const;
    void enter(const Interfaces::Interface& row);
    void leave(const Interfaces::Interface& row);

    std::unordered_map<std::uint32_t, Interfaces::Interface> rows;
    std::set<std::uint32_t> ids;
    Index byName;
    Index byLinuxName;
    std::map<Position, std::set<std::uint32_t>> byPosition;
    std::unordered_map<std::uint32_t, std::set<std::uint32_t>> children;
    std::array<std::uint32_t, typeCount> counts{};
};

} // namespace vnode
