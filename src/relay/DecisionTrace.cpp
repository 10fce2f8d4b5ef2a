#include "relay/DecisionTrace.h"

#include <string_view>

namespace {

// "void dhcpraImpl::discard(dhcpraMessage&, ...)" is "discard" in the channel.
std::string_view plainName(std::string_view signature)
{
    signature = signature.substr(0, signature.find('('));
    const std::size_t start = signature.find_last_of(": ");
    return start == std::string_view::npos ? signature : signature.substr(start + 1);
}

} // namespace

std::string DecisionTrace::channelFormat(const DecisionText& text)
{
    std::string_view words = text.format;
    words.remove_prefix(std::min(words.find_first_not_of("\t "), words.size()));
    if (words.ends_with('\n'))
        words.remove_suffix(1);

    std::string format = "\tDHCPRA_DEBUG:";
    format.append(plainName(text.where.function_name()));
    format.append(",").append(std::to_string(text.where.line())).append(": ");
    return format.append(words).append("\n");
}
