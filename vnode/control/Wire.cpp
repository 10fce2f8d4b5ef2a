#include "vnode/control/Wire.h"

#include <algorithm>
#include <cstring>

namespace vnode::control {

namespace {

static_assert(sizeof(vnodeMac::octets) == sizeof(MacAddress));
static_assert(sizeof(vnodePosition::slotText) == sizeof(Interfaces::slot_s::text));

template <typename Value>
u_int wireSize(const Value& container)
{
    return static_cast<u_int>(container.size());
}

} // namespace

bool fitsProtocol(const std::string& text)
{
    return text.size() <= VNODE_TEXT_MAX && text.find('\0') == std::string::npos;
}

char* Backing::text(const std::string& source)
{
    // Encoding only reads, the pointer is not const because decoding shares the record.
    if (source.size() <= VNODE_TEXT_MAX)
        return const_cast<char*>(source.c_str());
    return keep(source);
}

char* Backing::keep(std::string_view source)
{
    return texts.emplace_back(source.substr(0, VNODE_TEXT_MAX)).data();
}

std::vector<u_int>& Backing::ids(const std::vector<std::uint32_t>& source)
{
    const auto count = static_cast<std::ptrdiff_t>(std::min<std::size_t>(source.size(), VNODE_MEMBERS_MAX));
    return idLists.emplace_back(source.begin(), source.begin() + count);
}

void Backing::clear()
{
    texts.clear();
    idLists.clear();
}

vnodeMac toWire(const MacAddress& mac)
{
    vnodeMac wire{};
    std::memcpy(wire.octets, mac.data(), mac.size());
    return wire;
}

MacAddress fromWire(const vnodeMac& wire)
{
    MacAddress mac{};
    std::memcpy(mac.data(), wire.octets, mac.size());
    return mac;
}

vnodePosition toWire(const Interfaces::slot_port_s& position)
{
    vnodePosition wire{};
    std::memcpy(wire.slotText, position.slot.text, sizeof wire.slotText);
    wire.slotNumber = position.slot.number;
    wire.port = position.port;
    wire.intf = position.intf;
    wire.gem = position.gem;
    return wire;
}

Interfaces::slot_port_s fromWire(const vnodePosition& wire)
{
    Interfaces::slot_port_s position;
    std::memcpy(position.slot.text, wire.slotText, sizeof wire.slotText);
    position.slot.number = wire.slotNumber;
    position.port = wire.port;
    position.intf = wire.intf;
    position.gem = wire.gem;
    return position;
}

vnodeInterface toWire(const Interfaces::Interface& row, Backing& backing)
{
    vnodeInterface wire{};
    wire.id = row.id;
    wire.name = backing.text(row.name);
    wire.linuxName = backing.text(row.linuxName);
    wire.type = static_cast<u_int>(row.type);
    wire.flag1 = row.flag1;
    wire.flag2 = row.flag2;
    wire.flag3 = row.flag3;
    wire.physicalSpeed = row.phySpeed.speed;
    wire.physicalSpeedSecond = row.phySpeed.second;
    wire.dslSpeedFirst = row.dslSpeed.first;
    wire.dslSpeedSecond = row.dslSpeed.second;
    wire.description = backing.text(row.description);
    wire.value1 = row.value1;
    wire.flag4 = row.flag4;
    wire.parentId = row.parentId;
    wire.position = toWire(row.position);
    return wire;
}

std::optional<Interfaces::Interface> fromWire(const vnodeInterface& wire)
{
    if (wire.type >= Registry::typeCount)
        return std::nullopt;
    Interfaces::Interface row;
    row.id = wire.id;
    row.name = wire.name;
    row.linuxName = wire.linuxName;
    row.type = static_cast<Interfaces::interfaceType>(wire.type);
    row.flag1 = wire.flag1 != 0;
    row.flag2 = wire.flag2 != 0;
    row.flag3 = wire.flag3 != 0;
    row.phySpeed = {wire.physicalSpeed, wire.physicalSpeedSecond != 0};
    row.dslSpeed = {wire.dslSpeedFirst, wire.dslSpeedSecond};
    row.description = wire.description;
    row.value1 = wire.value1;
    row.flag4 = wire.flag4 != 0;
    row.parentId = wire.parentId;
    row.position = fromWire(wire.position);
    return row;
}

vnodeFacts toWire(const NodeFacts& facts, Backing& backing, std::vector<int>& options)
{
    static const std::string none;
    options.assign(facts.options.begin(), facts.options.end());
    options.resize(std::min<std::size_t>(options.size(), VNODE_OPTIONS_MAX));

    vnodeFacts wire{};
    wire.hasMac = facts.mac.has_value();
    wire.mac = toWire(facts.mac.value_or(MacAddress{}));
    wire.hasIpv4 = facts.ipv4.has_value();
    wire.ipv4 = facts.ipv4.value_or(0);
    wire.hasIpv6 = facts.ipv6.has_value();
    wire.ipv6 = backing.text(facts.ipv6 ? *facts.ipv6 : none);
    wire.ipv6Gateway = backing.text(facts.ipv6Gateway);
    wire.boardType = facts.boardType;
    wire.boardName = backing.text(facts.boardName);
    wire.hasSlot = facts.slot.has_value();
    wire.slot = facts.slot.value_or(0);
    wire.options.options_len = wireSize(options);
    wire.options.options_val = options.data();
    return wire;
}

std::optional<NodeFacts> fromWire(const vnodeFacts& wire)
{
    if (wire.slot > 0xFF)
        return std::nullopt;
    NodeFacts facts;
    if (wire.hasMac != 0)
        facts.mac = fromWire(wire.mac);
    if (wire.hasIpv4 != 0)
        facts.ipv4 = wire.ipv4;
    if (wire.hasIpv6 != 0)
        facts.ipv6 = wire.ipv6;
    facts.ipv6Gateway = wire.ipv6Gateway;
    facts.boardType = wire.boardType;
    facts.boardName = wire.boardName;
    if (wire.hasSlot != 0)
        facts.slot = static_cast<std::uint8_t>(wire.slot);
    facts.options.insert(wire.options.options_val, wire.options.options_val + wire.options.options_len);
    return facts;
}

} // namespace vnode::control
