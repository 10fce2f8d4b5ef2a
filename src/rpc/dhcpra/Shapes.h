#pragma once

#include "rpc/List.h"
#include "rpc/dhcpra/Elements.h"
#include "rpc/dhcpra/Wire.h"

/**
 * What service functions do around an operation of the entity, by shape. A shape fills the result, which is
 * zero, from the argument's fields; values stay zero unless the code is 0. Operation is a callable without
 * state that takes the entity's types.
 */
namespace dhcpraShapes {

using wire::toCode;
using wire::toEntity;

/// The answer is the code.
template <class Operation>
struct set
{
    template <class... Fields>
    void operator()(rpcDraResultCode& result, const Fields&... fields) const
    {
        result = toCode(Operation{}(toEntity(fields)...));
    }
};

/// The entity is told; what it answers is nobody's business, by agreement with the peers.
template <class Operation>
struct setUnheard
{
    template <class... Fields>
    void operator()(rpcDraResultCode&, const Fields&... fields) const
    {
        static_cast<void>(Operation{}(toEntity(fields)...));
    }
};

/// Kept for peers that still call it: touches nothing, answers code 0 and zeros.
template <class>
struct nothing
{
    template <class Result, class... Fields>
    void operator()(Result&, const Fields&...) const
    {}
};

template <class Operation>
struct boolGet
{
    template <class... Fields>
    void operator()(rpcDraBoolResult& result, const Fields&... fields) const
    {
        bool value = false;
        result.code = toCode(Operation{}(fields..., value));
        if (result.code == RPC_DRA_SUCCESS)
            result.value = value;
    }
};

/// A number or an enumeration.
template <class Operation>
struct valueGet
{
    template <class Result, class... Fields>
    void operator()(Result& result, const Fields&... fields) const
    {
        using Value = decltype(result.value);
        typename wire::EntityValue<Value>::type value{};
        result.code = toCode(Operation{}(fields..., value));
        if (result.code == RPC_DRA_SUCCESS)
            result.value = static_cast<Value>(value);
    }
};

template <class Operation>
struct countersGet
{
    template <class Result, class... Fields>
    void operator()(Result& result, const Fields&... fields) const
    {
        counters_t counters;
        result.code = toCode(Operation{}(fields..., counters));
        if (result.code == RPC_DRA_SUCCESS)
            wire::putCounters(result.counters, counters);
    }
};

/// A format that does not fit answers code 1 and no text.
template <class Operation>
struct formatGet
{
    void operator()(rpcDraResultIdFormat& result) const
    {
        std::string format;
        result.code = toCode(Operation{}(format));
        if (result.code != RPC_DRA_SUCCESS)
            return;
        if (format.size() < sizeof result.value)
            wire::putText(result.value, format);
        else
            result.code = RPC_DRA_ENTITY_FAILED;
    }
};

/// A text that does not fit is left out, not cut: half an id would be another id.
inline void putIdText(rpcDraInterfaceSubOptionResult& result, const std::string& text)
{
    if (text.size() < sizeof result.value)
        wire::putText(result.value, text);
}

template <class Operation>
struct idTextGet
{
    void operator()(rpcDraInterfaceSubOptionResult& result, u_int intf) const
    {
        std::string text;
        result.code = toCode(Operation{}(intf, text));
        putIdText(result, text);
    }
};

/// The id that a frame of the interface would get: of the VLAN that is given, or of none; never of a customer
/// VLAN.
template <class Operation>
struct idTextGen
{
    static constexpr u_short noVlan = 0xFFFF;

    void operator()(rpcDraInterfaceSubOptionResult& result, u_int intf, u_short vlan = noVlan) const
    {
        std::string text;
        result.code = toCode(Operation{}(intf, vlan, noVlan, text));
        putIdText(result, text);
    }
};

/// The rows of a map in its order. A row that cannot be told sets the code to 1 and ends the list.
template <class Operation>
struct listGet
{
    template <class Result, class... Fields>
    void operator()(Result& result, const Fields&... fields) const
    {
        using Element = ListElement<decltype(result.list)>;
        typename ListOf<Element>::Map map;
        result.code = toCode(Operation{}(fields..., map));
        if (result.code != RPC_DRA_SUCCESS)
            map.clear();
        const auto fill = [&](Element& element, const auto& row) {
            return ListOf<Element>::fill(element, row, interfaceOf(fields...));
        };
        if (!putList<listGet>(result.list, map, fill))
            result.code = RPC_DRA_ENTITY_FAILED;
    }

private:
    static u_int interfaceOf() { return 0; }
    static u_int interfaceOf(u_int intf) { return intf; }
};

/// One row of the map that the list of the same element comes from.
template <class Operation>
struct recordGet
{
    template <class Result>
    void operator()(Result& result, u_int intf, u_short vlan) const
    {
        using Element = decltype(result.value);
        using Map = typename ListOf<Element>::Map;
        typename Map::mapped_type record;
        result.code = toCode(Operation{}(intf, vlan, record));
        if (result.code == RPC_DRA_SUCCESS && !ListOf<Element>::fill(result.value, {vlan, record}, intf))
            result = {RPC_DRA_ENTITY_FAILED, {}};
    }
};

} // namespace dhcpraShapes
