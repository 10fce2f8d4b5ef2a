#pragma once

#include "vnode/model/Ether.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>

namespace vnode {

/// Application filters that the bridge offers: frames that match one leave for a pseudo device.
enum class Filter : std::uint8_t { dhcp, dhcpv6, icmpv6 };

struct FilterRow
{
    Filter filter;
    std::string_view name;
    bool (*matches)(std::span<const std::uint8_t> frame, const EtherHeader& header);
};

/// DHCPv4 both ways: an IPv4 frame, or its first fragment, to UDP port 67 or 68.
[[nodiscard]] bool matchesDhcp(std::span<const std::uint8_t> frame, const EtherHeader& header);

/// DHCPv6 both ways: an IPv6 frame, or its first fragment, to UDP port 546 or 547, also behind extension
/// headers.
[[nodiscard]] bool matchesDhcpv6(std::span<const std::uint8_t> frame, const EtherHeader& header);

/// ICMPv6 of any type, also behind extension headers.
[[nodiscard]] bool matchesIcmpv6(std::span<const std::uint8_t> frame, const EtherHeader& header);

inline constexpr std::array<FilterRow, 3> filterRows{{
    {Filter::dhcp, "dhcp", matchesDhcp},
    {Filter::dhcpv6, "dhcpv6", matchesDhcpv6},
    {Filter::icmpv6, "icmpv6", matchesIcmpv6},
}};

/// Pseudo devices and the filters attached to them. Both stay when the daemon ends: a restarted one finds
/// them.
class Filters
{
public:
    /// 0, EEXIST, or EINVAL for a name that Linux would not take.
    [[nodiscard]] int createDevice(const std::string& name);
    bool removeDevice(const std::string& name); ///< detaches what was attached to it
    [[nodiscard]] const std::set<std::string>& devices() const { return created; }

    /// Attaches the filter or moves it to another device: 0, EINVAL for an unknown filter, ENODEV for an
    /// unknown device.
    [[nodiscard]] int attach(std::string_view filter, const std::string& device);
    bool detach(std::string_view filter);

    /// Device to which @p filter is attached; empty: none.
    [[nodiscard]] const std::string& deviceOf(Filter filter) const;

    /// Device for which the frame has to leave; null: none.
    [[nodiscard]] const std::string* match(std::span<const std::uint8_t> frame,
                                           const EtherHeader& header) const;

private:
    std::set<std::string> created;
    std::array<std::string, filterRows.size()> attached;
};

} // namespace vnode
