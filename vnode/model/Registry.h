#pragma once

#include "platform/Interfaces.h"

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vnode {

/// The interfaces of the node. Look-ups cost the same for one interface and for thousands; among interfaces
/// of equal name the lowest id wins. No lock: whoever shares it guards it.
class Registry
{
public:
    static constexpr std::size_t typeCount = 8;

    [[nodiscard]] std::size_t size() const { return rows.size(); }
    [[nodiscard]] const Interfaces::Interface* find(std::uint32_t id) const;
    [[nodiscard]] const Interfaces::Interface* findByName(const std::string& name) const;
    [[nodiscard]] const Interfaces::Interface* findByLinuxName(const std::string& name) const;
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

    template <typename Change>
    bool change(std::uint32_t id, Change&& apply);
    [[nodiscard]] const Interfaces::Interface* lowest(const Index& index, const std::string& name) const;
    void enter(const Interfaces::Interface& row);
    void leave(const Interfaces::Interface& row);

    std::unordered_map<std::uint32_t, Interfaces::Interface> rows;
    std::set<std::uint32_t> ids;
    Index byName;
    Index byLinuxName;
    std::unordered_map<std::uint32_t, std::set<std::uint32_t>> children;
    std::array<std::uint32_t, typeCount> counts{};
};

} // namespace vnode
