#pragma once

#include "vnode/model/DriverRequests.h"
#include "vnode/model/Faults.h"
#include "vnode/model/Filters.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace vnode {

/// Answer of a driver call: the value of the system call of that name, and its errno when the value is -1.
struct DriverReply
{
    long value = 0;
    int error = 0;

    [[nodiscard]] static DriverReply failure(int error) { return {-1, error}; }
};

/// One call that reached the driver, as tests and operators look at it.
struct DriverCall
{
    Operation operation = Operation::driverOpen;
    std::string path;
    unsigned long request = 0;      ///< ioctl only
    std::vector<std::uint8_t> data; ///< record as it came in, or bytes written
    DriverReply reply;
};

/**
 * The bridge's file nodes. Handles are the model's own numbers, not descriptors, and stay open until closed.
 * A path that is not there answers ENOENT, a request that the node does not know ENOTTY.
 *
 * Source guard and ARP inspection have no engine here yet: their nodes can be opened, and every request to
 * them is noted in the journal and answers EOPNOTSUPP.
 */
class DriverNodes
{
public:
    static constexpr std::size_t journalLimit = 4096; ///< older calls are forgotten

    DriverNodes(Filters& filterTable, Faults& faultTable) : filters(filterTable), faults(faultTable) {}

    [[nodiscard]] DriverReply open(const std::string& path, int flags);
    /// @p record holds recordSize(request) bytes, changed in place by requests that answer in it.
    [[nodiscard]] DriverReply ioctl(int handle, unsigned long request, std::span<std::uint8_t> record);
    [[nodiscard]] DriverReply write(int handle, std::span<const std::uint8_t> data);
    DriverReply close(int handle);

    [[nodiscard]] const std::deque<DriverCall>& journal() const { return calls; }
    void clearJournal() { calls.clear(); }
    [[nodiscard]] std::size_t openCount() const { return handles.size(); }

private:
    struct Handle
    {
        NodePath path;
        int flags = 0;
    };

    DriverReply dispatch(NodePath path, unsigned long request, std::span<std::uint8_t> record);
    DriverReply attach(std::span<const std::uint8_t> record);
    static DriverReply takeText(NodePath path);
    DriverReply note(DriverCall call, DriverReply reply);

    Filters& filters;
    Faults& faults;
    std::unordered_map<int, Handle> handles;
    std::deque<DriverCall> calls;
    int nextHandle = firstHandle;

    static constexpr int firstHandle = 1;
};

} // namespace vnode
