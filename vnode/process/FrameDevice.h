#pragma once

#include "vnode/process/FrameRepair.h"

#include <cstdint>
#include <span>
#include <string>

namespace vnode {

/// What a device did with a frame, or why it gave none.
enum class IoResult {
    done,
    nothing,  ///< no frame is waiting
    skipped,  ///< one was there that is not for us (sent by this machine, a runt)
    oversize, ///< longer than the buffer or than the device's MTU
    full,     ///< the device's queue has no room
    down,     ///< the link is down, or has just gone down
    gone,     ///< the device no longer exists
    failed,
};

/// Where frames come from and go to: a Linux device through a packet socket, or the near end of a TAP.
class FrameDevice
{
public:
    explicit FrameDevice(std::string linuxName) : deviceName(std::move(linuxName)) {}
    virtual ~FrameDevice() = default;
    FrameDevice(const FrameDevice&) = delete;
    FrameDevice& operator=(const FrameDevice&) = delete;

    [[nodiscard]] const std::string& name() const { return deviceName; }

    /// Opens, or opens anew; on failure @p reason tells why, errno is that of the failed step, and it is
    /// closed.
    [[nodiscard]] virtual bool open(std::string& reason) = 0;
    virtual void close() = 0;
    /// Readable when receive() has something to say; -1 when closed.
    [[nodiscard]] virtual int descriptor() const = 0;
    [[nodiscard]] bool isOpen() const { return descriptor() >= 0; }

    /// True when it is open and the Linux device of that name is no longer the one that was opened.
    [[nodiscard]] bool isStale() const;
    /// True when the Linux device is there, set up and its other end too.
    [[nodiscard]] bool hasLink() const;

    /// Takes one frame without waiting; @p frame is a window in @p buffer, valid until the next call with it.
    [[nodiscard]] virtual IoResult receive(FrameBuffer& buffer, std::span<std::uint8_t>& frame) = 0;
    /// Never waits.
    [[nodiscard]] virtual IoResult send(std::span<const std::uint8_t> frame) = 0;

    /// Frames that the kernel dropped since the last call because nobody took them in time.
    [[nodiscard]] virtual std::uint32_t takeKernelDrops() { return 0; }

protected:
    unsigned index = 0; ///< of the Linux device that was opened

private:
    const std::string deviceName;
};

} // namespace vnode
