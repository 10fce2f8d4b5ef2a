#include "vnode/control/StampFile.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace {

using vnode::control::StampPublisher;
using vnode::control::StampReader;

class StampFileTest : public testing::Test
{
protected:
    TemporaryFolder folder;
    const std::string path = folder.path("stamp");
    std::string reason;
};

TEST_F(StampFileTest, OneNodeAtATime)
{
    StampPublisher first;
    ASSERT_TRUE(first.open(path, reason));
    StampPublisher second;
    EXPECT_FALSE(second.open(path, reason));
    EXPECT_NE(reason.find("another virtual node"), std::string::npos);
}

TEST_F(StampFileTest, AForeignFileIsNoStamp)
{
    for (const std::string& content : {std::string(), std::string("short"), std::string(4096, 'x')}) {
        folder.file("stamp", content);
        StampReader reader(path);
        reader.revalidate();
        EXPECT_EQ(reader.stamp(), std::nullopt) << content.size();
    }
}

} // namespace
