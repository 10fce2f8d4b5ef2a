#include "tools/dhcpractl/Print.h"

#include <ostream>

namespace dhcpractl {

namespace {

std::string plain(const Json& value)
{
    return value.is_string() ? value.get<std::string>() : jsonText(value);
}

void printElement(std::ostream& out, const Json& element)
{
    const char* separator = "  ";
    for (const auto& [key, value] : element.items()) {
        out << separator << key << ' ' << plain(value);
        separator = ", ";
    }
    out << '\n';
}

} // namespace

std::string jsonText(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

void print(std::ostream& out, const Json& result, bool json)
{
    if (json) {
        out << result.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
        return;
    }
    for (const auto& [key, value] : result.items()) {
        if (key == "list") {
            out << "list of " << value.size() << '\n';
            for (const Json& element : value)
                printElement(out, element);
        } else if (value.is_object()) {
            out << key << '\n';
            printElement(out, value);
        } else {
            out << key << ' ' << plain(value) << '\n';
        }
    }
}

} // namespace dhcpractl
