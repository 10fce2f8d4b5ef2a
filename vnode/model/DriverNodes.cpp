#include "vnode/model/DriverNodes.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <utility>

namespace vnode {

namespace {

/// Text of a fixed field: up to its terminator, or the whole field.
std::string fieldText(std::span<const std::uint8_t> record, std::size_t offset, std::size_t size)
{
    const auto field = record.subspan(offset, size);
    return {field.begin(), std::ranges::find(field, std::uint8_t{0})};
}

/// The record of the attach request.
constexpr std::size_t attachFilterSize = 17;
constexpr std::size_t attachDeviceSize = 15;

} // namespace

DriverReply DriverNodes::open(const std::string& path, int flags)
{
    DriverCall call{Operation::driverOpen, path, 0, {}, {}};
    if (const int error = faults.take(Operation::driverOpen, path))
        return note(std::move(call), DriverReply::failure(error));
    const auto node = findNodePath(path);
    if (!node)
        return note(std::move(call), DriverReply::failure(ENOENT));
    const int handle = nextHandle++;
    handles[handle] = {*node, flags};
    return note(std::move(call), {handle, 0});
}

DriverReply DriverNodes::ioctl(int handle, unsigned long request, std::span<std::uint8_t> record)
{
    const auto found = handles.find(handle);
    if (found == handles.end())
        return DriverReply::failure(EBADF);
    const NodePath path = found->second.path;
    DriverCall call{
        Operation::driverIoctl, std::string(nodePathText(path)), request, {record.begin(), record.end()}, {}};
    if (const int error = faults.take(Operation::driverIoctl, nodePathText(path), request))
        return note(std::move(call), DriverReply::failure(error));
    return note(std::move(call), dispatch(path, request, record));
}

DriverReply DriverNodes::dispatch(NodePath path, unsigned long request, std::span<std::uint8_t> record)
{
    const RequestRow* row = findRequest(request);
    if (row == nullptr || row->path != path)
        return DriverReply::failure(ENOTTY);
    if (record.size() < row->recordSize)
        return DriverReply::failure(EFAULT);
    switch (path) {
    case NodePath::bridge:
        return attach(record); // its only request
    case NodePath::acl:
    case NodePath::ipsg:
        return DriverReply::failure(EOPNOTSUPP);
    }
    return DriverReply::failure(ENOTTY);
}

/// Only the ACL node takes text.
DriverReply DriverNodes::takeText(NodePath path)
{
    return DriverReply::failure(path == NodePath::acl ? EOPNOTSUPP : EINVAL);
}

DriverReply DriverNodes::attach(std::span<const std::uint8_t> record)
{
    const std::string filter = fieldText(record, 0, attachFilterSize);
    const std::string device = fieldText(record, attachFilterSize, attachDeviceSize);
    if (const int error = filters.attach(filter, device))
        return DriverReply::failure(error);
    return {};
}

DriverReply DriverNodes::write(int handle, std::span<const std::uint8_t> data)
{
    const auto found = handles.find(handle);
    if (found == handles.end() || (found->second.flags & O_ACCMODE) == O_RDONLY)
        return DriverReply::failure(EBADF);
    const NodePath path = found->second.path;
    const std::string_view text = nodePathText(path);
    DriverCall call{Operation::driverWrite, std::string(text), 0, {data.begin(), data.end()}, {}};
    if (const int error = faults.take(Operation::driverWrite, text))
        return note(std::move(call), DriverReply::failure(error));
    return note(std::move(call), takeText(path));
}

DriverReply DriverNodes::close(int handle)
{
    return handles.erase(handle) != 0 ? DriverReply{} : DriverReply::failure(EBADF);
}

DriverReply DriverNodes::note(DriverCall call, DriverReply reply)
{
    call.reply = reply;
    if (calls.size() >= journalLimit)
        calls.pop_front();
    calls.push_back(std::move(call));
    return reply;
}

} // namespace vnode
