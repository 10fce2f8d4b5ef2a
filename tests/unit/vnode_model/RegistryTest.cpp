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
    return made;
}

Registry sample()
{
    Registry registry;
    registry.put(row(30, "0/1/2", onu, 10));
    registry.put(row(10, "0/1", pon));
    registry.put(row(20, "0/1/1", onu, 10));
    registry.put(row(21, "0/1/1/1", gem, 20));
    return registry;
}

TEST(Registry, LetsTheLowestIdWinAmongEqualNames)
{
    Registry registry;
    registry.put(row(7, "same", eth));
    registry.put(row(3, "same", eth));
    registry.put(row(5, "same", eth));
    EXPECT_EQ(registry.findByName("same")->id, 3U);
    registry.rename(3, "else");
    EXPECT_EQ(registry.findByName("same")->id, 5U);
    registry.remove(5);
    EXPECT_EQ(registry.findByName("same")->id, 7U);
    registry.remove(7);
    EXPECT_EQ(registry.findByName("same"), nullptr);
}

TEST(Registry, KeepsItsIndexesThroughChanges)
{
    Registry registry = sample();
    Ids ids;
    for (const Interface& listed : registry.list())
        ids.push_back(listed.id);
    EXPECT_EQ(ids, (Ids{10, 20, 21, 30}));
    EXPECT_EQ(registry.findByLinuxName("if0/1/2")->id, 30U);

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

TEST(Registry, CarriesATypeBeyondTheListWithoutCountingIt)
{
    Registry registry;
    registry.put(row(1, "odd", static_cast<Interfaces::interfaceType>(200)));
    EXPECT_EQ(static_cast<unsigned>(registry.find(1)->type), 200U);
    EXPECT_EQ(registry.countOf(static_cast<Interfaces::interfaceType>(200)), 0U);
    EXPECT_TRUE(registry.remove(1));
}

} // namespace
} // namespace vnode
