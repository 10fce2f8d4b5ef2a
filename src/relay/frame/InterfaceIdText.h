#pragma once

#include <cstdint>
#include <string_view>

/// Reads port and VLAN back from the text of an interface id: "... a/b/port:vlan[:cvlan]", from the right.
namespace frame {

enum class InterfaceIdField {
    found,
    noColon,
    noSlash, ///< not two of them
    empty,
};

struct InterfaceIdPort
{
    InterfaceIdField result;
    std::string_view port{}; ///< the last two steps of the path, "2/5"
};

struct InterfaceIdVlan
{
    InterfaceIdField result;
    std::uint16_t vlan = 0;
};

[[nodiscard]] InterfaceIdPort portOfInterfaceId(std::string_view interfaceId);

/// The number behind the last ':', read by numberAtStart(). Where a customer VLAN stands last, it is this
/// one.
[[nodiscard]] InterfaceIdVlan vlanOfInterfaceId(std::string_view interfaceId);

} // namespace frame
