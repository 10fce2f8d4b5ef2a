#include "tools/vnodectl/Texts.h"

#include "wire/Mac.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace vnodectl {

std::string macText(const vnodeMac& mac)
{
    const auto* octets = reinterpret_cast<const std::uint8_t*>(mac.octets);
    return wire::macText({octets, sizeof mac.octets}, wire::LetterCase::lower);
}

std::optional<vnodeMac> readMac(const std::string& text)
{
    const auto address = wire::readMac(text);
    if (!address)
        return std::nullopt;
    vnodeMac mac{};
    std::memcpy(mac.octets, address->data(), sizeof mac.octets);
    return mac;
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
