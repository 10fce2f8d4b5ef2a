#include "wire/Dhcpv4.h"

namespace wire {

OptionWalk walkOptions(ConstBytes message, std::uint8_t wanted)
{
    std::size_t offset = optionsOffset;
    while (const auto code = message.u8(offset)) {
        if (*code == wanted)
            return {OptionWalkEnd::found, offset};
        if (*code == optionEnd)
            return {OptionWalkEnd::end, offset};
        if (*code == optionPad) {
            ++offset;
            continue;
        }
        const auto length = message.u8(offset + 1);
        if (!length || !message.holds(offset + 2, *length))
            return {OptionWalkEnd::malformed, message.size()};
        offset += 2u + *length;
    }
    return {OptionWalkEnd::exhausted, message.size()};
}

std::optional<std::span<const std::uint8_t>> optionValueAt(ConstBytes message, std::size_t offset)
{
    const auto length = message.u8(offset + 1);
    if (!length)
        return std::nullopt;
    return message.part(offset + 2, *length);
}

} // namespace wire
