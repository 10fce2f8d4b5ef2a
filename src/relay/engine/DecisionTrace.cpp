#include "relay/engine/DecisionTrace.h"

#include <algorithm>
#include <string_view>

std::string DecisionTrace::channelFormat(const DecisionText& text)
{
    std::string_view words = text.format;
    words.remove_prefix(std::min(words.find_first_not_of("\t "), words.size()));
    if (words.ends_with('\n'))
        words.remove_suffix(1);

    std::string format = "\tDHCPRA_DEBUG:";
    format.append(text.function).append(",").append(std::to_string(text.line)).append(": ");
    return format.append(words).append("\n");
}
