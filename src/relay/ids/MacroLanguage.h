#pragma once

#include "relay/ids/IdDebug.h"
#include "relay/ids/MacroTable.h"
#include "relay/model/dhcpraTypes.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// A macro as it stands in a format. One object serves a whole format: numChars carries over from macro to
/// macro.
struct MacroToken
{
    std::size_t start = 0; ///< of the identifier in the format
    std::string_view text; ///< identifier, options and word
    dhcpraTypes::customIdFormat type{};
    char flags = 0; ///< bits of macroStringFlag
    std::string delimiter;
    std::uint32_t numChars = 0;
    std::string_view userString; ///< of macros that take one
};

/// Hex parts of an id: position of the text in the id, and its size in characters.
using hexParts_t = std::map<std::size_t, std::uint32_t>;

/**
 * The language of custom id formats: finding macros and their options in a format, and bringing a macro's
 * value into the form that the options ask for. Knows nothing of where values come from. Both relay families
 * use it.
 *
 * A macro is found by its word; its options are whatever stands between the word and the last "$" before it.
 * Formats in the field depend on each of the odd consequences, so none of them may be tidied up.
 */
class MacroLanguage
{
public:
    explicit MacroLanguage(IdDebug debugOutputs) : debug(debugOutputs) {}

    /// The first macro at or behind @p startPos. False at the end of the format or for a macro that cannot be
    /// read.
    [[nodiscard]] bool nextMacro(std::string_view format, std::size_t startPos, MacroToken& token) const;

    /// The same, with its results one by one. @p numChars and @p macroUsrStr keep their values where the
    /// macro has none.
    [[nodiscard]] bool getNextMacroFormatString(const std::string& str, std::size_t startPos,
                                                std::size_t& macroStartPos, std::string& macroString,
                                                dhcpraTypes::customIdFormat& type, char& flags,
                                                std::string& delimiter, std::uint32_t& numChars,
                                                std::string& macroUsrStr) const;

    /// Adds to @p flags; @p delimiter and @p numChars keep their values where the options have none.
    [[nodiscard]] bool parseOptChars(std::string_view optChars, std::string& delimiter,
                                     std::uint32_t& numChars, char& flags) const;

    [[nodiscard]] bool macroAreFlagsValid(dhcpraTypes::customIdFormat type, char flags,
                                          const std::string& delimiter, std::uint32_t numChars) const;

    /// False when the macro has to stand in the id as written.
    [[nodiscard]] bool processMacroString(const std::string& value, dhcpraTypes::customIdFormat type,
                                          char flags, const std::string& delimiter, std::uint32_t numChars,
                                          std::string& out) const;

private:
    bool readOptions(std::string_view optChars, MacroToken& token) const;
    bool addOption(char& flags, macroStringFlag option, int excludedBy, const char* refusal) const;
    bool ipv6Groups(const std::string& address, std::vector<std::string>& groups) const;
    bool paddedAddress(const std::string& value, dhcpraTypes::customIdFormat type, std::string_view separator,
                       std::string& out) const;
    bool hexText(const std::string& value, dhcpraTypes::customIdFormat type, std::string& out) const;
    bool delimitedText(const std::string& value, dhcpraTypes::customIdFormat type,
                       const std::string& delimiter, std::string& out) const;

    IdDebug debug;
};

/// Eight groups of four digits of an IPv6 address in text form; false if it does not make eight.
[[nodiscard]] bool ipv6AddrStrToVector(const std::string& address, std::vector<std::string>& groups);

/// Appends the id to @p out, its hex parts as the bytes that they spell. False when a part passes the end of
/// the id.
[[nodiscard]] bool idStringToBinaryVector(const std::string& id, const hexParts_t& hexParts,
                                          std::vector<std::uint8_t>& out);
