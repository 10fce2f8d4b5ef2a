#pragma once

#include "platform/virtual/NodeAccess.h"
#include "vnode/control/ControlClient.h"
#include "vnode/control/StampFile.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <shared_mutex>
#include <string>

namespace platform::virtualNode {

/**
 * A copy of the node's picture that is fetched when it is asked for and the node's stamp is no longer the
 * copy's. As long as nothing changes, a read costs no system call: the stamp is in shared memory.
 */
class RemotePicture
{
public:
    RemotePicture(vnode::control::ControlClient& controlClient, const std::string& socketPath)
        : client(controlClient), stamps(vnode::control::stampPathOf(socketPath))
    {}

    [[nodiscard]] PictureReader read();

    /// The node has carried out @p change and now has @p stamp. Repeats the change on the copy if no other
    /// change came in between. This saves fetching a large registry again for each row that is written.
    void apply(std::uint64_t stamp, const std::function<void(vnode::Registry&)>& change);

private:
    [[nodiscard]] bool isFresh() const; ///< mutex held
    void refresh();                     ///< mutex held alone

    vnode::control::ControlClient& client;

    std::shared_mutex mutex; ///< guards what follows; the client's lock may be taken below it
    vnode::control::StampReader stamps;
    vnode::Picture copy;
    bool valid = false;

    std::atomic<std::int64_t> nextLook{
        0}; ///< when the stamp's file is looked at again, nanoseconds of Clock::steady
};

} // namespace platform::virtualNode
