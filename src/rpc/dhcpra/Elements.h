#pragma once

#include "rpc/dhcpra/Wire.h"

/**
 * For each element of a list result: the entity's map that it comes from, and how a row of that map fills an
 * element that is zero. fill() answers false when the row cannot be told on the wire; then the list ends.
 */
template <class Element>
struct ListOf;

template <class Element>
struct CounterList
{
    using Map = countersPerVlan_t;
    static bool fill(Element& element, const Map::value_type& row, u_int)
    {
        element.vlan = row.first;
        wire::putCounters(element.counters, row.second);
        return true;
    }
};
template <>
struct ListOf<rpcDraCountersPerVlan> : CounterList<rpcDraCountersPerVlan>
{};
template <>
struct ListOf<rpcDra6CountersPerVlan> : CounterList<rpcDra6CountersPerVlan>
{};
template <>
struct ListOf<rpcDra6NdpCountersPerVlan> : CounterList<rpcDra6NdpCountersPerVlan>
{};

template <>
struct ListOf<rpcDraRemoteIdPerVlan>
{
    using Map = dhcpraInterface::remoteIds_t;
    static bool fill(rpcDraRemoteIdPerVlan& element, const Map::value_type& row, u_int)
    {
        element.vlan = row.first;
        wire::putText(element.remoteId, row.second);
        return true;
    }
};

template <>
struct ListOf<rpcDraEnterpriseNumPerVlan>
{
    using Map = dhcpraInterface::enterpriseNumbers_t;
    static bool fill(rpcDraEnterpriseNumPerVlan& element, const Map::value_type& row, u_int)
    {
        element = {row.first, row.second};
        return true;
    }
};

template <>
struct ListOf<rpcDraServerVlanEntry>
{
    using Map = dhcpra_config::servers_t;
    static bool fill(rpcDraServerVlanEntry& element, const Map::value_type& row, u_int)
    {
        element = {row.first, row.second};
        return true;
    }
};

template <>
struct ListOf<rpcDraVlanEntry>
{
    using Map = dhcpra_config::vlans_t;
    static bool fill(rpcDraVlanEntry& element, const Map::value_type& row, u_int);
};

template <>
struct ListOf<rpcDra6VlanEntry>
{
    using Map = dhcpra_config::vlans_t;
    static bool fill(rpcDra6VlanEntry& element, const Map::value_type& row, u_int);
};

/// Records per VLAN of one interface. A record without a mode of its own (-1) cannot be told: peers rely on
/// the code 1 that it gives.
template <>
struct ListOf<rpcDraIdIntfVlan>
{
    using Map = dhcpraInterface::intfVlans_t;
    static bool fill(rpcDraIdIntfVlan& element, const Map::value_type& row, u_int intf);
};

template <>
struct ListOf<rpcDra6IntfVlan>
{
    using Map = dhcpraInterface::intfVlansV6_t;
    static bool fill(rpcDra6IntfVlan& element, const Map::value_type& row, u_int intf);
};
