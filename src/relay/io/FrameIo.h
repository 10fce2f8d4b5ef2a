#pragma once

#include <chrono>
#include <cstdint>
#include <span>

/**
 * What a frame engine needs of the raw socket on its pseudo device. The engine's frame thread is the only
 * caller, except for wakeUp(); tests put a scripted object in the place of FrameSocket.
 */
class FrameIo
{
public:
    virtual ~FrameIo() = default;

    /// Opens the socket anew; the descriptor, or -1 with the reason in the log. A socket that is still open
    /// is not closed by this.
    virtual int open() = 0;
    virtual void close() = 0;

    /// The descriptor, -1 when closed.
    [[nodiscard]] virtual int descriptor() const = 0;

    /**
     * Rests until a frame has come and reads it, cut at the size of @p buffer. The answer and errno of
     * recv(): bytes, 0 for a closed peer, -1 for an error. An interruption of the thread ends the wait at
     * once by boost::thread_interrupted.
     */
    [[nodiscard]] virtual int read(std::span<std::uint8_t> buffer) = 0;

    /// Never blocks; the answer and errno of send().
    [[nodiscard]] virtual long write(std::span<const std::uint8_t> frame) = 0;

    /// Sleeps; an interruption of the thread ends the sleep early, once it has been woken up.
    virtual void rest(std::chrono::microseconds duration) = 0;

    /// From any thread: ends a wait in read() or rest(), so that an interruption is seen in time.
    virtual void wakeUp() = 0;

protected:
    FrameIo() = default;
    FrameIo(const FrameIo&) = delete;
    FrameIo& operator=(const FrameIo&) = delete;
};
