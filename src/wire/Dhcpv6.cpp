
#include "wire/Dhcpv6.h"

namespace wire {

namespace {

constexpr int optionsLookedAt = 100;

std::size_t optionsStart(ConstBytes message)
{
    const std::uint8_t type = message.u8(dhcpv6Type).value_or(0);
    return type == dhcpv6RelayForward || type == dhcpv6RelayReply ? dhcpv6RelayOptions : dhcpv6Options;
}

} // namespace

OptionSearch searchOption(ConstBytes message, std::uint8_t wanted)
{
    OptionSearch at{OptionSearchEnd::absent, optionsStart(message)};
    const auto endedAs = [&at](OptionSearchEnd result) {
        at.result = result;
        return at;
    };
    for (int looked = 0; looked < optionsLookedAt; ++looked) {
        const auto code = message.be16(at.offset);
        const auto length = message.be16(at.offset + sizeof(std::uint16_t));
        if (!code || !length)
            return at;
        at.code = *code;
        at.length = *length;
        if (*code == wanted)
            return endedAs(OptionSearchEnd::found);
        const std::size_t next = at.offset + dhcpv6OptionHeader + *length;
        if (next > 0xFFFF) // an offset has 16 bits; it would start again at the front
            return endedAs(OptionSearchEnd::malformed);
        if (next >= message.size())
            return at;
        at.offset = next;
    }
    return endedAs(OptionSearchEnd::tooMany);
}

std::optional<std::span<const std::uint8_t>> optionDataAt(ConstBytes message, std::size_t offset)
{
    const auto length = message.be16(offset + sizeof(std::uint16_t));
    if (!length)
        return std::nullopt;
    return message.part(offset + dhcpv6OptionHeader, *length);
}

} // namespace wire
