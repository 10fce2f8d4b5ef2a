#include "tools/dhcpractl/Programs.h"

#include "tools/dhcpractl/Arguments.h"
#include "tools/dhcpractl/ClientCall.h"
#include "tools/dhcpractl/Results.h"

#include <array>

namespace dhcpractl {

namespace {

constexpr auto relayResult = [](const auto& result) { return resultToJson(result); };

#define PROCEDURE(number, name, argumentFilter, arguments, result, shape, operation)                         \
    procedureOf<rpc_##name##_1, xdr_##result, relayResult>(number, "rpc_" #name, #arguments),

constexpr auto relayProcedures = std::to_array<Procedure>({
#include "rpc/dhcpra/dhcpraProcedures.def"
});

#undef PROCEDURE

int goodCode(const Procedure& procedure)
{
    return procedure.number == rpc_dra_ping ? RPC_DRA_PING : RPC_DRA_SUCCESS;
}

std::string_view meaningOf(int code)
{
    switch (code) {
    case RPC_DRA_CONFIG_FAILED:
        return "unknown interface or VLAN, value refused, or the daemon is busy";
    case RPC_DRA_ENTITY_FAILED:
        return "unknown interface, value refused or incomplete, or the daemon is busy";
    default:
        return "";
    }
}

constexpr Program rows[] = {
    {"dhcpra", "The relay, as without a program", RPC_DHCPRA_PROGRAM, RPC_DHCPRA_VERSION, "dra_",
     relayProcedures, goodCode, meaningOf},
};

} // namespace

const Program& relayProgram() { return rows[0]; }

std::span<const Program> programs() { return rows; }

} // namespace dhcpractl
