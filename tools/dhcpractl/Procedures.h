#pragma once

#include "tools/dhcpractl/Connection.h"
#include "tools/dhcpractl/Results.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dhcpractl {

using Words = std::span<const std::string>;

/// A procedure as the command line calls it, from the rows that the daemon serves.
struct Procedure
{
    unsigned number;
    std::string_view name;
    std::string_view words; ///< one for each argument, for people
    std::size_t arguments;
    /// Both throw UsageError for a word that does not fit; call() throws Unreachable as well.
    void (*check)(Words words);
    Json (*call)(Connection& connection, std::string_view name, Words words);
};

[[nodiscard]] std::span<const Procedure> procedures();

/// By its name, with or without "rpc_" or "rpc_dra_" in front, or by its number. @throws UsageError
[[nodiscard]] const Procedure& findProcedure(const std::string& name);

/// Checks name, number of arguments and each of them, without calling. @throws UsageError
void checkCall(const std::string& name, Words words);

/// Calls and answers the result record, whatever its code.
[[nodiscard]] Json call(Connection& connection, const std::string& name, Words words);
[[nodiscard]] Json call(Connection& connection, const std::string& name,
                        const std::vector<std::string>& words = {});

/// The code of a result, or what stands in its place.
[[nodiscard]] int codeOf(const Json& result);
/// True for the ping's own answer too.
[[nodiscard]] bool isGood(const Procedure& procedure, const Json& result);
/// What a code other than 0 means.
[[nodiscard]] std::string meaningOf(int code);

} // namespace dhcpractl
