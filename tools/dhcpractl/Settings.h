#pragma once

#include "tools/dhcpractl/Connection.h"
#include "tools/dhcpractl/Results.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/**
 * The relay's settings as rows: the words of "set", the lines of "show" and of "save" are all made from them.
 */
namespace dhcpractl {

/// How a value reads for people; "set" takes the same words.
enum class Kind { onOff, threeState, interfaceMode, circuitIdMode, interfaceIdMode, number, address, text };

struct Setting
{
    std::string_view key; ///< word of the command line
    Kind kind = Kind::text;
    std::string_view setter; ///< procedure names without "rpc_"
    std::string_view getter; ///< empty: the daemon does not tell it
    std::string_view about;
    std::string_view field = "value"; ///< of the getter's result, or of an element of its list
};

/// Setters take the value.
[[nodiscard]] std::span<const Setting> relaySettings();
/// Setters take interface and value, getters the interface.
[[nodiscard]] std::span<const Setting> interfaceSettings();
/// Setters take interface, VLAN and value. Getters list all VLANs of an interface; "field" is in the
/// elements.
[[nodiscard]] std::span<const Setting> interfaceVlanSettings();
/// Setters take VLAN and value. Getters list all VLANs.
[[nodiscard]] std::span<const Setting> vlanSettings();

/// The row with this key. @throws UsageError that names the keys there are
[[nodiscard]] const Setting& findSetting(std::span<const Setting> settings, const std::string& key);

/// For people and for "set": "on", "clients", "10.0.0.1", the text itself.
[[nodiscard]] std::string valueText(Kind kind, const Json& value);

/// Where procedures take the VLAN: behind the value, or before it.
[[nodiscard]] bool vlanComesLast(const Setting& setting);

struct IdRange
{
    std::uint32_t first;
    std::uint32_t last;
};

/**
 * Ids of the relay's interfaces: all, or those in the range. No procedure lists them, a debug word does;
 * where that is not answered, each id of the range is asked for. @throws Refused when there is no range then
 */
[[nodiscard]] std::vector<std::uint32_t> findInterfaces(Connection& connection,
                                                        const std::optional<IdRange>& range);

/// Calls and answers the result. @throws Refused when its code is not 0
Json ask(Connection& connection, std::string_view procedure, const std::vector<std::string>& arguments = {});

/// The list in the result.
[[nodiscard]] Json askList(Connection& connection, std::string_view procedure,
                           const std::vector<std::string>& arguments = {});

} // namespace dhcpractl
