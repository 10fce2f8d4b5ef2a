#pragma once

#include "platform/Interfaces.h"
#include "platform/zomacTable.h"
#include "vnode/model/DriverNodes.h"
#include "vnode/model/Faults.h"
#include "vnode/model/Picture.h"

#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <span>
#include <string>
#include <utility>

namespace platform::virtualNode {

/// A picture that nobody changes while this object lives; empty when the node cannot be reached. Hold it for
/// one look-up, never across a call that changes the node.
class PictureReader
{
public:
    PictureReader() = default;
    PictureReader(std::shared_lock<std::shared_mutex> lock, const vnode::Picture& picture)
        : guard(std::move(lock)), view(&picture)
    {}

    explicit operator bool() const { return view != nullptr; }
    const vnode::Picture* operator->() const { return view; }
    const vnode::Picture& operator*() const { return *view; }

private:
    std::shared_lock<std::shared_mutex> guard;
    const vnode::Picture* view = nullptr;
};

/**
 * The way to a virtual node: in this process, or over the control socket of vnode. All operations may be
 * called from any thread. Integer answers are 0 or an errno; a node that cannot be reached answers
 * ECONNREFUSED and is tried again at the next call.
 *
 * Reads of registry, VLANs and facts happen several times a frame. They are served from a picture, which an
 * implementation may keep as a copy for as long as the node's generation is the copy's (vnode::Picture); a
 * change that the daemon makes itself is visible to the very next read.
 */
class NodeAccess
{
public:
    virtual ~NodeAccess() = default;

    [[nodiscard]] virtual PictureReader picture() = 0;

    [[nodiscard]] virtual int addInterface(const Interfaces::Interface& row) = 0;
    [[nodiscard]] virtual int renameInterface(std::uint32_t id, const std::string& name) = 0;
    [[nodiscard]] virtual int setInterfaceParent(std::uint32_t id, std::uint32_t parentId) = 0;
    [[nodiscard]] virtual int setInterfacePosition(std::uint32_t id,
                                                   const Interfaces::slot_port_s& position) = 0;
    [[nodiscard]] virtual int describeInterface(std::uint32_t id, const std::string& text) = 0;

    /// Sets bits only; @p bitmap stays as it is on failure.
    [[nodiscard]] virtual int markMacVlans(const zomacTableMacPort& key, zomacTableVlanBitmap& bitmap) = 0;

    /// When it answers 0 the device is there and can be opened.
    [[nodiscard]] virtual int createPseudoDevice(const std::string& name) = 0;
    [[nodiscard]] virtual int openControl() = 0;

    // Driver file nodes, see vnode::DriverNodes; handles are never negative.
    [[nodiscard]] virtual vnode::DriverReply driverOpen(const std::string& path, int flags) = 0;
    /// @p record has the size that the request's row gives; changed in place by requests that answer in it.
    [[nodiscard]] virtual vnode::DriverReply driverIoctl(int handle, unsigned long request,
                                                         std::span<std::uint8_t> record) = 0;
    [[nodiscard]] virtual vnode::DriverReply driverWrite(int handle, std::span<const std::uint8_t> data) = 0;
    virtual vnode::DriverReply driverClose(int handle) = 0;

    /// A remark to a part of the node that is not modelled, such as a debug call; kept for tests and
    /// operators.
    virtual void note(const std::string&) {}

    /// Errno with which a read served from the picture has to fail now, or 0: fault injection of tests.
    [[nodiscard]] virtual int readFault(vnode::Operation) { return 0; }
};

/**
 * The node that every platform call goes to from now on. Not to be called while another thread may be inside
 * such a call. Without it the first call connects to vnode: at "/run/vnode.sock", or where VNODE_SOCKET says.
 */
void use(std::shared_ptr<NodeAccess> node);

/// The node in use.
[[nodiscard]] NodeAccess& current();

/// Client of a vnode process, in RemoteNode.cpp. Never null: it connects when asked something, and again
/// after the process went away.
[[nodiscard]] std::shared_ptr<NodeAccess> connectRemoteNode(const std::string& socketPath);

} // namespace platform::virtualNode
