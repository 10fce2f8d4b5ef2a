#pragma once

#include <nlohmann/json.hpp>
#include <rpc/rpc.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dhcpractl {

class Connection;

using Json = nlohmann::ordered_json;
using Words = std::span<const std::string>;

/// A procedure as the command line calls it, from the rows that the daemon serves.
struct Procedure
{
    unsigned number;
    std::string_view name;
    std::string_view declaration; ///< "(type WORD, ...)", as in its row
    std::size_t arguments;
    /// Both throw UsageError for a word that does not fit; call() throws Unreachable as well.
    void (*check)(Words words);
    Json (*call)(Connection& connection, std::string_view name, Words words);
};

/// A program of the daemon.
struct Program
{
    std::string_view word; ///< of the command line
    std::string_view about;
    rpcprog_t number;
    rpcvers_t version;
    std::string_view prefix; ///< of names, behind "rpc_"; may be left out
    std::span<const Procedure> procedures;
    /// The code of a result that says that all went well.
    int (*goodCode)(const Procedure& procedure);
    /// What another code means, for people.
    std::string_view (*meaningOf)(int code);
};

/// One word for each argument, for people.
[[nodiscard]] std::string wordsOf(const Procedure& procedure);

/// By its name, with or without "rpc_" or that and the program's prefix in front, or by its number.
/// @throws UsageError
[[nodiscard]] const Procedure& findProcedure(const Program& program, const std::string& name);

/// The procedure, after a check of name, number of arguments and each of them. @throws UsageError
const Procedure& checkCall(const Program& program, const std::string& name, Words words);

/// Calls and answers the result record, whatever its code.
[[nodiscard]] Json call(Connection& connection, const std::string& name, Words words);
[[nodiscard]] Json call(Connection& connection, const std::string& name,
                        const std::vector<std::string>& words = {});

/// The code of a result, or what stands in its place; 0 where a procedure answers nothing.
[[nodiscard]] int codeOf(const Json& result);
[[nodiscard]] bool isGood(const Program& program, const Procedure& procedure, const Json& result);
/// "rpc_NAME answered CODE (what it means)".
[[nodiscard]] std::string refusalText(const Program& program, const Procedure& procedure, const Json& result);

} // namespace dhcpractl
