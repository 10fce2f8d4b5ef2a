#pragma once

#include "platform/virtual/NodeAccess.h"
#include "platform/virtual/RemotePicture.h"
#include "vnode/control/ControlClient.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace platform::virtualNode {

/**
 * A vnode process over its control socket. Thread-safe, its locks are leaves. Driver handles end with the
 * connection, as descriptors end with a driver that is unloaded: later calls on them answer EBADF.
 */
class RemoteNode : public NodeAccess
{
public:
    explicit RemoteNode(const std::string& socketPath) : client(socketPath), cached(client, socketPath) {}

    [[nodiscard]] PictureReader picture() override { return cached.read(); }

    [[nodiscard]] int addInterface(const Interfaces::Interface& row) override;
    [[nodiscard]] int renameInterface(std::uint32_t id, const std::string& name) override;
    [[nodiscard]] int setInterfaceParent(std::uint32_t id, std::uint32_t parentId) override;
    [[nodiscard]] int setInterfacePosition(std::uint32_t id,
                                           const Interfaces::slot_port_s& position) override;
    [[nodiscard]] int describeInterface(std::uint32_t id, const std::string& text) override;

    [[nodiscard]] int markMacVlans(const zomacTableMacPort& key, zomacTableVlanBitmap& bitmap) override;

    [[nodiscard]] int createPseudoDevice(const std::string& name) override;
    [[nodiscard]] int openControl() override;

    [[nodiscard]] vnode::DriverReply driverOpen(const std::string& path, int flags) override;
    [[nodiscard]] vnode::DriverReply driverIoctl(int handle, unsigned long request,
                                                 std::span<std::uint8_t> record) override;
    [[nodiscard]] vnode::DriverReply driverWrite(int handle, std::span<const std::uint8_t> data) override;
    vnode::DriverReply driverClose(int handle) override;

    void note(const std::string& text) override;

private:
    /// The node's handle, and the connection that it belongs to.
    struct RemoteHandle
    {
        int number = 0;
        std::uint64_t connection = 0;
    };

    template <typename Stub>
    int change(Stub&& stub, const std::function<void(vnode::Registry&)>& repeat);
    template <typename Stub>
    vnode::DriverReply onHandle(int handle, Stub&& stub);
    [[nodiscard]] std::optional<RemoteHandle> find(int handle);

    vnode::control::ControlClient client;
    RemotePicture cached;

    std::mutex mutex; ///< guards what follows; no other lock is taken below it
    std::unordered_map<int, RemoteHandle> handles;
    int nextHandle = 1;
};

} // namespace platform::virtualNode
