#include "tools/dhcpractl/Apply.h"

#include "tools/dhcpractl/Failures.h"
#include "tools/dhcpractl/Lines.h"
#include "tools/dhcpractl/Procedures.h"

#include <filesystem>
#include <fstream>
#include <iostream>

namespace dhcpractl {

namespace {

void applyLine(Connection& connection, const std::vector<std::string>& words, bool dryRun)
{
    const Program& program = connection.program();
    const Words arguments = Words(words).subspan(1);
    const Procedure& procedure = checkCall(program, words.front(), arguments);
    if (dryRun)
        return;
    const Json result = procedure.call(connection, procedure.name, arguments);
    if (!isGood(program, procedure, result))
        throw Refused(refusalText(program, procedure, result));
}

int applyLines(Connection& connection, std::istream& lines, const std::string& name,
               const ApplyOptions& options)
{
    int worst = exitGood;
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const auto stop = [&](const std::exception& error, int code) {
            std::cerr << name << ':' << number << ": " << error.what() << '\n';
            worst = std::max(worst, code);
            return !options.keepGoing;
        };
        try {
            const std::vector<std::string> words = splitLine(line);
            if (!words.empty())
                applyLine(connection, words, options.dryRun);
        } catch (const UsageError& error) {
            if (stop(error, exitUsage))
                return worst;
        } catch (const Refused& error) {
            if (stop(error, exitRefused))
                return worst;
        } catch (const Unreachable& error) {
            throw Unreachable(name + ":" + std::to_string(number) + ": " + error.what());
        }
    }
    if (lines.bad())
        throw UsageError("cannot read " + name);
    return worst;
}

} // namespace

int apply(Connection& connection, const ApplyOptions& options)
{
    if (options.file == "-")
        return applyLines(connection, std::cin, "standard input", options);
    if (std::filesystem::is_directory(options.file))
        throw UsageError("cannot read " + options.file + ": it is a directory");
    std::ifstream file(options.file);
    if (!file)
        throw UsageError("cannot read " + options.file);
    return applyLines(connection, file, options.file, options);
}

} // namespace dhcpractl
