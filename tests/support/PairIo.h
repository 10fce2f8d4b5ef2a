#pragma once

#include "relay/io/FrameSocket.h"

#include <array>
#include <cstdint>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace test {

/// A real frame socket that opens onto one end of a socket pair instead of a device. The test plays the
/// bridge on the other end.
class PairIo final : public FrameIo
{
public:
    using Frame = std::vector<std::uint8_t>;

    ~PairIo() override { closePeer(); }

    // The bridge's end, while the socket is open and the frame thread does not open it anew

    /// False if the frame did not go.
    [[nodiscard]] bool give(const Frame& frame) const
    {
        return ::send(peer, frame.data(), frame.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(frame.size());
    }
    /// The next frame; empty when none comes within a minute.
    [[nodiscard]] Frame take() const
    {
        pollfd wanted{peer, POLLIN, 0};
        if (::poll(&wanted, 1, 60000) != 1)
            return {};
        Frame frame(2048);
        const ssize_t size = ::recv(peer, frame.data(), frame.size(), 0);
        frame.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        return frame;
    }

    int open() override
    {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0)
            return -1;
        socket.adopt(ends[0]);
        closePeer();
        peer = ends[1];
        return ends[0];
    }
    void close() override { socket.close(); }
    [[nodiscard]] int descriptor() const override { return socket.descriptor(); }
    [[nodiscard]] int read(std::span<std::uint8_t> buffer) override { return socket.read(buffer); }
    [[nodiscard]] long write(std::span<const std::uint8_t> frame) override { return socket.write(frame); }
    void rest(std::chrono::microseconds duration) override { socket.rest(duration); }
    void wakeUp() override { socket.wakeUp(); }

private:
    struct SilentSink final : DebugSink
    {
        [[nodiscard]] bool wantsDebugText() const override { return false; }
        void log(const char*, ...) const override {}
    };

    void closePeer()
    {
        if (peer != -1)
            ::close(peer);
        peer = -1;
    }

    int peer = -1;
    SilentSink sink;
    FrameSocket socket{"br0_test", sink};
};

} // namespace test
