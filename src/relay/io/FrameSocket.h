#pragma once

#include "relay/io/FrameIo.h"
#include "relay/io/PacketSocket.h"
#include "relay/model/DebugSink.h"

#include <string>

/**
 * The raw socket of one engine on its pseudo device, with a wake-up descriptor beside it: an interruption
 * alone does not end a system call, so the thread rests on both. The socket has no receive time-out; one
 * would turn the signal of a stack report into a read error.
 */
class FrameSocket final : public FrameIo
{
public:
    /// @p debug must outlive the socket.
    FrameSocket(std::string device, const DebugSink& debug, int receiveBufferBytes = restartBurstBytes);
    ~FrameSocket() override;

    int open() override;
    void close() override;
    [[nodiscard]] int descriptor() const override { return fd; }
    [[nodiscard]] int read(std::span<std::uint8_t> buffer) override;
    [[nodiscard]] long write(std::span<const std::uint8_t> frame) override;
    void rest(std::chrono::microseconds duration) override;
    void wakeUp() override;

    /// Takes over a descriptor that keeps message borders, such as one end of a SOCK_SEQPACKET pair, instead
    /// of a socket on the device: how a fuzzer or a benchmark feeds frames.
    void adopt(int descriptor);

private:
    void waitForFrame() const;

    const std::string deviceName;
    const DebugSink& ioDebug;
    const int receiveBuffer; // bytes
    int fd = -1;             // frame thread, or a thread that knows it to be at rest
    const int wakeFd;        // eventfd, not readable until woken
};
