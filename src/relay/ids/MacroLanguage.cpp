#include "relay/ids/MacroLanguage.h"

#include "relay/ids/NumberText.h"

#include <array>
#include <utility>

namespace {

using dhcpraTypes::customIdFormat;

constexpr auto firstLettersOfWords = [] {
    std::array<bool, 256> letters{};
    for (const MacroRow& row : customIdFormatMacros)
        letters[static_cast<unsigned char>(row.word.front())] = true;
    return letters;
}();

/// The longest macro word that @p text begins with; null if none.
const MacroRow* longestWordAtStart(std::string_view text)
{
    if (!firstLettersOfWords[static_cast<unsigned char>(text.front())])
        return nullptr;
    const MacroRow* longest = nullptr;
    for (const MacroRow& row : customIdFormatMacros) {
        if (text.starts_with(row.word) && (longest == nullptr || row.word.size() > longest->word.size()))
            longest = &row;
    }
    return longest;
}

/// The macro word that comes first; @p position is where it was found.
const MacroRow* firstWord(std::string_view format, std::size_t& position)
{
    for (; position < format.size(); ++position) {
        if (const MacroRow* row = longestWordAtStart(format.substr(position)))
            return row;
    }
    return nullptr;
}

constexpr int anyPadding = macroStringPadZeroes | macroStringPadSpaces;

void set(char& flags, macroStringFlag flag) { flags = static_cast<char>(flags | flag); }

} // namespace

bool MacroLanguage::nextMacro(std::string_view format, std::size_t startPos, MacroToken& token) const
{
    token.text = {};
    if (startPos > format.size()) {
        DHCPRA_ID_LOG(debug, "\t Failed sanity check\n");
        return false;
    }
    if (format.empty()) {
        DHCPRA_ID_LOG(debug, "\t Empty format string\n");
        return false;
    }

    std::size_t wordPos = startPos;
    const MacroRow* row = firstWord(format, wordPos);
    if (row == nullptr)
        return false;
    token.type = row->type;

    const std::size_t identifier = format.substr(startPos, wordPos - startPos).rfind(macroIdentifier);
    if (identifier != std::string_view::npos) {
        token.start = startPos + identifier;
    } else if (startPos > 0) {
        // A word right behind a macro needs no identifier of its own: the last character before it serves as
        // one. Formats such as "$PORTVLAN" are in use.
        token.start = startPos - 1;
    } else {
        DHCPRA_ID_LOG(debug, "\t No macro identifier found\n");
        return false;
    }

    token.text = format.substr(token.start, wordPos + row->word.size() - token.start);
    const std::size_t optionsLength = wordPos - token.start - macroIdentifier.size();
    if (optionsLength > token.text.size()) {
        DHCPRA_ID_LOG(debug, "\t ERROR: flagsLen > macroFormatStr.length()\n");
        return false;
    }
    DHCPRA_TRACE(debug.trace, "\t", "macro='%.*s' at %zu\n", static_cast<int>(token.text.size()),
                 token.text.data(), token.start);
    return readOptions(token.text.substr(macroIdentifier.size(), optionsLength), token);
}

bool MacroLanguage::readOptions(std::string_view optChars, MacroToken& token) const
{
    token.flags = 0;
    token.delimiter.clear();
    if (macroIsSupportedForUserString(token.type)) {
        token.userString = optChars;
        return true;
    }
    if (!parseOptChars(optChars, token.delimiter, token.numChars, token.flags)) {
        DHCPRA_ID_LOG(debug, "\t ERROR: parseOptChars failed\n");
        return false;
    }
    return true;
}

bool MacroLanguage::getNextMacroFormatString(const std::string& str, std::size_t startPos,
                                             std::size_t& macroStartPos, std::string& macroString,
                                             customIdFormat& type, char& flags, std::string& delimiter,
                                             std::uint32_t& numChars, std::string& macroUsrStr) const
{
    MacroToken token{macroStartPos, {}, type, flags, delimiter, numChars, macroUsrStr};
    const bool found = nextMacro(str, startPos, token);
    macroStartPos = token.start;
    macroString = token.text;
    type = token.type;
    flags = token.flags;
    delimiter = std::move(token.delimiter);
    numChars = token.numChars;
    macroUsrStr = std::string(token.userString);
    return found;
}

