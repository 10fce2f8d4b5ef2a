#pragma once

#include <string>

/// What failed (a text with the step, ready for the name to follow) on which terminal.
using TerminalFailureReport = void (*)(const char* what, const std::string& tty);

/// Reports to the log.
void logTerminalFailure(const char* what, const std::string& tty);

/**
 * Writes @p text to the terminal @p tty (any file that can be written is fine, but no block device). Answers
 * true when that failed, which is reported. A terminal that takes nothing, a FIFO without a reader or a full
 * disk cost the caller two seconds at most.
 */
[[nodiscard]] bool answerOnTerminal(const std::string& text, const std::string& tty,
                                    TerminalFailureReport report = logTerminalFailure);
