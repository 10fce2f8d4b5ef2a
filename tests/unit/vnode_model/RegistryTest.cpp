#include "vnode/model/Registry.h"

#include <gtest/gtest.h>

namespace vnode {
namespace {

using Interfaces::Interface;
using enum Interfaces::interfaceType;
using Ids = std::vector<std::uint32_t>;

Interface row(std::uint32_t id, const std::string& name, Interfaces::interfaceType type,
              std::uint32_t parent = 0)
{
    Interface made;
    made.id = id;
    made.name = name;
    made.linuxName = "if" + name;
    made.type = type;
    made.parentId = parent;
    made.position = {{"", 1}, 2, 3, 4};
    return made;
}

TEST(Registry, LetsTheLowestIdWinAmongEqualNamesAndPositions)
{
    Registry registry;
    EXPECT_EQ(registry.highestId(), 0U);
    for (const std::uint32_t id : {7U, 3U, 5U})
        registry.put(row(id, "same", eth));
    EXPECT_EQ(registry.findByName("same")->id, 3U);
    EXPECT_EQ(registry.findByPosition(1, 2, 3, 4)->id, 3U);
    registry.rename(3, "else");
    registry.setPosition(3, {{"", 1}, 2, 3, 5});
    EXPECT_EQ(registry.findByName("same")->id, 5U);
    EXPECT_EQ(registry.findByPosition(1, 2, 3, 4)->id, 5U);
    EXPECT_EQ(registry.findByPosition(1, 2, 3, 5)->id, 3U);
}

TEST(Registry, KeepsItsIndexesThroughChanges)
{
    Registry registry;
    registry.put(row(30, "0/1/2", onu, 10));
    registry.put(row(10, "0/1", pon));
    registry.put(row(20, "0/1/1", onu, 10));
    registry.put(row(21, "0/1/1/1", gem, 20));
    EXPECT_EQ(registry.findByLinuxName("if0/1/2")->id, 30U);
    EXPECT_EQ(registry.list().front().id, 10U);
    EXPECT_TRUE(registry.setParent(30, 20));
    EXPECT_EQ(registry.childrenOf(10), Ids{20});
    EXPECT_EQ(registry.childrenOf(20), (Ids{21, 30}));

    registry.put(row(30, "new", gem, 10)); // in place of the old row
    EXPECT_EQ(registry.findByName("0/1/2"), nullptr);
    EXPECT_EQ(registry.countOf(onu), 1U);
    EXPECT_EQ(registry.countOf(gem), 2U);
    EXPECT_EQ(registry.childrenOf(10), (Ids{20, 30}));
    EXPECT_EQ(registry.size(), 4U);
    EXPECT_FALSE(registry.rename(99, "x"));
    EXPECT_FALSE(registry.remove(99));
}

} // namespace
} // namespace vnode
