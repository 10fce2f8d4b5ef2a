#include "rpc/dhcpra/Wire.h"

#include "rpc/dhcpra/Elements.h"

namespace wire {

Interfaces::Interface toEntity(const rpcDraSetInterface& record)
{
    Interfaces::Interface port;
    port.id = record.intf;
    port.name = textOf(record.name);
    port.linuxName = textOf(record.linuxName);
    port.type = static_cast<Interfaces::interfaceType>(record.type);
    port.flag1 = record.flag1 != 0;
    port.flag2 = record.flag2 != 0;
    port.flag3 = record.flag3 != 0;
    port.phySpeed = {record.phySpeed.speed, record.phySpeed.second != 0};
    port.dslSpeed = {record.dslSpeed.first, record.dslSpeed.second};
    port.description = textOf(record.description);
    port.value1 = record.value1;
    port.flag4 = record.flag4 != 0;
    port.parentId = record.parent;
    static_assert(sizeof port.position.slot.text == sizeof record.position.slot.text);
    std::memcpy(port.position.slot.text, record.position.slot.text, sizeof port.position.slot.text);
    port.position.slot.number = record.position.slot.number;
    port.position.port = record.position.port;
    port.position.intf = record.position.intf;
    port.position.gem = record.position.gem;
    return port;
}

namespace {

auto toWire(dhcpraTypes::threeStateBool value) { return static_cast<rpcDhcpRaThreeStateBool>(value); }

/// Modes have the same numbers on both sides; @p last is the highest one.
template <class Wire, class Mode>
bool putMode(Wire& target, Mode mode, int last)
{
    if (mode < 0 || mode > last)
        return false;
    target = static_cast<Wire>(mode);
    return true;
}

} // namespace
} // namespace wire

bool ListOf<rpcDraVlanEntry>::fill(rpcDraVlanEntry& element, const Map::value_type& row, u_int)
{
    const auto& [vlan, settings] = row;
    element = {vlan,
               wire::toWire(settings.isEnabled()),
               wire::toWire(settings.isFullMode()),
               wire::toWire(settings.isInsertOpt82()),
               wire::toWire(settings.isUnicastExtension()),
               wire::toWire(settings.isKeepOpt82()),
               wire::toWire(settings.isCircuitId())};
    return true;
}

bool ListOf<rpcDra6VlanEntry>::fill(rpcDra6VlanEntry& element, const Map::value_type& row, u_int)
{
    const auto& [vlan, settings] = row;
    element = {vlan, wire::toWire(settings.isEnabledV6()), wire::toWire(settings.getRemoteIdV6()),
               wire::toWire(settings.getInterfaceIdV6())};
    return true;
}

bool ListOf<rpcDraIdIntfVlan>::fill(rpcDraIdIntfVlan& element, const Map::value_type& row, u_int intf)
{
    const auto& [vlan, record] = row;
    element.intf = intf;
    element.vlan = vlan;
    if (!wire::putMode(element.mode, record.circuitIdMode, RPC_DRA_CIRMODE_CUSTOM))
        return false;
    wire::putText(element.circuitIdFormat, record.circuitIdFormat);
    wire::putText(element.remoteIdFormat, record.remoteIdFormat);
    return true;
}

bool ListOf<rpcDra6IntfVlan>::fill(rpcDra6IntfVlan& element, const Map::value_type& row, u_int intf)
{
    const auto& [vlan, record] = row;
    element.intf = intf;
    element.vlan = vlan;
    if (!wire::putMode(element.mode, record.interfaceIdMode, RPC_DRA6_IIDMODE_CUSTOM))
        return false;
    wire::putText(element.interfaceIdFormat, record.interfaceIdFormat);
    wire::putText(element.remoteIdFormat, record.remoteIdFormat);
    return true;
}
