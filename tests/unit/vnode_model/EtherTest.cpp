#include "vnode/model/Ether.h"

#include "Frames.h"

#include <gtest/gtest.h>

namespace vnode {
namespace {

TEST(Ether, RefusesEveryFrameThatEndsInsideItsHeader)
{
    const auto whole = frames::tagged(frames::everyone, frames::client, {0x81, 0, 0, 5, 0x81, 0, 0, 6});
    constexpr std::size_t headerSize = 22;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const frames::Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(parseEther(cut).has_value(), size >= headerSize) << size;
    }
}

} // namespace
} // namespace vnode
