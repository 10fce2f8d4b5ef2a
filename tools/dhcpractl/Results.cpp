#include "tools/dhcpractl/Results.h"

namespace dhcpractl {

Json toJson(const rpcDraRemoteIdPerVlan& element)
{
    return {{"vlan", element.vlan}, {"remoteId", textOf(element.remoteId)}};
}

Json toJson(const rpcDraEnterpriseNumPerVlan& element)
{
    return {{"vlan", element.vlan}, {"enterpriseNum", element.enterpriseNum}};
}

Json toJson(const rpcDraServerVlanEntry& element)
{
    return {{"server", element.server}, {"vlan", element.vlan}};
}

Json toJson(const rpcDraVlanEntry& element)
{
    return {{"vlan", element.vlan},
            {"enabled", static_cast<int>(element.enabled)},
            {"fullMode", static_cast<int>(element.fullMode)},
            {"insertOpt82", static_cast<int>(element.insertOpt82)},
            {"unicastExtension", static_cast<int>(element.unicastExtension)},
            {"keepOpt82", static_cast<int>(element.keepOpt82)},
            {"circuitId", static_cast<int>(element.circuitId)}};
}

Json toJson(const rpcDra6VlanEntry& element)
{
    return {{"vlan", element.vlan},
            {"enabled", static_cast<int>(element.enabled)},
            {"remoteId", static_cast<int>(element.remoteId)},
            {"interfaceId", static_cast<int>(element.interfaceId)}};
}

Json toJson(const rpcDraIdIntfVlan& element)
{
    return {{"interface", element.intf},
            {"vlan", element.vlan},
            {"mode", static_cast<int>(element.mode)},
            {"circuitIdFormat", textOf(element.circuitIdFormat)},
            {"remoteIdFormat", textOf(element.remoteIdFormat)}};
}

Json toJson(const rpcDra6IntfVlan& element)
{
    return {{"interface", element.intf},
            {"vlan", element.vlan},
            {"mode", static_cast<int>(element.mode)},
            {"interfaceIdFormat", textOf(element.interfaceIdFormat)},
            {"remoteIdFormat", textOf(element.remoteIdFormat)}};
}

Json resultToJson(rpcDraResultCode code) { return {{"code", static_cast<int>(code)}}; }

Json resultToJson(const rpcDraBoolResult& result)
{
    return {{"code", static_cast<int>(result.code)}, {"value", result.value != 0}};
}

Json resultToJson(const rpcDraResultLog& result)
{
    return {{"result", result.result}, {"level", static_cast<int>(result.level)}};
}

Json resultToJson(const rpcDraResultDebug& result)
{
    return {{"result", result.result}, {"state", result.state != 0}};
}

} // namespace dhcpractl
