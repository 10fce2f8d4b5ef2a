#pragma once

#include "support/CapturedLog.h"
#include "support/DhcpFrame.h"
#include "support/GuardedStorage.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <vector>

namespace test {

/// Puts a frame through everything that a view offers, next to a guard page, and looks at what it leaves
/// behind.
template <typename Message>
class FrameTorture
{
public:
    using Edit = void (*)(Message&);
    using Observe = std::string (*)(const Message&); ///< all that can be read from a frame, as one text

    /// @p bait: what would make sense behind the end of a frame, if the view looked there.
    FrameTorture(Observe allOf, std::span<const Edit> allEdits, const std::vector<Bytes>& baits)
        : observe(allOf), edits(allEdits), bait(baits)
    {
        message.frameInfo = reinterpret_cast<decltype(message.frameInfo)>(storage.bytes().data());
    }

    void run(const Bytes& frame, const std::string& what)
    {
        SCOPED_TRACE(what);
        readsNothingBehindTheEnd(frame);
        for (const Edit edit : edits) {
            ASSERT_TRUE(message.load(frame));
            edit(message);
            checkBounds();
        }
        ASSERT_TRUE(message.load(frame));
        for (int round = 0; round < 2; ++round)
            for (const Edit edit : edits) {
                edit(message);
                checkBounds();
            }
        (void)observe(message);
        (void)message.prepareReceive();
        const auto bytes = storage.bytes();
        ASSERT_EQ(std::count(bytes.begin(), bytes.end(), 0), std::ssize(bytes)) << "left for the next frame";
    }

private:
    void readsNothingBehindTheEnd(const Bytes& frame)
    {
        ASSERT_TRUE(message.load(frame));
        const std::string seen = observe(message);
        // The record is always there, zeroed where it has not come.
        const auto tail = storage.bytes().subspan(std::max(frame.size(), recordSize));
        for (const Bytes& pattern : bait) {
            for (std::size_t i = 0; i < tail.size(); ++i)
                tail[i] = pattern[i % pattern.size()];
            ASSERT_EQ(observe(message), seen);
        }
        std::fill(tail.begin(), tail.end(), 0);
    }

    void checkBounds() const
    {
        ASSERT_LE(message.receivedSize(), Message::capacity);
        ASSERT_LE(message.bytesToSend().size(), message.receivedSize());
        ASSERT_LE(message.dhcpMessageBytes().size(), message.receivedSize());
    }

    const Observe observe;
    const std::span<const Edit> edits;
    const std::vector<Bytes>& bait;
    CapturedLog silenced;
    GuardedStorage storage;
    Message message;
};

} // namespace test
