#pragma once

#include "vnode/loop/UniqueFd.h"
#include "vnode/process/FrameDevice.h"

#include <array>
#include <cstdint>
#include <optional>

namespace vnode {

/// Settings of a TAP's far end, the one that the rest of the machine sees as a network device.
struct TapSettings
{
    unsigned mtu = 1500;
    bool quiet = false;   ///< the stack must not speak IPv6 on it by itself
    bool bringUp = false; ///< else whoever asked for it does
    std::optional<std::array<std::uint8_t, 6>> mac;
};

/**
 * A TAP device whose near end this process holds: a pseudo device towards the daemon, or the internal port of
 * the node's own IP stack. The Linux device lives from open() to close().
 */
class TapDevice : public FrameDevice
{
public:
    TapDevice(std::string linuxName, const TapSettings& tapSettings)
        : FrameDevice(std::move(linuxName)), settings(tapSettings)
    {}

    /// EBUSY: somebody else holds a TAP of that name. EINVAL: a device of another kind has the name.
    [[nodiscard]] bool open(std::string& reason) override;
    void close() override;
    [[nodiscard]] int descriptor() const override { return tap.get(); }

    [[nodiscard]] IoResult receive(FrameBuffer& buffer, std::span<std::uint8_t>& frame) override;
    [[nodiscard]] IoResult send(std::span<const std::uint8_t> frame) override;

private:
    TapSettings settings;
    UniqueFd tap;
};

} // namespace vnode
