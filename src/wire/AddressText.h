#pragma once

#include <array>
#include <cstdint>
#include <string>

#include <arpa/inet.h>

namespace wire {

/// Dotted quad of a host-order address.
[[nodiscard]] inline std::string ipv4Text(std::uint32_t address)
{
    const in_addr network{htonl(address)};
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &network, text.data(), text.size());
    return text.data();
}

} // namespace wire
