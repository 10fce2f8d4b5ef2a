#pragma once

#include "Frames.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace storm {

/// A raw socket on a device that gives frames as they were on the wire, tag included; throws
/// std::system_error.
class RawPort
{
public:
    RawPort(const std::string& device, int receiveBuffer);
    RawPort(RawPort&& other) noexcept;
    RawPort& operator=(RawPort&&) = delete;
    ~RawPort();

    /// False if the device did not take the frame.
    bool send(std::span<const std::uint8_t> frame);
    /// The next frame, good until the next call; nothing when none waits.
    std::optional<std::span<const std::uint8_t>> receive();
    [[nodiscard]] int descriptor() const { return fd; }
    [[nodiscard]] const Mac& mac() const { return address; }
    /// Frames that this socket had no room for since the last call.
    [[nodiscard]] std::uint32_t takeDrops();

private:
    int fd = -1;
    Mac address{};
    std::array<std::uint8_t, 4096> buffer{};
};

} // namespace storm
