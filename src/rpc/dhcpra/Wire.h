#pragma once

#include "relay/entity/dhcpra.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <dhcpra.h> // made from dhcpra.x
#include <string>
#include <string_view>

/**
 * Between the wire's types and the entity's: enumerations and numbers keep their value whatever it is, a
 * string becomes a string of the entity's own, texts are copied into arrays that are zero already.
 */
namespace wire {

// ---- arguments, on their way to the entity ----

inline auto toEntity(rpcDhcpRaThreeStateBool value)
{
    return static_cast<dhcpraTypes::threeStateBool>(value);
}
inline auto toEntity(rpcDhcpRaInterfaceMode value) { return static_cast<dhcpraTypes::interfaceMode>(value); }
inline auto toEntity(rpcDraCircuitIdMode value)
{
    return static_cast<dhcpraInterface::circuitIdMode_t>(value);
}
inline auto toEntity(rpcDra6InterfaceIdMode value)
{
    return static_cast<dhcpraInterface::interfaceIdModeV6_t>(value);
}
inline auto toEntity(rpcDraLoggingLevel value) { return static_cast<dhcpraTypes::dhcpraLoggingLevel>(value); }
inline auto toEntity(rpcDhcpraBllConfEvent value) { return static_cast<int>(value); }
inline int toEntity(int value) { return value; }
inline u_int toEntity(u_int value) { return value; }
inline u_short toEntity(u_short value) { return value; }
inline std::string toEntity(const char* value) { return value; }

/// A text array may use all of its bytes and lack the terminator.
template <std::size_t Size>
std::string textOf(const char (&value)[Size])
{
    return {value, strnlen(value, Size)};
}

Interfaces::Interface toEntity(const rpcDraSetInterface& record);

// ---- results ----

/// Where the entity puts a value that travels as @p Wire.
template <class Wire>
struct EntityValue
{
    using type = Wire;
};
template <>
struct EntityValue<rpcDhcpRaThreeStateBool>
{
    using type = dhcpraTypes::threeStateBool;
};
template <>
struct EntityValue<rpcDhcpRaInterfaceMode>
{
    using type = dhcpraTypes::interfaceMode;
};
template <>
struct EntityValue<rpcDraCircuitIdMode>
{
    using type = dhcpraInterface::circuitIdMode_t;
};

inline rpcDraResultCode toCode(std::uint32_t answer)
{
    return static_cast<rpcDraResultCode>(static_cast<int>(answer));
}

/// The text cut to leave room for its terminator.
template <std::size_t Size>
void putText(char (&target)[Size], std::string_view text)
{
    std::memcpy(target, text.data(), std::min(text.size(), Size - 1));
}

template <std::size_t Size>
void putCounters(u_long (&target)[Size], const counters_t& counters)
{
    std::copy_n(counters.begin(), std::min(counters.size(), Size), target);
}

} // namespace wire
