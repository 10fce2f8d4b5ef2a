#pragma once

#include <rpc/rpc.h>

/**
 * TCP connections of the RPC library with input and output of our own. The library's reader either waits up
 * to half a minute for the rest of a message while nobody else is served, or, with a size limit set, takes
 * the first fragment of a message for the whole. Here a message of up to 256 KiB may come in any number of
 * fragments, and whatever has come is kept until the rest follows.
 *
 * Everything runs on the thread of the receive loop, called by the library.
 */

/// Lets connections that come in on this listening transport be served by this file.
void acceptStreamsOn(SVCXPRT& listener);

/// The descriptors of all connections. The receive loop looks through them for each new one, without asking
/// the kernel about each.
[[nodiscard]] const fd_set& openStreams();
