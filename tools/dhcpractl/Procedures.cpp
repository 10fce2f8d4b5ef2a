#include "tools/dhcpractl/Procedures.h"

#include "tools/dhcpractl/Arguments.h"
#include "tools/dhcpractl/Failures.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <tuple>
#include <utility>

namespace dhcpractl {

namespace {

struct Nothing
{};

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

template <auto stub>
class ClientCall
{
    using Stub = StubTypes<decltype(stub)>;
    template <std::size_t Index>
    using ArgumentAt = Argument<std::tuple_element_t<Index, typename Stub::Types>>;

public:
    static constexpr std::size_t arguments = Stub::arguments;

    static void check(Words words) { check(words, std::make_index_sequence<arguments>{}); }

    template <auto filter>
    static Json call(Connection& connection, std::string_view name, Words words)
    {
        typename Stub::Result* result = call(connection, words, std::make_index_sequence<arguments>{});
        if (result == nullptr)
            connection.fail(std::string(name));
        Json json = resultToJson(*result);
        xdr_free(libraryFilter(filter), result);
        return json;
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

#define PROCEDURE(number, name, words, argumentFilter, resultFilter, shape, operation)                       \
    Procedure{number,                                                                                        \
              "rpc_" #name,                                                                                  \
              words,                                                                                         \
              ClientCall<rpc_##name##_1>::arguments,                                                         \
              ClientCall<rpc_##name##_1>::check,                                                             \
              ClientCall<rpc_##name##_1>::template call<resultFilter>},

constexpr auto rows = std::to_array<Procedure>({
#include "rpc/dhcpraProcedures.def"
});

#undef PROCEDURE

bool isNamed(const Procedure& procedure, std::string_view name)
{
    return procedure.name == name || procedure.name.substr(std::string_view("rpc_").size()) == name ||
           (procedure.name.starts_with("rpc_dra_") &&
            procedure.name.substr(std::string_view("rpc_dra_").size()) == name);
}

const Procedure& checked(const std::string& name, Words words)
{
    const Procedure& procedure = findProcedure(name);
    if (words.size() != procedure.arguments)
        throw UsageError(std::string(procedure.name) + " takes " + std::to_string(procedure.arguments) +
                         " arguments" + (procedure.words.empty() ? "" : ": ") + std::string(procedure.words));
    return procedure;
}

} // namespace

std::span<const Procedure> procedures() { return rows; }

const Procedure& findProcedure(const std::string& name)
{
    unsigned number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    const bool isNumber = error == std::errc{} && end == name.data() + name.size();
    const auto found = std::ranges::find_if(rows, [&](const Procedure& procedure) {
        return isNumber ? procedure.number == number : isNamed(procedure, name);
    });
    if (found == rows.end())
        throw UsageError("there is no procedure '" + name + "'");
    return *found;
}

void checkCall(const std::string& name, Words words) { checked(name, words).check(words); }

Json call(Connection& connection, const std::string& name, Words words)
{
    const Procedure& procedure = checked(name, words);
    return procedure.call(connection, procedure.name, words);
}

Json call(Connection& connection, const std::string& name, const std::vector<std::string>& words)
{
    return call(connection, name, Words(words));
}

int codeOf(const Json& result)
{
    const auto code = result.find("code");
    return (code == result.end() ? result.at("result") : *code).get<int>();
}

bool isGood(const Procedure& procedure, const Json& result)
{
    return codeOf(result) == (procedure.number == 105 ? RPC_DRA_PING : RPC_DRA_SUCCESS);
}

std::string meaningOf(int code)
{
    switch (code) {
    case RPC_DRA_CONFIG_FAILED:
        return "unknown interface or VLAN, value refused, or the daemon is busy";
    case RPC_DRA_ENTITY_FAILED:
        return "unknown interface, value refused or incomplete, or the daemon is busy";
    default:
        return "";
    }
}

} // namespace dhcpractl
