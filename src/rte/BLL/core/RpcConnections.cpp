#include "rte/BLL/core/RpcConnections.h"

#include "rte/BLL/core/DescriptorSet.h"
#include "rte/BLL/core/RpcStreams.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

bool isConnection(int fd) { return FD_ISSET(fd, &openStreams()); }

/// Asks the kernel each time, since other threads register programs meanwhile.
bool isListening(int fd)
{
    int value = 0;
    socklen_t size = sizeof value;
    return !isConnection(fd) && getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &value, &size) == 0 && value == 1;
}

int countConnections()
{
    int count = 0;
    forEachDescriptor(openStreams(), [&](int) { ++count; });
    return count;
}

/// Whether @p wanted more descriptors are free that select() takes. The kernel hands out the lowest ones
/// first.
bool descriptorsAreLeft(int anyOpen, int wanted)
{
    if (wanted == 0)
        return true;
    const int next = fcntl(anyOpen, F_DUPFD_CLOEXEC, 0);
    if (next == -1)
        return false;
    const bool left = next < FD_SETSIZE && descriptorsAreLeft(anyOpen, wanted - 1);
    close(next);
    return left;
}

fd_set listeningIn(const fd_set& set)
{
    fd_set listening{};
    forEachDescriptor(set, [&](int fd) {
        if (isListening(fd))
            FD_SET(fd, &listening);
    });
    return listening;
}

void remove(fd_set& from, const fd_set& what)
{
    forEachDescriptor(what, [&](int fd) { FD_CLR(fd, &from); });
}

} // namespace

fd_set RpcConnections::toWatch(const fd_set& transports)
{
    noteNew(transports);
    fd_set watched = transports;
    if (wasFull)
        remove(watched, listeningIn(watched));
    wasFull = false;
    return watched;
}

void RpcConnections::makeRoom(fd_set& ready)
{
    ++pass;
    forEachDescriptor(ready, [this](int fd) { lastUsed[static_cast<std::size_t>(fd)] = pass; });
    const fd_set listening = listeningIn(ready);
    int anyListening = -1;
    int newcomers = 0;
    forEachDescriptor(listening, [&](int fd) {
        anyListening = fd;
        ++newcomers;
    });
    if (newcomers == 0)
        return;
    if (countConnections() + newcomers <= most && descriptorsAreLeft(anyListening, newcomers))
        return;
    wasFull = true;
    remove(ready, listening);
    endLongestIdle();
}

void RpcConnections::noteNew(const fd_set& transports)
{
    forEachDescriptor(transports, [this](int fd) {
        if (!FD_ISSET(fd, &known))
            lastUsed[static_cast<std::size_t>(fd)] = pass;
    });
    known = transports;
}

/// Ends a sixteenth of the idle connections at a time, so that a flood of new ones does not cost a search for
/// each. In the next pass the library finds them at their end and destroys them.
void RpcConnections::endLongestIdle()
{
    const auto useOf = [this](int fd) { return lastUsed[static_cast<std::size_t>(fd)]; };
    std::vector<int> idle;
    forEachDescriptor(known, [&](int fd) {
        if (useOf(fd) < pass && isConnection(fd)) // whoever asks for something at this moment stays
            idle.push_back(fd);
    });
    std::ranges::sort(idle, {}, useOf);
    idle.resize((idle.size() + 15) / 16);
    for (const int fd : idle)
        shutdown(fd, SHUT_RDWR);
}
