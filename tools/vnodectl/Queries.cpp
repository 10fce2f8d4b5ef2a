#include "tools/vnodectl/Queries.h"

#include "tools/vnodectl/Texts.h"
#include "vnode/control/Xdr.h"
#include "wire/AddressText.h"

#include <array>
#include <span>

namespace vnodectl {

namespace {

using vnode::control::Decoded;

/// Rows of all pages. @p ask(behind, reply, CLIENT*) fetches one, @p add takes a row and answers what comes
/// behind it.
template <typename Page, vnode::control::XdrFilter<Page> filter, typename Key, typename Ask, typename Add>
void forEachRow(Connection& node, Key behind, Ask&& ask, Add&& add)
{
    Decoded<Page, filter> page;
    do {
        page.reset();
        node.call([&](CLIENT* client) { return ask(behind, page.get(), client); });
        for (u_int i = 0; i < page->rows.rows_len; ++i)
            behind = add(page->rows.rows_val[i]);
    } while (page->more != 0 && page->rows.rows_len != 0);
}

Json countsOf(const vnodeCount* counts, u_int count)
{
    Json object = Json::object();
    for (const vnodeCount& row : std::span(counts, count))
        object[row.name] = row.value;
    return object;
}

constexpr std::array<const char*, 3> linkStates{"up", "down", "absent"};

std::string slotText(const vnodePosition& position)
{
    const char* text = position.slotText;
    return {text, ::strnlen(text, sizeof position.slotText)};
}

} // namespace

Json showStatus(Connection& node)
{
    Decoded<vnodeStatus, xdr_vnodeStatus> reply;
    node.call([&](CLIENT* client) { return vnode_status_1(reply.get(), client); });
    Json object{{"processId", reply->processId},
                {"uptimeSeconds", reply->uptimeSeconds},
                {"stamp", reply->stamp},
                {"interfaces", reply->interfaces},
                {"vlans", reply->vlans},
                {"macs", reply->macs},
                {"driverHandles", reply->driverHandles}};
    object.update(countsOf(reply->counters.counters_val, reply->counters.counters_len));
    return object;
}

Json showFacts(Connection& node)
{
    Decoded<vnodeFactsReply, xdr_vnodeFactsReply> reply;
    node.call([&](CLIENT* client) { return vnode_facts_1(reply.get(), client); });
    const vnodeFacts& facts = reply->facts;
    Json object{{"mac", nullptr}, {"ipv4", nullptr}, {"ipv6", nullptr}};
    if (facts.hasMac != 0)
        object["mac"] = macText(facts.mac);
    if (facts.hasIpv4 != 0)
        object["ipv4"] = wire::ipv4Text(facts.ipv4);
    if (facts.hasIpv6 != 0)
        object["ipv6"] = facts.ipv6;
    object["ipv6Gateway"] = facts.ipv6Gateway;
    object["boardType"] = facts.boardType;
    object["boardName"] = facts.boardName;
    object["slot"] = facts.hasSlot != 0 ? Json(facts.slot) : Json(nullptr);
    object["options"] =
        std::vector<int>(facts.options.options_val, facts.options.options_val + facts.options.options_len);
    return object;
}

Json showInterfaces(Connection& node)
{
    Json list = Json::array();
    forEachRow<vnodeInterfacePage, xdr_vnodeInterfacePage>(
        node, u_int{0}, vnode_interfaces_1, [&](const vnodeInterface& row) {
            list.push_back({{"id", row.id},
                            {"name", row.name},
                            {"linuxName", row.linuxName},
                            {"type", interfaceTypeText(row.type)},
                            {"parent", row.parentId},
                            {"slot", slotText(row.position)},
                            {"panel", row.position.slotNumber},
                            {"port", row.position.port},
                            {"intf", row.position.intf},
                            {"gem", row.position.gem},
                            {"description", row.description}});
            return row.id;
        });
    return list;
}

Json showVlans(Connection& node)
{
    Json list = Json::array();
    forEachRow<vnodeVlanPage, xdr_vnodeVlanPage>(node, u_int{0}, vnode_vlans_1, [&](const vnodeVlan& row) {
        const std::span members(row.members.members_val, row.members.members_len);
        list.push_back({{"id", row.id},
                        {"name", row.name},
                        {"members", std::vector<u_int>(members.begin(), members.end())}});
        return row.id;
    });
    return list;
}

Json showMacs(Connection& node)
{
    Json list = Json::array();
    forEachRow<vnodeMacPage, xdr_vnodeMacPage>(node, vnodeMacKey{}, vnode_macs_1,
                                               [&](const vnodeMacEntry& row) {
                                                   list.push_back({{"vlan", row.key.vlan},
                                                                   {"mac", macText(row.key.mac)},
                                                                   {"interface", row.interfaceId},
                                                                   {"ageSeconds", row.ageSeconds}});
                                                   return row.key;
                                               });
    return list;
}

Json showDevices(Connection& node)
{
    Json list = Json::array();
    forEachRow<vnodeDevicePage, xdr_vnodeDevicePage>(
        node, u_int{0}, vnode_devices_1, [&](const vnodeDevice& row) {
            const std::span interfaces(row.interfaces.interfaces_val, row.interfaces.interfaces_len);
            Json device{{"name", row.name},
                        {"kind", row.kind},
                        {"state", row.state < linkStates.size() ? linkStates[row.state] : "?"},
                        {"interfaces", std::vector<u_int>(interfaces.begin(), interfaces.end())}};
            device.update(countsOf(row.counters.counters_val, row.counters.counters_len));
            list.push_back(std::move(device));
            return static_cast<u_int>(list.size());
        });
    return list;
}

Json showCounters(Connection& node)
{
    Json list = Json::array();
    forEachRow<vnodeInterfaceCountersPage, xdr_vnodeInterfaceCountersPage>(
        node, u_int{0}, vnode_interface_counters_1, [&](const vnodeInterfaceCounters& row) {
            list.push_back({{"interface", row.id},
                            {"received", row.received},
                            {"sent", row.sent},
                            {"diverted", row.diverted},
                            {"dropped", row.dropped}});
            return row.id;
        });
    return list;
}

Json showFilters(Connection& node)
{
    Decoded<vnodeFilterList, xdr_vnodeFilterList> reply;
    node.call([&](CLIENT* client) { return vnode_filters_1(reply.get(), client); });
    Json list = Json::array();
    for (const vnodeFilter& row : std::span(reply->rows.rows_val, reply->rows.rows_len))
        list.push_back(
            {{"filter", row.name}, {"device", *row.device != '\0' ? Json(row.device) : Json(nullptr)}});
    return list;
}

Json showNotes(Connection& node)
{
    Decoded<vnodeNotes, xdr_vnodeNotes> reply;
    node.call([&](CLIENT* client) { return vnode_notes_1(reply.get(), client); });
    Json list = Json::array();
    for (const char* text : std::span(reply->rows.rows_val, reply->rows.rows_len))
        list.push_back({{"text", text}});
    return list;
}

Json showDriverCalls(Connection& node)
{
    Decoded<vnodeDriverCalls, xdr_vnodeDriverCalls> reply;
    node.call([&](CLIENT* client) { return vnode_driver_calls_1(reply.get(), client); });
    Json list = Json::array();
    for (const vnodeDriverCall& row : std::span(reply->rows.rows_val, reply->rows.rows_len))
        list.push_back({{"operation", row.operation},
                        {"path", row.path},
                        {"request", requestText(row.request)},
                        {"value", row.value},
                        {"error", row.error},
                        {"data", hexText({row.data.vnodeDriverData_val, row.data.vnodeDriverData_len})}});
    return list;
}

} // namespace vnodectl
