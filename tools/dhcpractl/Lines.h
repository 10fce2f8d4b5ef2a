#pragma once

#include <string>
#include <string_view>
#include <vector>

/**
 * Lines of configuration files: words between spaces, '#' starts a comment. A word in single quotes stands as
 * it is; in double quotes \\ \" \n \r \t and \xHH stand for what they do elsewhere, so that any text fits on
 * a line.
 */
namespace dhcpractl {

/// @throws UsageError for a quote without its end or an unknown escape.
[[nodiscard]] std::vector<std::string> splitLine(std::string_view line);

/// The word so that splitLine() reads it back.
[[nodiscard]] std::string quoteWord(std::string_view word);

} // namespace dhcpractl
