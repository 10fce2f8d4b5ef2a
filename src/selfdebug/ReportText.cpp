#include "selfdebug/ReportText.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <memory>
#include <sstream>

namespace reportText {
namespace {

constexpr std::size_t kernelNameLength = 15;

bool hasFaultAddress(int signal)
{
    return signal == SIGILL || signal == SIGBUS || signal == SIGFPE || signal == SIGSEGV;
}

/// Replaces the mangled name between the brackets of "file(name+0x1f) [0x...]".
void demangle(std::string& line)
{
    const std::size_t open = line.find('(');
    const std::size_t close = open == std::string::npos ? open : line.find(')', open);
    if (close == std::string::npos)
        return;
    const std::size_t begin = open + 1;
    const std::size_t offset = line.rfind("+0x", close);
    const std::size_t end = offset != std::string::npos && offset >= begin ? offset : close;
    const std::string mangled = line.substr(begin, end - begin);
    int status = -1;
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status), std::free);
    if (status == 0 && name != nullptr)
        line.replace(begin, end - begin, name.get());
}

} // namespace

bool isFatal(const slfDbgMsg& record) { return record.signal > 0 && record.signal != SIGUSR1; }

std::string signalLines(const slfDbgMsg& record)
{
    if (!isFatal(record))
        return {};
    const char* name = strsignal(record.signal);
    std::ostringstream text;
    text << "\nFatal signal received: " << record.signal << ": " << (name != nullptr ? name : "?") << "\n";
    if (hasFaultAddress(record.signal))
        text << "Fault address: " << std::hex << reinterpret_cast<std::uintptr_t>(record.faultAddress)
             << "\n";
    return text.str();
}

std::string backtraceSection(const std::vector<std::string>& lines)
{
    std::string text = "\nBacktrace:\n";
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

std::string readableFrame(std::string line, const std::string& rewrittenName, const std::string& launchName)
{
    if (!rewrittenName.empty() && line.compare(0, rewrittenName.size(), rewrittenName) == 0)
        line.replace(0, rewrittenName.size(), launchName);
    demangle(line);
    return line;
}

std::string reporterName(const char* processName)
{
    char text[64];
    const int length = snprintf(text, sizeof(text), "[dbg %s]", processName);
    if (length > static_cast<int>(kernelNameLength))
        text[kernelNameLength - 1] = ']';
    return text;
}

void overwriteInPlace(char* argument, const std::string& name)
{
    constexpr std::size_t worthCutting = 8;
    const std::size_t room = strlen(argument);
    memset(argument, 0, room);
    if (name.size() <= room) {
        name.copy(argument, name.size());
    } else if (room > worthCutting) {
        name.copy(argument, room - 1);
        argument[room - 1] = ']';
    } else if (room > 0) {
        argument[0] = 'd';
    }
}

std::vector<std::string> nonEmptyLines(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        if (end != 0)
            lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

} // namespace reportText
