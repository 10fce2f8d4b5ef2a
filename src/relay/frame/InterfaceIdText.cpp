#include "relay/frame/InterfaceIdText.h"

#include "relay/frame/IdNumber.h"

#include <cstddef>

namespace frame {

namespace {

constexpr auto npos = std::string_view::npos;

} // namespace

InterfaceIdPort portOfInterfaceId(std::string_view id)
{
    const std::size_t colon = id.rfind(':');
    if (colon == npos)
        return {InterfaceIdField::noColon};
    // All of the text is searched, also what stands behind the ':'.
    const std::size_t last = id.rfind('/');
    if (last == npos || last == 0)
        return {InterfaceIdField::noSlash};
    const std::size_t previous = id.rfind('/', last - 1);
    if (previous == npos)
        return {InterfaceIdField::noSlash};
    if (colon <= previous + 1)
        return {InterfaceIdField::empty};
    return {InterfaceIdField::found, id.substr(previous + 1, colon - previous - 1)};
}

InterfaceIdVlan vlanOfInterfaceId(std::string_view id)
{
    const std::size_t colon = id.rfind(':');
    if (colon == npos)
        return {InterfaceIdField::noColon};
    const auto number = id.substr(colon + 1);
    if (number.empty())
        return {InterfaceIdField::empty};
    return {InterfaceIdField::found, numberAtStart<std::uint16_t>(number)};
}

} // namespace frame
