#include "vnode/control/PageBudget.h"
#include "vnode/control/Service.h"

#include <algorithm>
#include <cerrno>

namespace vnode::control {

namespace {

// Fixed parts of a row on the wire, texts not counted.
constexpr std::size_t interfaceRowBytes = 100;
constexpr std::size_t vlanRowBytes = 16;

} // namespace

void Service::begin(int client)
{
    session = client;
    backing.clear();
}

void Service::end(int client)
{
    const auto found = handlesOf.find(client);
    if (found == handlesOf.end())
        return;
    for (const int handle : found->second)
        node.driver().close(handle);
    handlesOf.erase(found);
}

vnodeChange Service::changed(int error)
{
    // Published before the answer is sent: whoever reads after the answer finds the change.
    stamps.publish(node.picture().generation);
    return {error, stamps.stamp()};
}

u_quad_t Service::stamp() { return stamps.stamp(); }

vnodeFactsReply Service::facts() { return {stamps.stamp(), toWire(node.picture().facts, backing, options)}; }

// The ids are kept, because a large registry is asked for page after page.
const std::vector<std::uint32_t>& Service::interfaceIds()
{
    if (idsStamp != stamps.stamp()) {
        ids.clear();
        for (const Interfaces::Interface& row : node.picture().interfaces.list())
            ids.push_back(row.id);
        idsStamp = stamps.stamp();
    }
    return ids;
}

vnodeInterfacePage Service::interfaces(u_int behindId)
{
    vnodeInterfacePage page{};
    page.stamp = stamps.stamp();
    interfaceRows.clear();
    PageBudget budget;
    const Registry& registry = node.picture().interfaces;
    const std::vector<std::uint32_t>& all = interfaceIds();
    for (auto id = std::ranges::upper_bound(all, behindId); id != all.end(); ++id) {
        const Interfaces::Interface& row = *registry.find(*id);
        page.more =
            !budget.take(interfaceRowBytes + row.name.size() + row.linuxName.size() + row.description.size());
        if (page.more)
            break;
        interfaceRows.push_back(toWire(row, backing));
    }
    page.rows = {static_cast<u_int>(interfaceRows.size()), interfaceRows.data()};
    return page;
}

vnodeVlanPage Service::vlans(u_int behindId)
{
    vnodeVlanPage page{};
    page.stamp = stamps.stamp();
    vlanRows.clear();
    PageBudget budget;
    for (u_int id = std::min<u_int>(behindId, vlanIdMax) + 1; id <= vlanIdMax; ++id) {
        const Vlan* vlan = node.picture().findVlan(static_cast<std::uint16_t>(id));
        if (vlan == nullptr)
            continue;
        page.more = !budget.take(vlanRowBytes + vlan->name.size() + vlan->members.size() * 4);
        if (page.more)
            break;
        std::vector<u_int>& members = backing.ids(vlan->members);
        vlanRows.push_back(
            {id, backing.text(vlan->name), {static_cast<u_int>(members.size()), members.data()}});
    }
    page.rows = {static_cast<u_int>(vlanRows.size()), vlanRows.data()};
    return page;
}

vnodeChange Service::addInterface(const vnodeInterface& wire)
{
    const auto row = fromWire(wire);
    return changed(row ? node.addInterface(*row) : EINVAL);
}

vnodeChange Service::renameInterface(const vnode_interface_rename_1_argument& argument)
{
    return changed(node.renameInterface(argument.id, argument.name));
}

vnodeChange Service::setInterfaceParent(const vnode_interface_set_parent_1_argument& argument)
{
    return changed(node.setInterfaceParent(argument.id, argument.parentId));
}

vnodeChange Service::setInterfacePosition(const vnode_interface_set_position_1_argument& argument)
{
    return changed(node.setInterfacePosition(argument.id, fromWire(argument.position)));
}

vnodeChange Service::describeInterface(const vnode_interface_describe_1_argument& argument)
{
    return changed(node.describeInterface(argument.id, argument.text));
}

vnodeMacVlans Service::macVlans(const vnode_mac_vlans_1_argument& argument)
{
    static_assert(sizeof(vnodeMacVlans::words) == sizeof(zomacTableVlanBitmap));
    zomacTableVlanBitmap bitmap{};
    vnodeMacVlans reply{};
    reply.error = node.markMacVlans({fromWire(argument.mac), argument.interfaceId}, host.now(), bitmap);
    std::ranges::copy(bitmap, reply.words);
    return reply;
}

int Service::createPseudoDevice(const vnodeText& name) { return host.createPseudoDevice(name); }

int Service::openControl() { return node.openControl(); }

bool Service::owns(int handle) const
{
    const auto found = handlesOf.find(session);
    return found != handlesOf.end() && found->second.contains(handle);
}

vnodeDriverReply Service::toReply(DriverReply reply)
{
    vnodeDriverReply wire{};
    wire.value = reply.value;
    wire.error = reply.error;
    return wire;
}

vnodeDriverReply Service::driverOpen(const vnode_driver_open_1_argument& argument)
{
    const DriverReply reply = node.driver().open(argument.path, argument.flags);
    if (reply.value >= 0)
        handlesOf[session].insert(static_cast<int>(reply.value));
    return toReply(reply);
}

vnodeDriverReply Service::driverIoctl(const vnode_driver_ioctl_1_argument& argument)
{
    if (!owns(argument.handle))
        return toReply(DriverReply::failure(EBADF));
    const char* bytes = argument.record.vnodeDriverRecord_val;
    record.assign(bytes, bytes + argument.record.vnodeDriverRecord_len);
    vnodeDriverReply reply = toReply(node.driver().ioctl(argument.handle, argument.request, record));
    reply.record = {static_cast<u_int>(record.size()), reinterpret_cast<char*>(record.data())};
    return reply;
}

vnodeDriverReply Service::driverWrite(const vnode_driver_write_1_argument& argument)
{
    if (!owns(argument.handle))
        return toReply(DriverReply::failure(EBADF));
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(argument.data.vnodeDriverData_val);
    return toReply(node.driver().write(argument.handle, {bytes, argument.data.vnodeDriverData_len}));
}

vnodeDriverReply Service::driverClose(int handle)
{
    if (!owns(handle))
        return toReply(DriverReply::failure(EBADF));
    handlesOf[session].erase(handle);
    return toReply(node.driver().close(handle));
}

int Service::note(const vnodeText& text)
{
    node.note(text);
    return 0;
}

} // namespace vnode::control
