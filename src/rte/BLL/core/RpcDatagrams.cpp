#include "rte/BLL/core/RpcDatagrams.h"

#include <array>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace {

constexpr int noDatagram = -1;

/// By descriptor; of the thread that runs the loop.
thread_local std::array<int, FD_SETSIZE> sizes;

bool isDatagramSocket(int fd)
{
    int type = 0;
    socklen_t size = sizeof type;
    return getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_DGRAM;
}

int waitingSize(int fd)
{
    int size = 0;
    return isDatagramSocket(fd) && ioctl(fd, FIONREAD, &size) == 0 ? size : noDatagram;
}

} // namespace

void noteWaitingDatagrams(const fd_set& ready)
{
    for (int fd = 0; fd < FD_SETSIZE; ++fd)
        if (FD_ISSET(fd, &ready))
            sizes[static_cast<std::size_t>(fd)] = waitingSize(fd);
}

std::optional<std::size_t> datagramSize(int fd)
{
    const int size = fd < 0 || fd >= FD_SETSIZE ? noDatagram : sizes[static_cast<std::size_t>(fd)];
    if (size == noDatagram)
        return std::nullopt;
    return static_cast<std::size_t>(size);
}
