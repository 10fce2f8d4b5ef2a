#pragma once

#include "vnode/control/Service.h"

namespace vnode::control {

/// Decodes, asks @p service and answers one request of the protocol, or says what is wrong with it.
void serveProcedure(Service& service, rpcproc_t number, SVCXPRT* transport);

} // namespace vnode::control
