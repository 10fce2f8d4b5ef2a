#pragma once

#include <cstddef>
#include <optional>
#include <sys/select.h>

/**
 * Sizes of received datagrams. The RPC library decodes every UDP request from the same buffer and does not
 * check where the datagram ended: a request that is too short would be completed with bytes of an earlier
 * one. Dispatchers get the size of the datagram here.
 *
 * On the thread of the receive loop only.
 */

/// Notes what waits on the datagram sockets of @p ready; the library reads one of each next.
void noteWaitingDatagrams(const fd_set& ready);

/// Size of the datagram that the request at hand on @p fd came in; none for a stream.
[[nodiscard]] std::optional<std::size_t> datagramSize(int fd);
