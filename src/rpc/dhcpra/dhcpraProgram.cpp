#include "rpc/Program.h"
#include "rpc/dhcpra/OwnShapes.h"
#include "rpc/dhcpra/Shapes.h"
#include "rpc/programs.h"
#include "rte/BLL/core/RpcRegistration.h"

#include <array>
#include <utility>

namespace {

using namespace dhcpraShapes;

/// An operation on the one relay entity, which is built on first use.
template <class Call>
struct OnEntity
{
    template <class... Values>
    auto operator()(Values&&... values) const
    {
        return Call{}(singleton<dhcpra>::instance(), std::forward<Values>(values)...);
    }
};

// NOLINTBEGIN(bugprone-macro-parentheses): names of members and templates stand alone
#define ENTITY(operation)                                                                                    \
    OnEntity<decltype([](auto& entity, auto&&... values) {                                                   \
        return entity.operation(std::forward<decltype(values)>(values)...);                                  \
    })>

#define PROCEDURE(number, name, argumentFilter, arguments, result, shape, operation)                         \
    procedure<argumentFilter, xdr_##result, countArguments(rpc_##name##_1), shape<ENTITY(operation)>{}>(     \
        (number), "rpc_" #name),
// NOLINTEND(bugprone-macro-parentheses)

constexpr auto procedures = std::to_array<ProcedureRow>({
#include "rpc/dhcpra/dhcpraProcedures.def"
});

#undef PROCEDURE
#undef ENTITY

static_assert(procedures.size() == 148 && isAscending(procedures));

} // namespace

std::span<const ProcedureRow> dhcpraProcedures() { return procedures; }

void dhcpraDispatch(svc_req* request, SVCXPRT* transport) { dispatch(procedures, request, transport); }

void* rpcDhcpraStart(void*)
{
    rpcProxyRegisterSvc(dhcpraProgram, programVersion, dhcpraDispatch);
    return nullptr;
}
