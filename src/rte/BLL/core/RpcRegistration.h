#pragma once

#include <rpc/rpc.h>

/// The dispatcher of a program, as the RPC library calls it.
using rpcDispatcher_t = void (*)(struct svc_req*, SVCXPRT*);

/**
 * Makes a UDP and a TCP transport on 127.0.0.1, ports chosen by the kernel, and enters the program at the
 * library. A program that registers again keeps the transports it has: an entity may be stopped and started
 * any number of times, and the receive loop may be using them at this moment. Works beside a running receive
 * loop.
 *
 * The port mapper is told on a thread of its own, since serving must not wait for it; what a killed
 * predecessor left there is removed first. Failures go to standard error; a failure ends only the transport
 * at hand.
 */
void rpcProxyRegisterSvc(rpcprog_t prog, rpcvers_t vers, rpcDispatcher_t dispatch);

/// The library's descriptor set, copied so that it never meets a transport in the making.
[[nodiscard]] fd_set rpcDescriptors();
