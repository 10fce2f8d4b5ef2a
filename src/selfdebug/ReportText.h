#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "selfdebug/ReporterLink.h"

/// The texts of a report, and of the reporter's own appearance. No I/O here.
namespace reportText {

/// Whether the record speaks of a signal that ends the process.
bool isFatal(const slfDbgMsg& record);

/// The lines about the signal; empty for a report on request.
std::string signalLines(const slfDbgMsg& record);

/// "Backtrace:" and the given lines.
std::string backtraceSection(const std::vector<std::string>& lines);

/// A line as backtrace_symbols gives it, made readable: the program's launch name instead of the name under
/// which the reporter shows itself, and the function's name demangled.
std::string readableFrame(std::string line, const std::string& rewrittenName, const std::string& launchName);

/// "[dbg NAME]", closed where the kernel cuts process names.
std::string reporterName(const char* processName);

/// Writes @p name over argv[0] in place, as much as its room holds, so that process lists show it.
void overwriteInPlace(char* argument, const std::string& name);

/// The non-empty lines of a text, without their newlines.
std::vector<std::string> nonEmptyLines(std::string_view text);

} // namespace reportText
