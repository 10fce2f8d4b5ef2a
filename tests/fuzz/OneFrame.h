#pragma once

#include "relay/frame/BridgeFrame.h"
#include "relay/io/FrameIo.h"

#include <algorithm>
#include <cstdlib>

/// Gives one frame and then closes; takes whatever leaves, as long as it fits.
class OneFrame final : public FrameIo
{
public:
    std::span<const std::uint8_t> frame;

    int open() override { return 3; }
    void close() override {}
    [[nodiscard]] int descriptor() const override { return 3; }
    [[nodiscard]] int read(std::span<std::uint8_t> buffer) override
    {
        const std::size_t size = std::min(buffer.size(), frame.size());
        std::copy_n(frame.begin(), size, buffer.begin());
        frame = {};
        return static_cast<int>(size);
    }
    [[nodiscard]] long write(std::span<const std::uint8_t> bytes) override
    {
        if (bytes.size() > BridgeFrame::capacity)
            std::abort();
        return static_cast<long>(bytes.size());
    }
    void rest(std::chrono::microseconds) override {}
    void wakeUp() override {}
};
