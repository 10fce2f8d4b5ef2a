#include "vnode/control/PageBudget.h"
#include "vnode/control/Service.h"

#include <algorithm>
#include <array>
#include <boost/range/adaptor/reversed.hpp>
#include <cerrno>
#include <tuple>
#include <unistd.h>

namespace vnode::control {

namespace {

u_int secondsBetween(Time from, Time to)
{
    return static_cast<u_int>(std::chrono::duration_cast<std::chrono::seconds>(to - from).count());
}

vnodeLinkState toWire(LinkState state)
{
    switch (state) {
    case LinkState::up:
        return VNODE_LINK_UP;
    case LinkState::down:
        return VNODE_LINK_DOWN;
    case LinkState::absent:
        return VNODE_LINK_ABSENT;
    }
    return VNODE_LINK_ABSENT;
}

// Reads of registry, VLANs and facts are not among them: the daemon answers those from its copy. To make one
// fail, remove the fact or the row.
constexpr std::array faultyOperations{
    Operation::driverOpen,  Operation::driverIoctl,   Operation::driverWrite,  Operation::createPseudoDevice,
    Operation::openControl, Operation::registryWrite, Operation::macTableRead,
};

std::size_t bytesOf(const vnodeDevice& row)
{
    return 64 + 4 * std::size_t{row.interfaces.interfaces_len} + 32 * std::size_t{row.counters.counters_len};
}

} // namespace

std::vector<vnodeCount>& Service::toCounts(const std::vector<NamedCount>& counts)
{
    std::vector<vnodeCount>& rows = countRows.emplace_back();
    for (const auto& [name, value] : counts)
        rows.push_back({backing.text(name), value});
    return rows;
}

vnodeStatus Service::status()
{
    const Picture& picture = node.picture();
    const Counters& counters = node.bridge().counters();
    totals = {
        {"diverted", counters.diverted}, {"injected", counters.injected}, {"notLearnt", counters.notLearnt}};
    for (std::size_t drop = 1; drop < dropCount; ++drop)
        totals.emplace_back("drop." + std::string(dropName(static_cast<Drop>(drop))), counters.drops[drop]);

    vnodeStatus reply{};
    reply.stamp = stamps.stamp();
    reply.processId = static_cast<u_int>(::getpid());
    reply.uptimeSeconds = secondsBetween(host.started(), host.now());
    reply.interfaces = static_cast<u_int>(picture.interfaces.size());
    reply.vlans = static_cast<u_int>(picture.vlans.size());
    reply.macs = static_cast<u_int>(node.bridge().macs().size());
    reply.driverHandles = static_cast<u_int>(node.driver().openCount());
    countRows.clear();
    std::vector<vnodeCount>& rows = toCounts(totals);
    reply.counters = {static_cast<u_int>(rows.size()), rows.data()};
    return reply;
}

vnodeDevicePage Service::devices(u_int behindRow)
{
    vnodeDevicePage page{};
    deviceRows.clear();
    countRows.clear();
    reports = host.deviceReports();
    PageBudget budget;
    for (std::size_t i = behindRow; i < reports.size(); ++i) {
        const DeviceReport& report = reports[i];
        std::vector<u_int>& interfaces = backing.ids(report.interfaces);
        interfaces.resize(std::min<std::size_t>(interfaces.size(), VNODE_ROWS_MAX));
        std::vector<vnodeCount>& counts = toCounts(report.counters);
        const vnodeDevice row{backing.text(report.name),
                              backing.text(report.kind),
                              toWire(report.state),
                              {static_cast<u_int>(interfaces.size()), interfaces.data()},
                              {static_cast<u_int>(counts.size()), counts.data()}};
        page.more = !budget.take(bytesOf(row));
        if (page.more)
            break;
        deviceRows.push_back(row);
    }
    page.rows = {static_cast<u_int>(deviceRows.size()), deviceRows.data()};
    return page;
}

vnodeInterfaceCountersPage Service::interfaceCounters(u_int behindId)
{
    vnodeInterfaceCountersPage page{};
    counterRows.clear();
    PageBudget budget;
    std::vector<std::uint32_t> counted;
    for (const auto& [id, counters] : node.bridge().counters().interfaces)
        if (id > behindId)
            counted.push_back(id);
    std::ranges::sort(counted);
    for (const std::uint32_t id : counted) {
        page.more = !budget.take(sizeof(vnodeInterfaceCounters));
        if (page.more)
            break;
        const InterfaceCounters& row = node.bridge().counters().interfaces.at(id);
        counterRows.push_back({id, row.received, row.sent, row.diverted, row.dropped});
    }
    page.rows = {static_cast<u_int>(counterRows.size()), counterRows.data()};
    return page;
}

vnodeMacPage Service::macs(const vnodeMacKey& behind)
{
    const auto keyOf = [](const MacTable::Entry& entry) { return std::tuple(entry.vlan, entry.mac); };
    const std::tuple start(static_cast<std::uint16_t>(std::min<u_int>(behind.vlan, vlanIdMask)),
                           fromWire(behind.mac));
    std::vector<MacTable::Entry> entries = node.bridge().macs().entries();
    std::erase_if(entries, [&](const MacTable::Entry& entry) { return keyOf(entry) <= start; });
    std::ranges::sort(entries, {}, keyOf);

    vnodeMacPage page{};
    macRows.clear();
    PageBudget budget;
    for (const MacTable::Entry& entry : entries) {
        page.more = !budget.take(sizeof(vnodeMacEntry));
        if (page.more)
            break;
        macRows.push_back({{entry.vlan, control::toWire(entry.mac)},
                           entry.interfaceId,
                           secondsBetween(entry.seen, host.now())});
    }
    page.rows = {static_cast<u_int>(macRows.size()), macRows.data()};
    return page;
}

vnodeFilterList Service::filters()
{
    filterList.clear();
    for (const FilterRow& row : filterRows)
        filterList.push_back({backing.keep(row.name), backing.text(node.filters().deviceOf(row.filter))});
    return {{static_cast<u_int>(filterList.size()), filterList.data()}};
}

vnodeNotes Service::notes()
{
    noteRows.clear();
    PageBudget budget;
    const auto& notes = node.notes();
    for (auto note = notes.rbegin(); note != notes.rend() && budget.take(note->size() + 4); ++note)
        noteRows.push_back(backing.text(*note));
    std::ranges::reverse(noteRows);
    return {{static_cast<u_int>(noteRows.size()), noteRows.data()}};
}

vnodeDriverCalls Service::driverCalls()
{
    callRows.clear();
    PageBudget budget;
    const auto& calls = node.driver().journal();
    for (const DriverCall& call : boost::adaptors::reverse(calls)) {
        if (!budget.take(call.data.size() + call.path.size() + 48))
            break;
        auto* bytes = reinterpret_cast<char*>(const_cast<std::uint8_t*>(call.data.data()));
        callRows.push_back(
            {backing.keep(operationName(call.operation)),
             backing.text(call.path),
             call.request,
             {static_cast<u_int>(std::min<std::size_t>(call.data.size(), VNODE_WRITE_MAX)), bytes},
             call.reply.value,
             call.reply.error});
    }
    std::ranges::reverse(callRows);
    return {{static_cast<u_int>(callRows.size()), callRows.data()}};
}

vnodeChange Service::removeInterface(u_int id) { return changed(node.removeInterface(id)); }

vnodeChange Service::nameVlan(const vnode_vlan_name_1_argument& argument)
{
    if (argument.id > vlanIdMax)
        return changed(ENOENT);
    return changed(node.nameVlan(static_cast<std::uint16_t>(argument.id), argument.name));
}

vnodeChange Service::setFacts(const vnodeFacts& wire)
{
    const auto facts = fromWire(wire);
    if (!facts)
        return changed(EINVAL);
    node.setFacts(*facts);
    host.factsChanged();
    return changed(0);
}

vnodeChange Service::setOption(const vnode_set_option_1_argument& argument)
{
    NodeFacts facts = node.picture().facts;
    if (argument.on != 0)
        facts.options.insert(argument.number);
    else
        facts.options.erase(argument.number);
    node.setFacts(facts);
    return changed(0);
}

int Service::clearMacs()
{
    node.bridge().macs().clear();
    return 0;
}

int Service::clearCounters()
{
    node.bridge().clearCounters();
    host.clearCounters();
    return 0;
}

int Service::detachFilter(const vnodeText& name) { return node.filters().detach(name) ? 0 : ENOENT; }

int Service::addFault(const vnodeFault& wire)
{
    const auto operation =
        std::ranges::find(faultyOperations, std::string_view(wire.operation), operationName);
    if (operation == faultyOperations.end() || wire.error <= 0)
        return EINVAL;
    const unsigned times = wire.times == 0 ? Fault::always : wire.times;
    node.faults().add({*operation, wire.error, wire.skip, times, wire.path, wire.request});
    return 0;
}

int Service::clearFaults()
{
    node.faults().clear();
    return 0;
}

} // namespace vnode::control
