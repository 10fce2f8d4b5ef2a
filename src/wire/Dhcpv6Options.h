#pragma once

#include "wire/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// The option area of a DHCPv6 message (RFC 8415, section 21.1).
namespace frame {

enum class OptionSearchEnd {
    found,
    absent,    ///< also where less than an option's header is left
    malformed, ///< an option's length runs past 16 bits
    tooMany,   ///< 100 options were passed
};

struct OptionSearch
{
    OptionSearchEnd result;
    /// Where the search stands, from the start of the message: at the option found or malformed, or at the
    /// first one that was not looked at.
    std::size_t offset = 0;
    std::uint16_t code = 0; ///< of the option last looked at; 0 if there was none
    std::uint16_t length = 0;
};

/// The first option @p wanted on the top level of @p message, which reaches from the message type to the last
/// byte that is claimed and has come. The wanted code counts as found before its length is looked at. Codes
/// above 255 are nobody's here.
[[nodiscard]] OptionSearch searchOption(ConstWireBytes message, std::uint8_t wanted);

/// The value of the option at @p offset, cut at the end of the message; nothing without its header.
[[nodiscard]] std::optional<std::span<const std::uint8_t>> optionDataAt(ConstWireBytes message,
                                                                        std::size_t offset);

} // namespace frame
