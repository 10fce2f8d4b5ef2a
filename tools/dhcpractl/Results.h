#pragma once

#include "tools/dhcpractl/Procedures.h"

#include <concepts>
#include <cstring>
#include <dhcpra.h> // made from dhcpra.x
#include <string>

/// Result records as JSON, in the order of the wire. Numbers stay numbers; switches are true or false.
namespace dhcpractl {

template <std::size_t Size>
std::string textOf(const char (&text)[Size])
{
    return {text, strnlen(text, Size)};
}

// ---- elements of lists ----

template <class Element>
requires requires(Element element) { element.counters; }
Json toJson(const Element& element) { return {{"vlan", element.vlan}, {"counters", element.counters}}; }
Json toJson(const rpcDraRemoteIdPerVlan& element);
Json toJson(const rpcDraEnterpriseNumPerVlan& element);
Json toJson(const rpcDraServerVlanEntry& element);
Json toJson(const rpcDraVlanEntry& element);
Json toJson(const rpcDra6VlanEntry& element);
Json toJson(const rpcDraIdIntfVlan& element);
Json toJson(const rpcDra6IntfVlan& element);

// ---- results; "code" is first, or "result" in the two records that have that ----

Json resultToJson(rpcDraResultCode code);
Json resultToJson(const rpcDraBoolResult& result);
Json resultToJson(const rpcDraResultLog& result);
Json resultToJson(const rpcDraResultDebug& result);

template <class Result>
Json valueToJson(const Result& value)
{
    if constexpr (std::is_class_v<Result>)
        return toJson(value);
    else if constexpr (std::is_enum_v<Result>)
        return static_cast<int>(value);
    else if constexpr (std::is_array_v<Result>)
        return textOf(value);
    else
        return value;
}

template <class Result>
requires requires(Result result) { result.value; }
Json resultToJson(const Result& result)
{
    return {{"code", static_cast<int>(result.code)}, {"value", valueToJson(result.value)}};
}

template <class Result>
requires requires(Result result) { result.counters; }
Json resultToJson(const Result& result)
{
    return {{"code", static_cast<int>(result.code)}, {"counters", result.counters}};
}

template <class Result>
requires requires(Result result) { result.list; }
Json resultToJson(const Result& result)
{
    Json list = Json::array();
    for (u_int i = 0; i < result.list.list_len; ++i)
        list.push_back(toJson(result.list.list_val[i]));
    return {{"code", static_cast<int>(result.code)}, {"list", std::move(list)}};
}

} // namespace dhcpractl
