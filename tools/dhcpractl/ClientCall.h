#pragma once

#include "tools/dhcpractl/Connection.h"
#include "tools/dhcpractl/Procedures.h"

#include <tuple>
#include <type_traits>
#include <utility>

namespace dhcpractl {

/// One argument of type T, made from a word and living as long as the call. A program brings one for each
/// type that its procedures take.
template <class T>
struct Argument;

/// The record that a filter writes; a cast to the library's own type is safe for these.
template <class Record>
xdrproc_t libraryFilter(bool_t (*filter)(XDR*, Record*))
{
    return reinterpret_cast<xdrproc_t>(filter);
}

/// A client stub taken apart: its result, its arguments, and behind them the handle.
template <class Stub>
struct StubTypes;
template <class ResultRecord, class... All>
struct StubTypes<ResultRecord* (*)(All...)>
{
    using Result = ResultRecord;
    using Types = std::tuple<All...>;
    static constexpr std::size_t arguments = sizeof...(All) - 1;
};

/// What a Procedure does, for the client stub of one.
template <auto stub>
class ClientCall
{
    using Stub = StubTypes<decltype(stub)>;
    template <std::size_t Index>
    using ArgumentAt = Argument<std::tuple_element_t<Index, typename Stub::Types>>;

public:
    static constexpr std::size_t arguments = Stub::arguments;

    static void check(Words words) { check(words, std::make_index_sequence<arguments>{}); }

    /// @p toJson reads the result record; a procedure without one answers an empty object.
    template <auto filter, auto toJson>
    static Json call(Connection& connection, std::string_view name, Words words)
    {
        auto* result = call(connection, words, std::make_index_sequence<arguments>{});
        if (result == nullptr)
            connection.fail(std::string(name));
        if constexpr (std::is_void_v<typename Stub::Result>) {
            return Json::object();
        } else {
            Json json = toJson(*result);
            xdr_free(libraryFilter(filter), result);
            return json;
        }
    }

private:
    template <std::size_t... Index>
    static void check([[maybe_unused]] Words words, std::index_sequence<Index...>)
    {
        (static_cast<void>(ArgumentAt<Index>(words[Index])), ...);
    }

    template <std::size_t... Index>
    static typename Stub::Result* call(Connection& connection, [[maybe_unused]] Words words,
                                       std::index_sequence<Index...>)
    {
        return stub(ArgumentAt<Index>(words[Index]).value..., connection.client());
    }
};

/// A Procedure from a row of a program's table.
template <auto stub, auto resultFilter, auto toJson>
constexpr Procedure procedureOf(unsigned number, std::string_view name, std::string_view declaration)
{
    using Call = ClientCall<stub>;
    return {number,          name,        declaration,
            Call::arguments, Call::check, Call::template call<resultFilter, toJson>};
}

} // namespace dhcpractl
