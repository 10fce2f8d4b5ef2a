#include "relay/io/FrameSocket.h"

#include <array>
#include <boost/thread/thread.hpp>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

// Forgets the wake-ups so far; true if there was one.
bool drain(int wakeFd)
{
    eventfd_t count = 0;
    return ::eventfd_read(wakeFd, &count) == 0;
}

} // namespace

FrameSocket::FrameSocket(std::string device, const DebugSink& debug, int receiveBufferBytes)
    : deviceName(std::move(device)), ioDebug(debug), receiveBuffer(receiveBufferBytes),
      wakeFd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{}

FrameSocket::~FrameSocket()
{
    FrameSocket::close();
    if (wakeFd != -1)
        ::close(wakeFd);
}

int FrameSocket::open()
{
    int mtu = 1500;
    fd = openPacketSocket(deviceName.c_str(), mtu, ioDebug, receiveBuffer);
    return fd;
}

void FrameSocket::close()
{
    if (fd == -1)
        return;
    ::close(fd);
    fd = -1;
}

void FrameSocket::adopt(int descriptor)
{
    FrameSocket::close();
    fd = descriptor;
}

// Asks for a frame first and rests only when there is none: in a burst each frame costs one call less.
int FrameSocket::read(std::span<std::uint8_t> buffer)
{
    for (;;) {
        const ssize_t got = ::recv(fd, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (got >= 0)
            return static_cast<int>(got);
        if (errno == EAGAIN || errno == EWOULDBLOCK)
            waitForFrame();
        else if (errno != EINTR)
            return -1;
    }
}

void FrameSocket::waitForFrame() const
{
    std::array<pollfd, 2> wanted{{{fd, POLLIN, 0}, {wakeFd, POLLIN, 0}}};
    // A signal ends the wait early; the caller asks the socket again and comes back.
    static_cast<void>(::poll(wanted.data(), wanted.size(), -1));
    if ((wanted[1].revents & POLLIN) != 0)
        drain(wakeFd);
    boost::this_thread::interruption_point();
}

long FrameSocket::write(std::span<const std::uint8_t> frame)
{
    return ::send(fd, frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

void FrameSocket::rest(std::chrono::microseconds duration)
{
    using std::chrono::nanoseconds;
    const auto end = std::chrono::steady_clock::now() + duration;
    pollfd wanted{wakeFd, POLLIN, 0};
    for (;;) {
        const nanoseconds left = end - std::chrono::steady_clock::now();
        if (left <= nanoseconds::zero())
            return;
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        const timespec time{seconds.count(), nanoseconds(left - seconds).count()};
        if (::ppoll(&wanted, 1, &time, nullptr) <= 0)
            continue;
        // The wake-up stays in place for the wait in read().
        if (boost::this_thread::interruption_requested())
            return;
        // Left over from a thread that ended before it looked: it would end every rest of this one.
        drain(wakeFd);
    }
}

void FrameSocket::wakeUp() { static_cast<void>(::eventfd_write(wakeFd, 1)); }
