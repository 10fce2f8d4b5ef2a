#pragma once

#include <rpc/rpc.h>

/// The dispatcher of a program, as the RPC library calls it.
using rpcDispatcher_t = void (*)(struct svc_req*, SVCXPRT*);

/**
 * Makes a UDP and a TCP transport on 127.0.0.1, ports chosen by the kernel, and registers the program on both
 * with the library and the port mapper; what a killed predecessor left in the port mapper is removed first.
 * Failures go to standard error; a failure ends only the transport at hand. Works beside a running receive
 * loop.
 */
void rpcProxyRegisterSvc(rpcprog_t prog, rpcvers_t vers, rpcDispatcher_t dispatch);

/// The library's descriptor set, copied so that it never meets a transport in the making.
[[nodiscard]] fd_set rpcDescriptors();
