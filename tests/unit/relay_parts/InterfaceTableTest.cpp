#include "relay/model/InterfaceTable.h"

#include <gtest/gtest.h>

namespace {

using Interfaces::interfaceType;

std::uint32_t idOf(const dhcpraInterface* interface) { return interface == nullptr ? 0 : interface->getID(); }

class InterfaceTableTest : public testing::Test
{
protected:
    void add(std::uint32_t id, const char* name, const char* linuxName)
    {
        table.add(dhcpraInterface(id, name, linuxName, interfaceType::subscriber));
    }

    InterfaceTable table;
};

TEST_F(InterfaceTableTest, LowestIdWinsAmongEqualsWhateverTheOrderOfArrival)
{
    add(5, "same", "dev");
    add(2, "same", "dev");
    add(9, "same", "dev");
    EXPECT_EQ(idOf(table.getInterfaceByName("same")), 2U);
    EXPECT_EQ(idOf(table.getInterfaceByLinuxName("dev")), 2U);
    EXPECT_EQ(idOf(table.getInterfaceByVpiVci(0, 0, 0)), 2U);

    ASSERT_TRUE(table.setName(2, "other"));
    EXPECT_EQ(idOf(table.getInterfaceByName("same")), 5U);
    EXPECT_EQ(idOf(table.getInterfaceByName("other")), 2U);
    ASSERT_TRUE(table.setName(2, table.getInterfaceById(2)->getName()));
    EXPECT_EQ(idOf(table.getInterfaceByName("other")), 2U);
    EXPECT_FALSE(table.setName(3, "new"));
    EXPECT_EQ(std::as_const(table).begin()->first, 2U);
}

// Many enough for names that share a slot of the short way.
TEST_F(InterfaceTableTest, EachOfThousandsIsFoundByIdAndNameAlsoAfterRenaming)
{
    constexpr std::uint32_t count = 3000;
    const auto idAt = [](std::uint32_t index) { return 60000 + 5 * index; }; // some beyond 16 bits
    for (std::uint32_t index = 0; index < count; ++index)
        add(idAt(index), ("0/2/" + std::to_string(index)).c_str(), "dev");
    for (std::uint32_t index = 0; index < count; index += 2)
        ASSERT_TRUE(table.setName(idAt(index), "new " + std::to_string(index)));

    for (std::uint32_t index = 0; index < count; ++index) {
        const std::string number = std::to_string(index);
        const bool renamed = index % 2 == 0;
        EXPECT_EQ(idOf(table.getInterfaceById(idAt(index))), idAt(index));
        EXPECT_EQ(table.getInterfaceById(idAt(index) + 1), nullptr);
        EXPECT_EQ(idOf(table.getInterfaceByName("0/2/" + number)), renamed ? 0 : idAt(index));
        EXPECT_EQ(idOf(table.getInterfaceByName("new " + number)), renamed ? idAt(index) : 0);
    }
    table.clear();
    EXPECT_EQ(table.getInterfaceById(idAt(0)), nullptr);
    EXPECT_EQ(table.getInterfaceByName("0/2/1"), nullptr);
}

TEST_F(InterfaceTableTest, AtmParametersMoveTheInterface)
{
    add(1, "a", "a");
    add(2, "b", "b");
    ASSERT_TRUE(table.setCircuitIdModeATMParams(1, 40, 8, 35));
    ASSERT_TRUE(table.setCircuitIdModeATMParams(2, 41, 8, 35));
    EXPECT_EQ(idOf(table.getInterfaceByVpiVci(40, 8, 35)), 1U);
    EXPECT_EQ(idOf(table.getInterfaceByVpiVci(41, 8, 35)), 2U);
    EXPECT_EQ(table.getInterfaceByVpiVci(40, 35, 8), nullptr);
    EXPECT_EQ(table.getInterfaceByVpiVci(0, 0, 0), nullptr);

    ASSERT_TRUE(table.setCircuitIdModeATMParams(1, 40, 8, 36));
    EXPECT_EQ(table.getInterfaceByVpiVci(40, 8, 35), nullptr);
    EXPECT_EQ(idOf(table.getInterfaceByVpiVci(40, 8, 36)), 1U);
    EXPECT_EQ(table.getInterfaceById(1)->getVci(), 36U);
    EXPECT_FALSE(table.setCircuitIdModeATMParams(3, 1, 1, 1));
}

TEST_F(InterfaceTableTest, ReplacedInterfaceLeavesNoTrace)
{
    add(1, "old", "oldDev");
    ASSERT_TRUE(table.setCircuitIdModeATMParams(1, 40, 8, 35));
    add(1, "new", "newDev");
    EXPECT_EQ(table.size(), 1U);
    for (const char* name : {"old", "newDev"})
        EXPECT_EQ(table.getInterfaceByName(name), nullptr);
    EXPECT_EQ(table.getInterfaceByLinuxName("oldDev"), nullptr);
    EXPECT_EQ(table.getInterfaceByVpiVci(40, 8, 35), nullptr);
    EXPECT_EQ(idOf(table.getInterfaceByLinuxName("newDev")), 1U);
    table.clear();
    EXPECT_EQ(table.getInterfaceByVpiVci(0, 0, 0), nullptr);
}

} // namespace
