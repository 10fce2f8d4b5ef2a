#include "wire/Mac.h"

#include <algorithm>
#include <charconv>

namespace wire {

std::string macText(std::span<const std::uint8_t> mac, LetterCase letters)
{
    const char* digits = letters == LetterCase::upper ? "0123456789ABCDEF" : "0123456789abcdef";
    std::string text;
    if (mac.size() < macSize)
        return text;
    for (const std::uint8_t byte : mac.first(macSize)) {
        if (!text.empty())
            text += ':';
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

std::optional<Mac> readMac(std::string_view text)
{
    const std::size_t separatorAt = text.find_first_of(":-");
    const bool separated = separatorAt != std::string_view::npos;
    const char separator = separated ? text[separatorAt] : '\0';
    Mac mac{};
    for (std::size_t i = 0; i < mac.size(); ++i) {
        if (i > 0 && separated) {
            if (!text.starts_with(separator))
                return std::nullopt;
            text.remove_prefix(1);
        }
        const std::size_t most = std::min<std::size_t>(2, text.size());
        const auto [end, error] = std::from_chars(text.data(), text.data() + most, mac[i], 16);
        const auto digits = static_cast<std::size_t>(end - text.data());
        if (error != std::errc{} || (!separated && digits != 2))
            return std::nullopt;
        text.remove_prefix(digits);
    }
    if (!text.empty())
        return std::nullopt;
    return mac;
}

} // namespace wire
