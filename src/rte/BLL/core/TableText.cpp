#include "rte/BLL/core/TableText.h"

#include <sstream>

namespace tableText {

std::string rule(std::size_t length) { return std::string(length, '-') + "\n"; }

std::string cell(const std::string& text, std::size_t width)
{
    const std::size_t padding = text.size() < width ? width - text.size() : 0;
    return std::string(padding, ' ') + text + " | ";
}

std::string hex(unsigned long value)
{
    std::ostringstream text;
    text << std::hex << std::showbase << value;
    return text.str();
}

std::string threadId(const boost::thread::id& id)
{
    std::ostringstream text;
    text << std::showbase << id;
    return text.str();
}

} // namespace tableText
