#include "vnode/model/Ether.h"

#include "Frames.h"

#include <gtest/gtest.h>

namespace vnode {
namespace {

TEST(Ether, ReadsUpToThreeTagsOfEitherProtocol)
{
    const auto frame =
        frames::tagged(frames::everyone, frames::client,
                       {0x88, 0xA8, 0x60, 0x64, 0x81, 0x00, 0x00, 0x05, 0x81, 0x00, 0x0F, 0xFE});
    const auto header = parseEther(frame);
    ASSERT_TRUE(header);
    EXPECT_EQ(header->destination, frames::everyone);
    EXPECT_EQ(header->source, frames::client);
    ASSERT_EQ(header->tagCount, 3U);
    EXPECT_EQ(header->tags[0], (Tag{0x88A8, 0x6064}));
    EXPECT_EQ(header->tags[0].vid(), 100);
    EXPECT_EQ(header->tags[1], (Tag{0x8100, 5}));
    EXPECT_EQ(header->tags[2].vid(), 4094);
    EXPECT_EQ(header->type, 0x0806);
    EXPECT_EQ(header->payload, 26U);
}

TEST(Ether, LeavesAFourthTagAsTheType)
{
    const frames::Bytes tag{0x81, 0x00, 0x00, 0x05};
    const auto header =
        parseEther(frames::tagged(frames::everyone, frames::client, frames::join({tag, tag, tag, tag})));
    ASSERT_TRUE(header);
    EXPECT_EQ(header->tagCount, 3U);
    EXPECT_EQ(header->type, 0x8100);
}

TEST(Ether, RefusesEveryFrameThatEndsInsideItsHeader)
{
    const auto whole = frames::tagged(frames::everyone, frames::client, {0x81, 0, 0, 5, 0x81, 0, 0, 6});
    constexpr std::size_t headerSize = 22;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const frames::Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(parseEther(cut).has_value(), size >= headerSize) << size;
    }
}

TEST(Ether, ComposesWithAnotherOuterTagAndWithNone)
{
    const auto frame = frames::tagged(frames::everyone, frames::client, {0x81, 0x00, 0x00, 0x05});
    frames::Bytes out{1, 2, 3};
    composeFrame(frame, 16, Tag{0x88A8, 0x2064}, out);
    EXPECT_EQ(out, frames::tagged(frames::everyone, frames::client, {0x88, 0xA8, 0x20, 0x64}));
    composeFrame(frame, 16, std::nullopt, out);
    EXPECT_EQ(out, frames::plain(frames::everyone, frames::client));
    composeFrame(frame, 12, Tag{0x88A8, 0x0064}, out);
    EXPECT_EQ(out, frames::tagged(frames::everyone, frames::client, {0x88, 0xA8, 0, 0x64, 0x81, 0, 0, 5}));
}

} // namespace
} // namespace vnode
