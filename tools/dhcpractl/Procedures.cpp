#include "tools/dhcpractl/Procedures.h"

#include "tools/dhcpractl/Connection.h"
#include "tools/dhcpractl/Failures.h"

#include <algorithm>
#include <charconv>

namespace dhcpractl {

namespace {

/// The name without what may be left out, if it starts with that.
std::string_view without(std::string_view beginning, std::string_view name)
{
    return name.starts_with(beginning) ? name.substr(beginning.size()) : name;
}

bool isNamed(const Program& program, const Procedure& procedure, std::string_view name)
{
    const std::string_view behindRpc = without("rpc_", procedure.name);
    return procedure.name == name || behindRpc == name || without(program.prefix, behindRpc) == name;
}

} // namespace

std::string wordsOf(const Procedure& procedure)
{
    std::string words;
    std::string_view rest = procedure.declaration;
    while (procedure.arguments != 0 && !rest.empty()) {
        const std::size_t end = rest.find_first_of(",)");
        const std::size_t begin = rest.rfind(' ', end) + 1; // behind the type
        words += (words.empty() ? "" : " ") + std::string(rest.substr(begin, end - begin));
        rest.remove_prefix(std::min(end + 2, rest.size()));
    }
    std::ranges::replace(words, '_', '-');
    return words;
}

const Procedure& findProcedure(const Program& program, const std::string& name)
{
    unsigned number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    const bool isNumber = error == std::errc{} && end == name.data() + name.size();
    const auto found = std::ranges::find_if(program.procedures, [&](const Procedure& procedure) {
        return isNumber ? procedure.number == number : isNamed(program, procedure, name);
    });
    if (found == program.procedures.end())
        throw UsageError("there is no procedure '" + name + "'");
    return *found;
}

const Procedure& checkCall(const Program& program, const std::string& name, Words words)
{
    const Procedure& procedure = findProcedure(program, name);
    if (words.size() != procedure.arguments)
        throw UsageError(std::string(procedure.name) + " takes " + std::to_string(procedure.arguments) +
                         " arguments" + (procedure.arguments == 0 ? "" : ": ") + wordsOf(procedure));
    procedure.check(words);
    return procedure;
}

Json call(Connection& connection, const std::string& name, Words words)
{
    const Procedure& procedure = checkCall(connection.program(), name, words);
    return procedure.call(connection, procedure.name, words);
}

Json call(Connection& connection, const std::string& name, const std::vector<std::string>& words)
{
    return call(connection, name, Words(words));
}

int codeOf(const Json& result)
{
    if (result.empty())
        return 0;
    const auto code = result.find("code");
    return (code == result.end() ? result.at("result") : *code).get<int>();
}

bool isGood(const Program& program, const Procedure& procedure, const Json& result)
{
    return codeOf(result) == program.goodCode(procedure);
}

std::string refusalText(const Program& program, const Procedure& procedure, const Json& result)
{
    const int code = codeOf(result);
    return std::string(procedure.name) + " answered " + std::to_string(code) + " (" +
           std::string(program.meaningOf(code)) + ")";
}

} // namespace dhcpractl
