#include "rte/BLL/core/RpcDatagrams.h"

#include "rte/BLL/core/DescriptorSet.h"

#include <array>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace {

/// By descriptor, the size of its datagram plus one; 0: none. Only the thread that runs the loop uses it.
thread_local std::array<std::size_t, FD_SETSIZE> sizesPlusOne;

bool isDatagramSocket(int fd)
{
    int type = 0;
    socklen_t size = sizeof type;
    return getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_DGRAM;
}

std::size_t waitingSizePlusOne(int fd)
{
    int size = 0;
    return isDatagramSocket(fd) && ioctl(fd, FIONREAD, &size) == 0 ? static_cast<std::size_t>(size) + 1 : 0;
}

} // namespace

void noteWaitingDatagrams(const fd_set& ready)
{
    forEachDescriptor(ready,
                      [](int fd) { sizesPlusOne[static_cast<std::size_t>(fd)] = waitingSizePlusOne(fd); });
}

std::optional<std::size_t> datagramSize(int fd)
{
    const bool noted = fd >= 0 && fd < FD_SETSIZE && sizesPlusOne[static_cast<std::size_t>(fd)] != 0;
    if (!noted)
        return std::nullopt;
    return sizesPlusOne[static_cast<std::size_t>(fd)] - 1;
}
