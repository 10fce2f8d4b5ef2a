#include "tools/vnodectl/Texts.h"

#include <arpa/inet.h>
#include <array>
#include <cstdio>
#include <cstring>
#include <netinet/ether.h>

namespace vnodectl {

std::string macText(const vnodeMac& mac)
{
    std::array<char, 18> text{};
    const auto* octets = reinterpret_cast<const unsigned char*>(mac.octets);
    std::snprintf(text.data(), text.size(), "%02x:%02x:%02x:%02x:%02x:%02x", octets[0], octets[1], octets[2],
                  octets[3], octets[4], octets[5]);
    return text.data();
}

std::optional<vnodeMac> readMac(const std::string& text)
{
    ether_addr address{};
    if (ether_aton_r(text.c_str(), &address) == nullptr)
        return std::nullopt;
    vnodeMac mac{};
    std::memcpy(mac.octets, address.ether_addr_octet, sizeof mac.octets);
    return mac;
}

std::optional<std::uint32_t> readIpv4(const std::string& text)
{
    in_addr wire{};
    if (inet_pton(AF_INET, text.c_str(), &wire) != 1)
        return std::nullopt;
    return ntohl(wire.s_addr);
}

const std::vector<std::string>& interfaceTypes()
{
    static const std::vector<std::string> names{"eth", "subscriber", "pvc",        "pon",
                                                "onu", "gem",        "management", "lag"};
    return names;
}

std::string interfaceTypeText(u_int type)
{
    return type < interfaceTypes().size() ? interfaceTypes()[type] : std::to_string(type);
}

std::string hexText(std::string_view bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value >> 4];
        text += digits[value & 0xF];
    }
    return text;
}

std::string requestText(std::uint64_t request)
{
    std::array<char, 19> text{};
    std::snprintf(text.data(), text.size(), "0x%llx", static_cast<unsigned long long>(request));
    return request == 0 ? "" : text.data();
}

} // namespace vnodectl
