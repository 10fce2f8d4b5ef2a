#pragma once

#include "platform/virtual/NodeAccess.h"
#include "vnode/model/Node.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <shared_mutex>

namespace platform::virtualNode {

/// A model in this process. Other users of the model go through withNode(), which takes the same lock.
class InProcessNode : public NodeAccess
{
public:
    explicit InProcessNode(vnode::NodeDescription description) : node(std::move(description)) {}

    [[nodiscard]] PictureReader picture() override;
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
    [[nodiscard]] int readFault(vnode::Operation operation) override;

    /// Runs @p work on the model under the lock.
    template <typename Work>
    decltype(auto) withNode(Work&& work)
    {
        const std::unique_lock lock(mutex);
        const FaultsSeen afterwards(*this);
        return std::forward<Work>(work)(node);
    }

private:
    /// Updates hasFaults when work on the model ends.
    class FaultsSeen
    {
    public:
        explicit FaultsSeen(InProcessNode& inProcess) : owner(inProcess) {}
        ~FaultsSeen() { owner.hasFaults = !owner.node.faults().empty(); }
        FaultsSeen(const FaultsSeen&) = delete;
        FaultsSeen& operator=(const FaultsSeen&) = delete;

    private:
        InProcessNode& owner;
    };

    std::shared_mutex mutex; ///< guards node
    vnode::Node node;
    std::atomic<bool> hasFaults{false}; ///< what every read asks first, so without the lock
};

} // namespace platform::virtualNode
