#include "rpc/Program.h"
#include "rpc/programs.h"
#include "rte/BLL/core/RpcRegistration.h"

// The programs of source guard and ARP inspection. Their entities have no operations yet, so there are no
// rows: procedure 0 answers, any other number is refused as unavailable.

void ipsgDispatch(svc_req* request, SVCXPRT* transport) { dispatch({}, request, transport); }

void daiDispatch(svc_req* request, SVCXPRT* transport) { dispatch({}, request, transport); }

void* rpcIpsgStart(void*)
{
    rpcProxyRegisterSvc(ipsgProgram, programVersion, ipsgDispatch);
    return nullptr;
}

void* rpcDaiStart(void*)
{
    rpcProxyRegisterSvc(daiProgram, programVersion, daiDispatch);
    return nullptr;
}
