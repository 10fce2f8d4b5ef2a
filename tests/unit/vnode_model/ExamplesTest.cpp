#include "vnode/model/NodeFile.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace vnode {
namespace {

TEST(Examples, AreGoodNodeFiles)
{
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VNODE_EXAMPLES)) {
        SCOPED_TRACE(entry.path());
        EXPECT_NO_THROW(EXPECT_FALSE(readNodeFile(entry.path().string()).ports.empty()));
        ++count;
    }
    EXPECT_GE(count, 2);
}

} // namespace
} // namespace vnode
