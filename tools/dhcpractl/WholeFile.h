#pragma once

#include <string>

namespace dhcpractl {

/**
 * Writes a file that is whole or as it was before: the text goes to FILE.new, which is renamed. Signals that
 * end the program wait meanwhile, so that no FILE.new is left. @throws UsageError
 */
void writeWholeFile(const std::string& file, const std::string& text);

/// Ends standard output: what is still in a buffer is written out. False where any of it was lost.
[[nodiscard]] bool closeStandardOutput();

} // namespace dhcpractl
