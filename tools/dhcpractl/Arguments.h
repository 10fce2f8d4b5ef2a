#pragma once

#include "tools/dhcpractl/ClientCall.h"

#include <array>
#include <cstdint>
#include <dhcpra.h> // made from dhcpra.x
#include <string>

/// Arguments of procedures from words of a command line. All throw UsageError for a word that does not fit.
namespace dhcpractl {

/// Decimal, or hexadecimal with 0x.
[[nodiscard]] std::int64_t parseNumber(const std::string& word, std::int64_t lowest, std::int64_t highest);
/// A number; also an address such as 10.0.0.1, as the number that travels.
[[nodiscard]] std::uint32_t parseUnsigned(const std::string& word);
/// A number; also on/off, true/false, yes/no.
[[nodiscard]] int parseInt(const std::string& word);
/// Six bytes in hex, with or without colons.
[[nodiscard]] std::array<std::uint8_t, 6> parseMac(const std::string& word);
/// "key=value,key=value": the fields of the record by their names; those not named are 0 or empty.
[[nodiscard]] rpcDraSetInterface parseInterfaceRecord(const std::string& word);

[[nodiscard]] rpcDhcpRaThreeStateBool parseThreeState(const std::string& word);   ///< unset, false, true
[[nodiscard]] rpcDhcpRaInterfaceMode parseInterfaceMode(const std::string& word); ///< disable, clients, ...
[[nodiscard]] rpcDraCircuitIdMode parseCircuitIdMode(const std::string& word);    ///< vendor, standard, ...
[[nodiscard]] rpcDra6InterfaceIdMode parseInterfaceIdMode(const std::string& word);

template <>
struct Argument<u_int>
{
    explicit Argument(const std::string& word) : value(parseUnsigned(word)) {}
    u_int value;
};
template <>
struct Argument<u_short>
{
    explicit Argument(const std::string& word) : value(static_cast<u_short>(parseNumber(word, 0, 0xFFFF))) {}
    u_short value;
};
template <>
struct Argument<int>
{
    explicit Argument(const std::string& word) : value(parseInt(word)) {}
    int value;
};
template <>
struct Argument<char*>
{
    explicit Argument(const std::string& word) : text(word), value(text.data()) {}
    Argument(const Argument&) = delete;
    Argument& operator=(const Argument&) = delete;
    std::string text;
    char* value;
};
template <>
struct Argument<rpcDhcpRaThreeStateBool>
{
    explicit Argument(const std::string& word) : value(parseThreeState(word)) {}
    rpcDhcpRaThreeStateBool value;
};
template <>
struct Argument<rpcDhcpRaInterfaceMode>
{
    explicit Argument(const std::string& word) : value(parseInterfaceMode(word)) {}
    rpcDhcpRaInterfaceMode value;
};
template <>
struct Argument<rpcDraCircuitIdMode>
{
    explicit Argument(const std::string& word) : value(parseCircuitIdMode(word)) {}
    rpcDraCircuitIdMode value;
};
template <>
struct Argument<rpcDra6InterfaceIdMode>
{
    explicit Argument(const std::string& word) : value(parseInterfaceIdMode(word)) {}
    rpcDra6InterfaceIdMode value;
};
template <>
struct Argument<rpcDraLoggingLevel>
{
    explicit Argument(const std::string& word) : value(static_cast<rpcDraLoggingLevel>(parseInt(word))) {}
    rpcDraLoggingLevel value;
};
template <>
struct Argument<rpcDhcpraBllConfEvent>
{
    explicit Argument(const std::string& word) : value(static_cast<rpcDhcpraBllConfEvent>(parseInt(word))) {}
    rpcDhcpraBllConfEvent value;
};
template <>
struct Argument<rpcDraMacAddr>
{
    explicit Argument(const std::string& word);
    rpcDraMacAddr value{};
};
template <>
struct Argument<rpcDraSetLocalMac>
{
    explicit Argument(const std::string& word);
    Argument(const Argument&) = delete;
    Argument& operator=(const Argument&) = delete;
    std::array<std::uint8_t, 6> bytes;
    rpcDraSetLocalMac value{};
};
template <>
struct Argument<rpcDraSetInterface>
{
    explicit Argument(const std::string& word) : value(parseInterfaceRecord(word)) {}
    rpcDraSetInterface value;
};

} // namespace dhcpractl
