#include "platform/driver.h"

#include "platform/virtual/NodeAccess.h"
#include "vnode/model/DriverRequests.h"

#include <cerrno>

using platform::virtualNode::current;

namespace {

/// Answers as the system call does: the value, and errno when it is -1.
long result(const vnode::DriverReply& reply)
{
    if (reply.value == -1)
        errno = reply.error;
    return reply.value;
}

} // namespace

int driver::open(const char* path, int flags)
{
    if (path == nullptr)
        return static_cast<int>(result(vnode::DriverReply::failure(EFAULT)));
    return static_cast<int>(result(current().driverOpen(path, flags)));
}

int driver::ioctl(int fd, unsigned long request, void* argument)
{
    // Only the row of a request tells the size of the record, so nothing is read for an unknown request.
    const vnode::RequestRow* row = vnode::findRequest(request);
    if (row != nullptr && row->recordSize != 0 && argument == nullptr)
        return static_cast<int>(result(vnode::DriverReply::failure(EFAULT)));
    std::span<std::uint8_t> record;
    if (row != nullptr)
        record = {static_cast<std::uint8_t*>(argument), row->recordSize};
    return static_cast<int>(result(current().driverIoctl(fd, request, record)));
}

ssize_t driver::write(int fd, const void* data, std::size_t size)
{
    if (data == nullptr && size != 0)
        return result(vnode::DriverReply::failure(EFAULT));
    return result(current().driverWrite(fd, {static_cast<const std::uint8_t*>(data), size}));
}

int driver::close(int fd) { return static_cast<int>(result(current().driverClose(fd))); }
