#include "relay/frame/CircuitIdText.h"

#include "relay/frame/IdNumber.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace frame {

namespace {

constexpr auto npos = std::string_view::npos;

bool isAtmForm(std::string_view text) { return text.find("atm") != npos; }
bool isMakerForm(std::string_view text) { return text.find("KORVANEL") != npos; }

/// Whether a C-VLAN stands behind the VLAN, told by the number of colons; nothing for a number that no form
/// has.
std::optional<bool> hasCvlan(std::string_view text)
{
    const auto withoutCvlan = isMakerForm(text) ? 2 : 1;
    const auto colons = std::count(text.begin(), text.end(), ':');
    if (colons == withoutCvlan)
        return false;
    if (colons == withoutCvlan + 1)
        return true;
    return std::nullopt;
}

/// The last occurrence in front of a position.
std::size_t lastBefore(std::string_view text, char character, std::size_t position)
{
    return text.substr(0, position).rfind(character);
}

/// What lies between two positions, without them; nothing if they stand in the wrong order.
std::string_view between(std::string_view text, std::size_t from, std::size_t to)
{
    return to > from ? text.substr(from + 1, to - from - 1) : std::string_view();
}

VlanField vlanField(std::string_view text)
{
    if (text.empty())
        return {VlanFieldResult::empty};
    return {VlanFieldResult::found, numberAtStart<std::uint16_t>(text)};
}

PortField makerPort(std::string_view text, std::size_t stop, std::size_t lastSlash)
{
    const std::size_t previous = lastBefore(text, '/', lastSlash);
    if (previous == npos)
        return {PortFieldResult::noSlash, {}};
    // Interface names of two and of three parts stand behind the slot.
    const std::size_t first = lastBefore(text, '/', previous);
    const auto port = between(text, first == npos ? previous : first, stop);
    if (port.empty())
        return {PortFieldResult::empty, {}};
    return {PortFieldResult::found, std::string(port)};
}

PortField withPanel(PortFieldResult result, std::string_view tail)
{
    return {result, std::string("0/").append(tail)};
}

PortField standardPort(std::string_view text, std::size_t stop, std::size_t lastSlash)
{
    // Chassis and slot, then a port tail of one part or of two.
    const bool twoParts = std::count(text.begin(), text.end(), '/') == 3;
    const auto port = between(text, twoParts ? lastBefore(text, '/', lastSlash) : lastSlash, stop);
    if (port.empty())
        return {PortFieldResult::empty, {}};
    return withPanel(PortFieldResult::found, port);
}

PortField atmPort(std::string_view text)
{
    const std::size_t stop = text.rfind(':');
    if (stop == npos)
        return {PortFieldResult::noColon, {}};
    const std::size_t slash = text.rfind('/');
    if (slash == npos || slash == 0)
        return {PortFieldResult::noSlash, {}};
    const auto tail = between(text, slash, stop);
    if (tail.empty())
        return {PortFieldResult::empty, {}};

    auto field = withPanel(PortFieldResult::foundAtm, tail);
    // Without a dot behind the colon the vpi ends with the text, and the vci starts where the search for the
    // dot leaves off: behind a dot further left, else at the start of the text.
    const std::size_t dot = text.rfind('.');
    const bool dotInPlace = dot != npos && dot > stop;
    field.vpi = numberAtStart<std::uint32_t>(between(text, stop, dotInPlace ? dot : text.size()));
    field.vci = numberAtStart<std::uint32_t>(dot == npos ? text : text.substr(dot + 1));
    return field;
}

} // namespace

VlanField vlanOfCircuitId(std::string_view circuitId)
{
    if (isAtmForm(circuitId))
        return {VlanFieldResult::atmForm};
    const auto cvlan = hasCvlan(circuitId);
    if (!cvlan)
        return {VlanFieldResult::unknownForm};

    const std::size_t lastColon = circuitId.rfind(':');
    if (!*cvlan)
        return vlanField(circuitId.substr(lastColon + 1));

    const std::size_t previous = lastBefore(circuitId, ':', lastColon);
    const auto text = between(circuitId, previous, lastColon);
    if (previous == 0 || text.empty())
        return {VlanFieldResult::unknownForm};
    return vlanField(text);
}

VlanField cvlanOfCircuitId(std::string_view circuitId)
{
    if (isAtmForm(circuitId))
        return {VlanFieldResult::atmForm};
    const auto cvlan = hasCvlan(circuitId);
    if (!cvlan)
        return {VlanFieldResult::unknownForm};
    if (!*cvlan)
        return {VlanFieldResult::noCvlan};
    return vlanField(circuitId.substr(circuitId.rfind(':') + 1));
}

PortField portOfCircuitId(std::string_view circuitId)
{
    if (isAtmForm(circuitId))
        return atmPort(circuitId);
    const auto cvlan = hasCvlan(circuitId);
    if (!cvlan)
        return {PortFieldResult::unknownForm, {}};

    const std::size_t lastColon = circuitId.rfind(':');
    const std::size_t stop = *cvlan ? lastBefore(circuitId, ':', lastColon) : lastColon;
    const std::size_t slash = circuitId.rfind('/');
    if (slash == npos || slash == 0)
        return {PortFieldResult::noSlash, {}};
    return isMakerForm(circuitId) ? makerPort(circuitId, stop, slash) : standardPort(circuitId, stop, slash);
}

} // namespace frame
