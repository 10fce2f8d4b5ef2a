#pragma once

#include "relay/io/FrameIo.h"
#include "relay/io/ServerSender.h"

#include <algorithm>
#include <boost/thread/exceptions.hpp>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <new>
#include <utility>
#include <vector>

namespace test {

/// A raw socket by script. When the script of reads is at its end, the reader is interrupted, so that a frame
/// loop can run on the thread of the test.
class FakeFrameIo final : public FrameIo
{
public:
    using Frame = std::vector<std::uint8_t>;
    struct Read
    {
        Frame frame;         ///< empty: the socket has closed
        int error = 0;       ///< an errno instead
        bool throws = false; ///< a std::bad_alloc instead
    };

    std::deque<Read> reads;
    std::deque<int> writeErrors; ///< errno of the next writes; 0 is a success, as is a write behind the last
    std::deque<int> openAnswers; ///< behind the last, 5
    std::vector<Frame> written;
    std::vector<std::chrono::microseconds> rests;
    int fd = 5;
    int opened = 0;
    int closed = 0;
    int woken = 0;

    int open() override
    {
        ++opened;
        return fd = next(openAnswers, 5);
    }
    void close() override
    {
        ++closed;
        fd = -1;
    }
    [[nodiscard]] int descriptor() const override { return fd; }
    [[nodiscard]] int read(std::span<std::uint8_t> buffer) override
    {
        if (reads.empty())
            throw boost::thread_interrupted();
        const Read read = std::move(reads.front());
        reads.pop_front();
        if (read.throws)
            throw std::bad_alloc();
        if (read.error != 0) {
            errno = read.error;
            return -1;
        }
        const std::size_t size = std::min(buffer.size(), read.frame.size());
        std::copy_n(read.frame.begin(), size, buffer.begin());
        return static_cast<int>(size);
    }
    [[nodiscard]] long write(std::span<const std::uint8_t> frame) override
    {
        if (const int error = next(writeErrors, 0); error != 0) {
            errno = error;
            return -1;
        }
        written.emplace_back(frame.begin(), frame.end());
        return static_cast<long>(frame.size());
    }
    void rest(std::chrono::microseconds duration) override { rests.push_back(duration); }
    void wakeUp() override { ++woken; }

private:
    static int next(std::deque<int>& script, int otherwise)
    {
        if (script.empty())
            return otherwise;
        const int answer = script.front();
        script.pop_front();
        return answer;
    }
};

/// Keeps what would go to DHCP servers.
class FakeServerSender final : public ServerSender
{
public:
    struct Datagram
    {
        std::uint32_t server;
        std::vector<std::uint8_t> payload;
    };

    bool opens = true;
    bool routes = true;
    int openSockets = 0;
    std::vector<Datagram> sent;

    [[nodiscard]] bool open() override
    {
        openSockets += opens ? 1 : 0;
        return opens;
    }
    [[nodiscard]] bool allowRouting() override { return routes; }
    void send(std::uint32_t server, std::span<const std::uint8_t> payload) override
    {
        sent.push_back({server, {payload.begin(), payload.end()}});
    }
    void close() override { --openSockets; }
};

} // namespace test
