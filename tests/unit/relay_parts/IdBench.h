#pragma once

#include "relay/ids/IdContext.h"
#include "relay/model/DebugChannels.h"
#include "support/FakeFrameOwner.h"
#include "support/NodeBuilder.h"

#include <cerrno>
#include <memory>
#include <string>

inline DebugChannels::Switch noTrace{false};

/// A node with one interface of each kind below, and a relay that knows them all.
///
///     10  "0/2/5"    subscriber line      port 5
///     20  "0/4"      subscriber line      port 4
///     21  "0/4.1"    PVC 3 of it          vpi 8, vci 35
///     30  "0/1"      PON port
///     31  "0/1/7"    ONU 7 of it
///     32  "0/1/7/200" GEM port 200 of it
///     40  "uplink"   Ethernet
///     60  "mng"      management
///     70  "lag1"     link aggregation
class IdBench
{
public:
    IdBench() { resetNode(); }
    IdBench(const IdBench&) = delete;
    IdBench& operator=(const IdBench&) = delete;

    [[nodiscard]] IdContext context() const
    {
        return {interfaces, vlans, identity, testData, {sink, noTrace}, frame};
    }

    vnode::NodeDescription description = describeNode();
    std::unique_ptr<test::TestNode> node;
    InterfaceTable interfaces;
    VlanTable vlans;
    RelayIdentity identity = describeIdentity();
    customFormatTestData_t testData;
    FakeFrameOwner sink;
    FrameSource frame;

    /// Brings @ref description into force.
    void resetNode()
    {
        node.reset();
        node = std::make_unique<test::TestNode>(description);
        interfaces.clear();
        for (const Interfaces::Interface& row : description.interfaces)
            interfaces.add(dhcpraInterface(row.id, row.name, row.linuxName, row.type));
        interfaces.setCircuitIdModeATMParams(21, 20, 8, 35);
    }

    void fail(vnode::Operation operation) { node->failing(operation, EIO); }

    dhcpraInterface& interface(std::uint32_t id) { return *interfaces.getInterfaceById(id); }

private:
    static vnode::NodeDescription describeNode()
    {
        using enum Interfaces::interfaceType;
        test::NodeBuilder node;
        node.slot(3).boardType(5).ipv6("2001:db8::1f").vlan(100, "internet");
        node.interface(10, subscriber, "0/2/5").at(0, 5).description("about 10");
        node.interface(20, subscriber, "0/4").at(1, 4);
        node.interface(21, pvc, "0/4.1", 20).at(10, 4, 3);
        node.interface(30, pon, "0/1").at(2, 1);
        node.interface(31, onu, "0/1/7", 30).at(0, 1, 7).description("about 31");
        node.interface(32, gem, "0/1/7/200", 31).at(0, 1, 7, 200).description("about 32");
        node.interface(40, eth, "uplink").at(0, 9);
        node.interface(60, management, "mng");
        node.interface(70, lag, "lag1");
        return node.describe();
    }

    static RelayIdentity describeIdentity()
    {
        RelayIdentity identity;
        identity.shelfId = "sh1";
        identity.nodeId = "node1";
        identity.chassisId = 1;
        identity.systemName = "olt";
        identity.systemLocation = "cellar";
        identity.systemContact = "desk";
        identity.localIp = 0x0A010203;
        identity.localMac = {0x02, 0x00, 0x5E, 0xAB, 0xCD, 0xEF};
        return identity;
    }
};
