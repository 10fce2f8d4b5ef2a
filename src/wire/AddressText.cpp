#include "wire/AddressText.h"

#include <array>

#include <arpa/inet.h>

namespace wire {

std::string ipv4Text(std::uint32_t address)
{
    const in_addr network{htonl(address)};
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &network, text.data(), text.size());
    return text.data();
}

std::optional<std::uint32_t> readIpv4(const std::string& text)
{
    in_addr network{};
    if (inet_pton(AF_INET, text.c_str(), &network) != 1)
        return std::nullopt;
    return ntohl(network.s_addr);
}

std::string ipv6Text(std::span<const std::uint8_t> address)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address.size() >= ipv6AddressSize)
        inet_ntop(AF_INET6, address.data(), text.data(), text.size());
    return text.data();
}

std::optional<Ipv6Address> readIpv6(const std::string& text)
{
    Ipv6Address address{};
    if (inet_pton(AF_INET6, text.c_str(), address.data()) != 1)
        return std::nullopt;
    return address;
}

} // namespace wire
