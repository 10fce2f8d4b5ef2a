#include "tools/vnodectl/Changes.h"

#include "tools/vnodectl/Texts.h"
#include "vnode/control/Xdr.h"
#include "vnode/model/DriverRequests.h"
#include "wire/AddressText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fcntl.h>

namespace vnodectl {

namespace {

/// Arguments of stubs are not const, since decoding shares their types; nobody writes to them.
char* textOf(const std::string& text) { return const_cast<char*>(text.c_str()); }

template <typename Stub>
void change(Connection& node, Stub&& stub)
{
    vnodeChange reply{};
    node.call([&](CLIENT* client) { return stub(&reply, client); });
    expectGood(reply.error);
}

template <typename Stub>
void order(Connection& node, Stub&& stub)
{
    int error = 0;
    node.call([&](CLIENT* client) { return stub(&error, client); });
    expectGood(error);
}

template <typename Number>
Number readNumber(const std::string& text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size())
        throw Refused("\"" + text + "\" is no number");
    return value;
}

template <typename Value>
Value needed(const std::optional<Value>& value, const std::string& text)
{
    if (!value)
        throw Refused("\"" + text + "\" cannot be read");
    return *value;
}

// Each setter of a fact; absent ones are marked so, whatever is in their place.
struct FactRow
{
    std::string_view name;
    void (*set)(vnodeFacts& facts, const std::string& value, bool present);
};

constexpr std::array factRows{
    FactRow{"mac",
            [](vnodeFacts& facts, const std::string& value, bool present) {
                facts.hasMac = present;
                if (present)
                    facts.mac = needed(readMac(value), value);
            }},
    FactRow{"ipv4",
            [](vnodeFacts& facts, const std::string& value, bool present) {
                facts.hasIpv4 = present;
                if (present)
                    facts.ipv4 = needed(wire::readIpv4(value), value);
            }},
    FactRow{"ipv6",
            [](vnodeFacts& facts, const std::string& value, bool present) {
                facts.hasIpv6 = present;
                facts.ipv6 = textOf(value);
            }},
    FactRow{"ipv6Gateway",
            [](vnodeFacts& facts, const std::string& value, bool) { facts.ipv6Gateway = textOf(value); }},
    FactRow{"boardType", [](vnodeFacts& facts, const std::string& value,
                            bool) { facts.boardType = readNumber<int>(value); }},
    FactRow{"boardName",
            [](vnodeFacts& facts, const std::string& value, bool) { facts.boardName = textOf(value); }},
    FactRow{"slot",
            [](vnodeFacts& facts, const std::string& value, bool present) {
                facts.hasSlot = present;
                facts.slot = present ? readNumber<u_int>(value) : 0;
            }},
};

} // namespace

void addInterface(Connection& node, const NewInterface& row)
{
    vnodeInterface wire{};
    wire.id = row.id;
    wire.name = textOf(row.name);
    wire.linuxName = textOf(row.linuxName.empty() ? row.name : row.linuxName);
    wire.type = row.type;
    wire.parentId = row.parent;
    wire.description = textOf(row.description);
    wire.position.slotNumber = row.panel;
    wire.position.port = row.port;
    wire.position.intf = row.intf;
    wire.position.gem = row.gem;
    change(node,
           [&](vnodeChange* reply, CLIENT* client) { return vnode_interface_add_1(wire, reply, client); });
}

void removeInterface(Connection& node, std::uint32_t id)
{
    change(node,
           [&](vnodeChange* reply, CLIENT* client) { return vnode_interface_remove_1(id, reply, client); });
}

void renameInterface(Connection& node, std::uint32_t id, const std::string& name)
{
    change(node, [&](vnodeChange* reply, CLIENT* client) {
        return vnode_interface_rename_1(id, textOf(name), reply, client);
    });
}

void describeInterface(Connection& node, std::uint32_t id, const std::string& text)
{
    change(node, [&](vnodeChange* reply, CLIENT* client) {
        return vnode_interface_describe_1(id, textOf(text), reply, client);
    });
}

void setParent(Connection& node, std::uint32_t id, std::uint32_t parent)
{
    change(node, [&](vnodeChange* reply, CLIENT* client) {
        return vnode_interface_set_parent_1(id, parent, reply, client);
    });
}

void nameVlan(Connection& node, std::uint32_t id, const std::string& name)
{
    change(node, [&](vnodeChange* reply, CLIENT* client) {
        return vnode_vlan_name_1(id, textOf(name), reply, client);
    });
}

void setOption(Connection& node, int number, bool on)
{
    change(node,
           [&](vnodeChange* reply, CLIENT* client) { return vnode_set_option_1(number, on, reply, client); });
}

void setFact(Connection& node, const std::string& name, const std::string& value)
{
    const auto row = std::ranges::find(factRows, name, &FactRow::name);
    if (row == factRows.end())
        throw Refused("no fact \"" + name + "\"");
    vnode::control::Decoded<vnodeFactsReply, xdr_vnodeFactsReply> reply;
    node.call([&](CLIENT* client) { return vnode_facts_1(reply.get(), client); });
    vnodeFacts changed = reply->facts; // texts and options stay the reply's
    const bool present = value != "none";
    row->set(changed, value, present);
    change(node,
           [&](vnodeChange* answer, CLIENT* client) { return vnode_set_facts_1(changed, answer, client); });
}

void clearMacs(Connection& node) { order(node, vnode_macs_clear_1); }
void clearCounters(Connection& node) { order(node, vnode_counters_clear_1); }
void clearFaults(Connection& node) { order(node, vnode_faults_clear_1); }

void createDevice(Connection& node, const std::string& name)
{
    order(node,
          [&](int* error, CLIENT* client) { return vnode_pseudo_create_1(textOf(name), error, client); });
}

void attachFilter(Connection& node, const std::string& filter, const std::string& device)
{
    // Offsets of the attach record: filter at 0 (17 bytes), device at 17 (15 bytes), zeros.
    constexpr std::size_t filterSize = 17;
    constexpr std::size_t deviceSize = 15;
    std::array<char, 36> record{};
    if (filter.size() >= filterSize || device.size() >= deviceSize)
        throw Refused("name too long");
    filter.copy(record.data(), filterSize);
    device.copy(record.data() + filterSize, deviceSize);

    const std::string path(vnode::nodePaths[0].text);
    vnodeDriverReply reply{};
    node.call([&](CLIENT* client) { return vnode_driver_open_1(textOf(path), O_RDONLY, &reply, client); });
    expectGood(reply.error);
    const auto handle = static_cast<int>(reply.value);
    vnode::control::Decoded<vnodeDriverReply, xdr_vnodeDriverReply> attached;
    node.call([&](CLIENT* client) {
        return vnode_driver_ioctl_1(handle, vnode::requestAttachFilter, {record.size(), record.data()},
                                    attached.get(), client);
    });
    expectGood(attached->error);
}

void detachFilter(Connection& node, const std::string& filter)
{
    order(node,
          [&](int* error, CLIENT* client) { return vnode_filter_detach_1(textOf(filter), error, client); });
}

void addFault(Connection& node, const NewFault& fault)
{
    const vnodeFault wire{textOf(fault.operation), fault.error,  fault.skip, fault.times,
                          textOf(fault.path),      fault.request};
    order(node, [&](int* error, CLIENT* client) { return vnode_fault_add_1(wire, error, client); });
}

} // namespace vnodectl