bool MacroLanguage::addOption(char& flags, macroStringFlag option, int excludedBy, const char* refusal) const
{
    if (hasFlag(flags, excludedBy)) {
        DHCPRA_ID_LOG(debug, "%s", refusal);
        return false;
    }
    set(flags, option);
    return true;
}

bool MacroLanguage::parseOptChars(std::string_view optChars, std::string& delimiter, std::uint32_t& numChars,
                                  char& flags) const
{
    DHCPRA_TRACE(debug.trace, "\t\t", "optChars='%.*s'\n", static_cast<int>(optChars.size()),
                 optChars.data());
    enum class Previous { none, padZeroes, padSpaces, delimiterMark } previous = Previous::none;

    std::size_t position = 0;
    while (position < optChars.size()) {
        const char option = optChars[position];
        if (previous == Previous::delimiterMark) {
            delimiter = option;
            previous = Previous::none;
            ++position;
            continue;
        }
        if (previous != Previous::none) {
            previous = Previous::none;
            const auto digits = readDecimal(optChars, position);
            numChars = digits.value_or(0);
            if (digits)
                set(flags, macroStringNumOfChars);
            continue; // without digits the same character is an option of its own
        }
        if (option == 'h') {
            if (!addOption(flags, macroStringPrintHex, macroStringPrintHex, "\t Duplicate hex option\n"))
                return false;
            ++position;
        } else if (option == 's' || option == 'z') {
            const macroStringFlag padding = option == 's' ? macroStringPadSpaces : macroStringPadZeroes;
            if (!addOption(flags, padding, anyPadding, "\t Duplicate padding option\n"))
                return false;
            previous = option == 's' ? Previous::padSpaces : Previous::padZeroes;
            ++position;
        } else if (option == 'd') {
            if (!addOption(flags, macroStringDelimChar, macroStringDelimChar,
                           "\t Duplicate delimiter option\n"))
                return false;
            previous = Previous::delimiterMark;
            ++position;
        } else if (const auto digits = readDecimal(optChars, position)) {
            if (!addOption(flags, macroStringNumOfChars, anyPadding, "\t Duplicate num chars option\n"))
                return false;
            numChars = *digits;
        } else {
            DHCPRA_ID_LOG(debug, "\t Invalid number of characters or unexpected character! \n");
            return false;
        }
    }

    // "z" may stand alone (addresses in full width), "s" may not.
    if (previous == Previous::padSpaces) {
        DHCPRA_ID_LOG(debug, "\t Unexpected exit! Number of characters should follow. \n");
        return false;
    }
    return true;
}

bool MacroLanguage::macroAreFlagsValid(customIdFormat type, char flags, const std::string& delimiter,
                                       std::uint32_t numChars) const
{
    DHCPRA_TRACE(debug.trace, "\t\t", "type=%d flags=%d delimiter='%s' numChars=%u\n", static_cast<int>(type),
                 flags, delimiter.c_str(), numChars);
    const bool isIp = type == customIdFormat::AGENT_IPV4 || type == customIdFormat::AGENT_IPV6;
    const bool bothPaddings = hasFlag(flags, macroStringPadZeroes) && hasFlag(flags, macroStringPadSpaces);
    // Operators' tools know this one text for both faults.
    if (bothPaddings || (hasFlag(flags, anyPadding) && !isIp && numChars == 0)) {
        DHCPRA_ID_LOG(debug, "\t ERROR: both macroStringPadZeroes and macroStringPadSpaces set\n");
        return false;
    }
    if (hasFlag(flags, macroStringNumOfChars) && numChars == 0) {
        DHCPRA_ID_LOG(debug, "\t ERROR: macroStringNumOfChars set, but zero characters\n");
        return false;
    }
    if (hasFlag(flags, macroStringPrintHex) && !macroIsSupportedForHex(type)) {
        DHCPRA_ID_LOG(debug, "\t ERROR: macro not supported for HEX format\n");
        return false;
    }
    return true;
}
