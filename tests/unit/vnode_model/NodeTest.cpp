#include "vnode/model/Node.h"
#include "vnode/model/NodeFile.h"

#include "support/NodeBuilder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

namespace vnode {
namespace {

TEST(NodeChanges, MakeANewGeneration)
{
    Node node(test::NodeBuilder().vlan(5, "five").eth(1, "0/1").describe());
    EXPECT_EQ(node.picture().generation, 1U);
    EXPECT_EQ(node.renameInterface(1, "0/9"), 0);
    EXPECT_EQ(node.picture().generation, 2U);
    EXPECT_EQ(node.renameInterface(7, "0/9"), ENOENT);
    EXPECT_EQ(node.picture().generation, 2U) << "nothing changed";
    Interfaces::Interface row;
    EXPECT_EQ(node.addInterface(row), EINVAL);
    row.id = 1;
    EXPECT_EQ(node.addInterface(row), EEXIST);
    EXPECT_EQ(node.nameVlan(5, "cinq"), 0);
    EXPECT_EQ(node.picture().findVlan(5)->name, "cinq");
    EXPECT_EQ(node.picture().generation, 3U);
}

/// Ids that source guard walks: on a PON board (option 5) behind ONUs and GEM ports, else lines and PVCs from
/// 1 on.
std::pair<std::uint32_t, std::uint32_t> guarded(const Picture& picture)
{
    using enum Interfaces::interfaceType;
    const Registry& rows = picture.interfaces;
    if (picture.facts.options.contains(5))
        return {rows.countOf(onu) + rows.countOf(gem) + 1, rows.highestId()};
    return {1, rows.countOf(subscriber) + rows.countOf(pvc)};
}

TEST(Examples, AreGoodAndNumberedAsTheirReadersWalk)
{
    using enum Interfaces::interfaceType;
    int clients = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VNODE_EXAMPLES)) {
        SCOPED_TRACE(entry.path());
        const Node node(readNodeFile(entry.path().string()));
        const auto [first, last] = guarded(node.picture());
        std::uint32_t next = 1;
        for (const Interfaces::Interface& row : node.picture().interfaces.list()) {
            EXPECT_EQ(row.id, next++) << "no gap";
            if (row.type != subscriber && row.type != pvc && row.type != gem)
                continue;
            EXPECT_TRUE(first <= row.id && row.id <= last) << row.id;
            ++clients;
        }
    }
    EXPECT_EQ(clients, 6);
}

} // namespace
} // namespace vnode
