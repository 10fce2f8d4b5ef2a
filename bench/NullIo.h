#pragma once

#include "relay/io/FrameIo.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <span>

/// The pseudo device of a benchmark without a kernel: takes everything and gives nothing.
class NullIo final : public FrameIo
{
public:
    int open() override { return 3; }
    void close() override {}
    [[nodiscard]] int descriptor() const override { return 3; }
    [[nodiscard]] int read(std::span<std::uint8_t>) override { return 0; }
    [[nodiscard]] long write(std::span<const std::uint8_t> frame) override
    {
        benchmark::DoNotOptimize(frame.data());
        return static_cast<long>(frame.size());
    }
    void rest(std::chrono::microseconds) override {}
    void wakeUp() override {}
};
