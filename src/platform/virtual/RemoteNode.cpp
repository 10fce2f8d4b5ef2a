#include "platform/virtual/RemoteNode.h"

#include "vnode/control/Wire.h"
#include "vnode/control/Xdr.h"

#include <algorithm>
#include <cerrno>
#include <functional>

namespace platform::virtualNode {

using vnode::DriverReply;
using vnode::control::Backing;
using vnode::control::Decoded;
using vnode::control::fitsProtocol;

namespace {

/// A request's text: arguments are not const because decoding shares the records.
char* textOf(const std::string& text) { return const_cast<char*>(text.c_str()); }

} // namespace

/// @p stub makes a change; @p repeat does the same to the copied registry.
template <typename Stub>
int RemoteNode::change(Stub&& stub, const std::function<void(vnode::Registry&)>& repeat)
{
    vnodeChange reply{};
    if (const int error = client.call([&](CLIENT* handle) { return stub(&reply, handle); }))
        return error;
    if (reply.error == 0)
        cached.apply(reply.stamp, repeat);
    return reply.error;
}

int RemoteNode::addInterface(const Interfaces::Interface& row)
{
    if (!fitsProtocol(row.name) || !fitsProtocol(row.linuxName) || !fitsProtocol(row.description))
        return EINVAL;
    Backing backing;
    const vnodeInterface wire = vnode::control::toWire(row, backing);
    return change(
        [&](vnodeChange* reply, CLIENT* handle) { return vnode_interface_add_1(wire, reply, handle); },
        [&](vnode::Registry& registry) { registry.put(row); });
}

int RemoteNode::renameInterface(std::uint32_t id, const std::string& name)
{
    if (!fitsProtocol(name))
        return EINVAL;
    return change([&](vnodeChange* reply,
                      CLIENT* handle) { return vnode_interface_rename_1(id, textOf(name), reply, handle); },
                  [&](vnode::Registry& registry) { registry.rename(id, name); });
}

int RemoteNode::setInterfaceParent(std::uint32_t id, std::uint32_t parentId)
{
    return change([&](vnodeChange* reply,
                      CLIENT* handle) { return vnode_interface_set_parent_1(id, parentId, reply, handle); },
                  [&](vnode::Registry& registry) { registry.setParent(id, parentId); });
}

int RemoteNode::setInterfacePosition(std::uint32_t id, const Interfaces::slot_port_s& position)
{
    const vnodePosition wire = vnode::control::toWire(position);
    return change([&](vnodeChange* reply,
                      CLIENT* handle) { return vnode_interface_set_position_1(id, wire, reply, handle); },
                  [&](vnode::Registry& registry) { registry.setPosition(id, position); });
}

int RemoteNode::describeInterface(std::uint32_t id, const std::string& text)
{
    if (!fitsProtocol(text))
        return EINVAL;
    return change([&](vnodeChange* reply,
                      CLIENT* handle) { return vnode_interface_describe_1(id, textOf(text), reply, handle); },
                  [&](vnode::Registry& registry) { registry.describe(id, text); });
}

int RemoteNode::markMacVlans(const zomacTableMacPort& key, zomacTableVlanBitmap& bitmap)
{
    const vnodeMac mac = vnode::control::toWire(key.mac);
    vnodeMacVlans reply{};
    const int error =
        client.call([&](CLIENT* handle) { return vnode_mac_vlans_1(mac, key.interfaceId, &reply, handle); });
    if (error != 0)
        return error;
    if (reply.error != 0)
        return reply.error;
    std::ranges::transform(bitmap, reply.words, bitmap.begin(), std::bit_or<>());
    return 0;
}

int RemoteNode::createPseudoDevice(const std::string& name)
{
    if (!fitsProtocol(name))
        return EINVAL;
    int answer = 0;
    const int error =
        client.call([&](CLIENT* handle) { return vnode_pseudo_create_1(textOf(name), &answer, handle); });
    return error != 0 ? error : answer;
}

int RemoteNode::openControl()
{
    int answer = 0;
    const int error = client.call([&](CLIENT* handle) { return vnode_open_control_1(&answer, handle); });
    return error != 0 ? error : answer;
}

DriverReply RemoteNode::driverOpen(const std::string& path, int flags)
{
    if (!fitsProtocol(path))
        return DriverReply::failure(ENAMETOOLONG);
    vnodeDriverReply reply{};
    RemoteHandle opened;
    const int error = client.callNumbered([&](CLIENT* handle, std::uint64_t connection) {
        opened.connection = connection;
        return vnode_driver_open_1(textOf(path), flags, &reply, handle);
    });
    if (error != 0)
        return DriverReply::failure(error);
    if (reply.value < 0)
        return DriverReply::failure(reply.error);

    opened.number = static_cast<int>(reply.value);
    const std::lock_guard lock(mutex);
    const int handle = nextHandle++;
    handles[handle] = opened;
    return {handle, 0};
}

std::optional<RemoteNode::RemoteHandle> RemoteNode::find(int handle)
{
    const std::lock_guard lock(mutex);
    const auto found = handles.find(handle);
    return found != handles.end() ? std::optional(found->second) : std::nullopt;
}

/// Runs @p stub(number, CLIENT*) on the connection that the handle was opened on, or fails with EBADF.
template <typename Stub>
DriverReply RemoteNode::onHandle(int handle, Stub&& stub)
{
    const auto remote = find(handle);
    if (!remote)
        return DriverReply::failure(EBADF);
    bool lost = false;
    const int error = client.callNumbered([&](CLIENT* rpc, std::uint64_t connection) {
        lost = connection != remote->connection;
        return lost ? RPC_SUCCESS : stub(remote->number, rpc);
    });
    if (error != 0)
        return DriverReply::failure(error);
    return lost ? DriverReply::failure(EBADF) : DriverReply{};
}

DriverReply RemoteNode::driverIoctl(int handle, unsigned long request, std::span<std::uint8_t> record)
{
    if (record.size() > VNODE_RECORD_MAX)
        return DriverReply::failure(EINVAL);
    const vnodeDriverRecord sent{static_cast<u_int>(record.size()), reinterpret_cast<char*>(record.data())};
    Decoded<vnodeDriverReply, xdr_vnodeDriverReply> reply;
    const DriverReply outcome = onHandle(handle, [&](int number, CLIENT* rpc) {
        return vnode_driver_ioctl_1(number, request, sent, reply.get(), rpc);
    });
    if (outcome.value < 0)
        return outcome;
    const std::size_t answered = std::min<std::size_t>(record.size(), reply->record.vnodeDriverRecord_len);
    std::copy_n(reply->record.vnodeDriverRecord_val, answered, record.begin());
    return {static_cast<long>(reply->value), reply->error};
}

DriverReply RemoteNode::driverWrite(int handle, std::span<const std::uint8_t> data)
{
    // A larger write is taken in part, as write() may.
    const auto size = static_cast<u_int>(std::min<std::size_t>(data.size(), VNODE_WRITE_MAX));
    const vnodeDriverData sent{size, reinterpret_cast<char*>(const_cast<std::uint8_t*>(data.data()))};
    Decoded<vnodeDriverReply, xdr_vnodeDriverReply> reply;
    const DriverReply outcome = onHandle(handle, [&](int number, CLIENT* rpc) {
        return vnode_driver_write_1(number, sent, reply.get(), rpc);
    });
    return outcome.value < 0 ? outcome : DriverReply{static_cast<long>(reply->value), reply->error};
}

DriverReply RemoteNode::driverClose(int handle)
{
    Decoded<vnodeDriverReply, xdr_vnodeDriverReply> reply;
    const DriverReply outcome = onHandle(
        handle, [&](int number, CLIENT* rpc) { return vnode_driver_close_1(number, reply.get(), rpc); });
    const std::lock_guard lock(mutex);
    handles.erase(handle);
    return outcome.value < 0 ? outcome : DriverReply{static_cast<long>(reply->value), reply->error};
}

void RemoteNode::note(const std::string& text)
{
    // Long remarks are cut. Errors are ignored: nothing depends on a remark.
    const std::string cut(text, 0, VNODE_TEXT_MAX);
    int answer = 0;
    static_cast<void>(
        client.call([&](CLIENT* handle) { return vnode_note_1(textOf(cut), &answer, handle); }));
}

std::shared_ptr<NodeAccess> connectRemoteNode(const std::string& socketPath)
{
    return std::make_shared<RemoteNode>(socketPath);
}

} // namespace platform::virtualNode
