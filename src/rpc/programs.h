#pragma once

#include <rpc/rpc.h>

#include "rpc/Program.h"

/**
 * The programs of the daemon, all at version 1. The start functions register them, each on the thread of its
 * entity's proxy; the dispatchers serve them on the one receive loop.
 */
inline constexpr rpcprog_t dhcpraProgram = 0x20000202;
inline constexpr rpcprog_t ipsgProgram = 0x20000203;
inline constexpr rpcprog_t daiProgram = 0x20000204;
inline constexpr rpcvers_t programVersion = 1;

void dhcpraDispatch(svc_req* request, SVCXPRT* transport);
void ipsgDispatch(svc_req* request, SVCXPRT* transport);
void daiDispatch(svc_req* request, SVCXPRT* transport);

void* rpcDhcpraStart(void*);
void* rpcIpsgStart(void*);
void* rpcDaiStart(void*);

/// Procedures of the relay's program in ascending order.
[[nodiscard]] std::span<const ProcedureRow> dhcpraProcedures();
