#include "vnode/process/TapDevice.h"

#include "vnode/process/LinkSettings.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sys/ioctl.h>

namespace vnode {

namespace {

// What the far end sends waits here until the loop reads it: room for a restart burst (see PacketPort.cpp).
constexpr int queueFrames = 16384;

IoResult resultOfErrno(int error)
{
    switch (error) {
    case EAGAIN:
    case EINTR:
        return IoResult::nothing;
    case EIO: // the far end is not up
        return IoResult::down;
    case EBADFD: // the device was deleted under us
        return IoResult::gone;
    default:
        return IoResult::failed;
    }
}

} // namespace

bool TapDevice::open(std::string& reason)
{
    close();
    const auto failed = [&reason](const char* step) {
        const int error = errno;
        reason = std::string(step) + ": " + std::strerror(error);
        errno = error;
        return false;
    };
    UniqueFd fd(::open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!fd)
        return failed("/dev/net/tun");
    ifreq request{};
    name().copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_flags = IFF_TAP | IFF_NO_PI;
    if (::ioctl(fd.get(), TUNSETIFF, &request) != 0)
        return failed("TUNSETIFF");
    if (settings.quiet)
        link::silenceIpv6(name());
    if (!link::setMtu(name(), settings.mtu) || !link::setQueueLength(name(), queueFrames))
        return failed("MTU and queue length");
    if (settings.mac && !link::setMac(name(), *settings.mac))
        return failed("MAC");
    if (settings.bringUp && !link::setUp(name()))
        return failed("link up");
    // Whoever brought the device up the first time does not know that it was made again.
    settings.bringUp = true;
    index = ::if_nametoindex(name().c_str());
    tap = std::move(fd);
    return true;
}

void TapDevice::close()
{
    tap.reset();
    index = 0;
}

IoResult TapDevice::receive(FrameBuffer& buffer, std::span<std::uint8_t>& frame)
{
    const auto landing = buffer.landing();
    const ssize_t count = ::read(tap.get(), landing.data(), landing.size());
    if (count < 0)
        return resultOfErrno(errno);
    frame = landing.first(static_cast<std::size_t>(count));
    return IoResult::done;
}

IoResult TapDevice::send(std::span<const std::uint8_t> frame)
{
    if (::write(tap.get(), frame.data(), frame.size()) >= 0)
        return IoResult::done;
    return errno == EAGAIN ? IoResult::full : resultOfErrno(errno);
}

} // namespace vnode
