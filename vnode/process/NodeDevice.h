#pragma once

#include "vnode/control/Host.h"
#include "vnode/process/FrameDevice.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vnode {

/// What passed a device and what did not; rows in NodeDevice.cpp give the names.
struct DeviceCounters
{
    std::uint64_t rxFrames = 0;
    std::uint64_t rxBytes = 0;
    std::uint64_t rxSkipped = 0;
    std::uint64_t rxOversize = 0;
    std::uint64_t rxLost = 0; ///< by the kernel, for want of room
    std::uint64_t rxErrors = 0;
    std::uint64_t txFrames = 0;
    std::uint64_t txBytes = 0;
    std::uint64_t txOversize = 0;
    std::uint64_t txFull = 0;
    std::uint64_t txDown = 0; ///< link down or device absent
    std::uint64_t txErrors = 0;
    std::uint64_t opened = 0; ///< how often
};

/// What a device is for.
enum class DeviceRole { port, internal, pseudo };

/// A device of the node with its counters and the state that was last reported of it.
class NodeDevice
{
public:
    NodeDevice(DeviceRole role, std::size_t number, std::unique_ptr<FrameDevice> frames)
        : deviceRole(role), portNumber(number), io(std::move(frames))
    {}

    [[nodiscard]] DeviceRole role() const { return deviceRole; }
    [[nodiscard]] std::size_t number() const { return portNumber; } ///< in the node file; ports only
    [[nodiscard]] const std::string& name() const { return io->name(); }
    [[nodiscard]] FrameDevice& frames() { return *io; }

    [[nodiscard]] bool open(std::string& reason);
    [[nodiscard]] IoResult receive(FrameBuffer& buffer, std::span<std::uint8_t>& frame);
    void send(std::span<const std::uint8_t> frame);

    [[nodiscard]] control::LinkState state() const;
    /// The state when it is another one than this function told last.
    [[nodiscard]] std::optional<control::LinkState> news();

    [[nodiscard]] std::vector<control::NamedCount> counters();
    void clearCounters();

private:
    DeviceRole deviceRole;
    std::size_t portNumber;
    std::unique_ptr<FrameDevice> io;
    DeviceCounters counts;
    std::optional<control::LinkState> told;
};

} // namespace vnode
