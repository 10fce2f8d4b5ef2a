#include "tools/dhcpractl/Arguments.h"

#include "tools/dhcpractl/Failures.h"
#include "wire/AddressText.h"
#include "wire/Mac.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <span>
#include <sstream>
#include <string_view>

namespace dhcpractl {

namespace {

struct NamedValue
{
    std::string_view name;
    int value;
};

constexpr NamedValue switches[] = {{"on", 1}, {"off", 0}, {"true", 1}, {"false", 0}, {"yes", 1}, {"no", 0}};
constexpr NamedValue threeStates[] = {{"unset", RPC_DHCPRA_NOT_SET}, {"false", RPC_DHCPRA_FALSE},
                                      {"no", RPC_DHCPRA_FALSE},      {"off", RPC_DHCPRA_FALSE},
                                      {"true", RPC_DHCPRA_TRUE},     {"yes", RPC_DHCPRA_TRUE},
                                      {"on", RPC_DHCPRA_TRUE}};
constexpr NamedValue interfaceModes[] = {{"disable", RPC_DHCPRA_MODE_DISABLE},
                                         {"clients", RPC_DHCPRA_MODE_CLIENTS},
                                         {"servers", RPC_DHCPRA_MODE_SERVERS},
                                         {"enable", RPC_DHCPRA_MODE_ENABLE}};
constexpr NamedValue circuitIdModes[] = {{"korvanel", RPC_DRA_CIRMODE_KORVANEL},
                                         {"standard", RPC_DRA_CIRMODE_STANDARD},
                                         {"atm", RPC_DRA_CIRMODE_ATM},
                                         {"custom", RPC_DRA_CIRMODE_CUSTOM},
                                         {"none", RPC_DRA_CIRMODE_NONE}};
constexpr NamedValue interfaceIdModes[] = {{"korvanel", RPC_DRA6_IIDMODE_KORVANEL},
                                           {"standard", RPC_DRA6_IIDMODE_STANDARD},
                                           {"custom", RPC_DRA6_IIDMODE_CUSTOM},
                                           {"none", RPC_DRA6_IIDMODE_NONE}};

std::string lower(std::string text)
{
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

/// A name of the list, or any number: peers may send those too.
int parseNamed(const std::string& word, std::span<const NamedValue> names)
{
    const std::string wanted = lower(word);
    const auto found = std::ranges::find(names, std::string_view(wanted), &NamedValue::name);
    if (found != names.end())
        return found->value;
    return static_cast<int>(
        parseNumber(word, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

template <std::size_t Size>
void putText(char (&target)[Size], const std::string& text)
{
    if (text.size() > Size)
        throw UsageError("'" + text + "' is longer than " + std::to_string(Size) + " characters");
    std::memcpy(target, text.data(), text.size());
}

bool putField(rpcDraSetInterface& record, const std::string& key, const std::string& value)
{
    struct Number
    {
        std::string_view key;
        u_int* field;
    };
    struct Switch
    {
        std::string_view key;
        bool_t* field;
    };
    const Number numbers[] = {{"id", &record.intf},
                              {"type", &record.type},
                              {"dsl1", &record.dslSpeed.first},
                              {"dsl2", &record.dslSpeed.second},
                              {"value1", &record.value1},
                              {"parent", &record.parent},
                              {"panel", &record.position.slot.number},
                              {"port", &record.position.port},
                              {"intf", &record.position.intf},
                              {"gem", &record.position.gem}};
    const Switch flags[] = {{"flag1", &record.flag1},
                            {"flag2", &record.flag2},
                            {"flag3", &record.flag3},
                            {"flag4", &record.flag4},
                            {"speed2", &record.phySpeed.second}};
    if (const auto* found = std::ranges::find(numbers, std::string_view(key), &Number::key);
        found != std::end(numbers))
        *found->field = parseUnsigned(value);
    else if (const auto* flag = std::ranges::find(flags, std::string_view(key), &Switch::key);
             flag != std::end(flags))
        *flag->field = parseInt(value) != 0;
    else if (key == "speed")
        record.phySpeed.speed = parseInt(value);
    else if (key == "name")
        putText(record.name, value);
    else if (key == "linux")
        putText(record.linuxName, value);
    else if (key == "description")
        putText(record.description, value);
    else if (key == "slot")
        putText(record.position.slot.text, value);
    else
        return false;
    return true;
}

} // namespace

std::int64_t parseNumber(const std::string& word, std::int64_t lowest, std::int64_t highest)
{
    const bool negative = word.starts_with('-');
    std::string_view digits = std::string_view(word).substr(negative ? 1 : 0);
    const bool hex = digits.starts_with("0x") || digits.starts_with("0X");
    if (hex)
        digits.remove_prefix(2);
    std::int64_t value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, hex ? 16 : 10);
    if (digits.starts_with('-') || error != std::errc{} || end != digits.data() + digits.size())
        throw UsageError("'" + word + "' is no number that fits here");
    value = negative ? -value : value;
    if (value < lowest || value > highest)
        throw UsageError("'" + word + "' is not between " + std::to_string(lowest) + " and " +
                         std::to_string(highest));
    return value;
}

std::uint32_t parseUnsigned(const std::string& word)
{
    if (const auto address = wire::readIpv4(word))
        return *address;
    return static_cast<std::uint32_t>(parseNumber(word, 0, std::numeric_limits<std::uint32_t>::max()));
}

int parseInt(const std::string& word) { return parseNamed(word, switches); }

std::array<std::uint8_t, 6> parseMac(const std::string& word)
{
    if (const auto mac = wire::readMac(word))
        return *mac;
    throw UsageError("'" + word + "' is no MAC address such as 02:00:00:00:00:01");
}

rpcDraSetInterface parseInterfaceRecord(const std::string& word)
{
    rpcDraSetInterface record{};
    std::istringstream fields(word);
    std::string field;
    while (std::getline(fields, field, ',')) {
        const std::size_t equals = field.find('=');
        if (equals == std::string::npos ||
            !putField(record, field.substr(0, equals), field.substr(equals + 1)))
            throw UsageError("'" + field + "' is no field of an interface record");
    }
    return record;
}

rpcDhcpRaThreeStateBool parseThreeState(const std::string& word)
{
    return static_cast<rpcDhcpRaThreeStateBool>(parseNamed(word, threeStates));
}

rpcDhcpRaInterfaceMode parseInterfaceMode(const std::string& word)
{
    return static_cast<rpcDhcpRaInterfaceMode>(parseNamed(word, interfaceModes));
}

rpcDraCircuitIdMode parseCircuitIdMode(const std::string& word)
{
    return static_cast<rpcDraCircuitIdMode>(parseNamed(word, circuitIdModes));
}

rpcDra6InterfaceIdMode parseInterfaceIdMode(const std::string& word)
{
    return static_cast<rpcDra6InterfaceIdMode>(parseNamed(word, interfaceIdModes));
}

Argument<rpcDraMacAddr>::Argument(const std::string& word) { std::ranges::copy(parseMac(word), value.mac); }

Argument<rpcDraSetLocalMac>::Argument(const std::string& word) : bytes(parseMac(word))
{
    value = {static_cast<u_int>(bytes.size()), reinterpret_cast<char*>(bytes.data())};
}

} // namespace dhcpractl
