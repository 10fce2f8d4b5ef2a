#pragma once

#include <string>

/**
 * Writes @p text to the terminal @p tty (any file that can be written is fine, but no block device). Answers
 * true when that failed, which is logged. A terminal that takes nothing, a FIFO without a reader or a full
 * disk cost the caller two seconds at most.
 */
[[nodiscard]] bool answerOnTerminal(const std::string& text, const std::string& tty);
