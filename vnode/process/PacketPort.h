#pragma once

#include "vnode/loop/UniqueFd.h"
#include "vnode/process/FrameDevice.h"

namespace vnode {

/**
 * A named Linux device (veth end, real card) through a packet socket. Frames come whole: the tag that the
 * kernel moved aside is back in its place and a checksum that the sender left open is computed.
 */
class PacketPort : public FrameDevice
{
public:
    using FrameDevice::FrameDevice;

    [[nodiscard]] bool open(std::string& reason) override;
    void close() override;
    [[nodiscard]] int descriptor() const override { return socket.get(); }

    [[nodiscard]] IoResult receive(FrameBuffer& buffer, std::span<std::uint8_t>& frame) override;
    [[nodiscard]] IoResult send(std::span<const std::uint8_t> frame) override;
    [[nodiscard]] std::uint32_t takeKernelDrops() override;

private:
    UniqueFd socket;
};

} // namespace vnode
