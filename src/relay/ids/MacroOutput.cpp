#include "relay/ids/MacroLanguage.h"
#include "relay/ids/NumberText.h"

#include <algorithm>

namespace {

using dhcpraTypes::customIdFormat;

bool isMac(customIdFormat type)
{
    return type == customIdFormat::CLNT_MAC || type == customIdFormat::AGENT_MAC ||
           type == customIdFormat::CPE_MAC;
}

bool isIp(customIdFormat type)
{
    return type == customIdFormat::AGENT_IPV4 || type == customIdFormat::AGENT_IPV6;
}

/// Calls @p take with each field of @p text; an empty last field is none.
template <class Take>
void forEachField(std::string_view text, char separator, Take take)
{
    while (!text.empty()) {
        const std::size_t end = text.find(separator);
        take(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

bool hexUserString(std::string_view value, std::string& out)
{
    for (const char c : value) {
        if (!hexDigit(c))
            return false;
        out += upperCase(c);
    }
    if (out.size() % 2 != 0)
        out += '0';
    return true;
}

void replaceEach(std::string_view value, char separator, std::string_view replacement, std::string& out)
{
    for (const char c : value) {
        if (c == separator)
            out += replacement;
        else
            out += c;
    }
}

/// Brings hexadecimal text to @p bytes bytes; cutting keeps the left end.
void setByteCount(std::string& text, std::size_t bytes, bool padded)
{
    if (bytes < text.size() / 2)
        text.resize(bytes * 2);
    else if (padded)
        text.insert(0, (bytes - text.size() / 2) * 2, '0'); // zeroes also where blanks were asked for
}

void setLength(std::string& text, std::size_t length, char flags)
{
    if (length < text.size())
        text.resize(length);
    else if (hasFlag(flags, macroStringPadZeroes))
        text.insert(0, length - text.size(), '0');
    else if (hasFlag(flags, macroStringPadSpaces))
        text.insert(0, length - text.size(), ' ');
}

} // namespace

bool MacroLanguage::processMacroString(const std::string& value, customIdFormat type, char flags,
                                       const std::string& delimiter, std::uint32_t numChars,
                                       std::string& out) const
{
    out.clear();
    if (!macroAreFlagsValid(type, flags, delimiter, numChars)) {
        DHCPRA_ID_LOG(debug, "\t ERROR: invalid flags\n");
        return false;
    }
    if (type == customIdFormat::HEX)
        return hexUserString(value, out);

    const bool hex = hasFlag(flags, macroStringPrintHex);
    const bool delimited = hasFlag(flags, macroStringDelimChar);
    const bool counted = hasFlag(flags, macroStringNumOfChars);
    const bool padded = hasFlag(flags, macroStringPadZeroes | macroStringPadSpaces);

    if (isIp(type) && !hex && hasFlag(flags, macroStringPadZeroes) && !counted) {
        const std::string_view ownSeparator = type == customIdFormat::AGENT_IPV4 ? "." : ":";
        return paddedAddress(value, type, delimited ? std::string_view(delimiter) : ownSeparator, out);
    }

    if (hex) {
        if (!hexText(value, type, out))
            return false;
    } else if (delimited) {
        if (!delimitedText(value, type, delimiter, out))
            return false;
    } else {
        out = value;
    }
    if (!counted)
        return true;

    if (padded && (isMac(type) || isIp(type))) {
        DHCPRA_ID_LOG(debug,
                      "\t ERROR: MAC/IP is not allowed for padding with specified number of characters\n");
        return false;
    }
    if (numChars > macroNumOfCharsMax)
        return false;
    if (hex)
        setByteCount(out, numChars, padded);
    else
        setLength(out, numChars, flags);
    return true;
}

bool MacroLanguage::ipv6Groups(const std::string& address, std::vector<std::string>& groups) const
{
    if (!ipv6AddrStrToVector(address, groups)) {
        DHCPRA_ID_LOG(debug, "\t ERROR: ipv6AddrStrToVector failed for: %s\n", address.c_str());
        return false;
    }
    if (groups.size() != 8) {
        DHCPRA_ID_LOG(debug, "\t ERROR: invalid ipv6Parts.size(): %ld\n", static_cast<long>(groups.size()));
        return false;
    }
    return true;
}

bool MacroLanguage::paddedAddress(const std::string& value, customIdFormat type, std::string_view separator,
                                  std::string& out) const
{
    if (value.empty())
        return true;
    const auto append = [&](std::string_view field) {
        if (!out.empty())
            out += separator;
        out += field;
    };

    if (type == customIdFormat::AGENT_IPV4) {
        forEachField(value, '.', [&](std::string_view field) {
            std::string digits;
            appendDecimal(digits, decimalValue(field));
            if (digits.size() < 3)
                digits.insert(0, 3 - digits.size(), '0');
            append(digits);
        });
        return true;
    }

    std::vector<std::string> groups;
    if (!ipv6Groups(value, groups))
        return false;
    for (const std::string& group : groups)
        append(group);
    return true;
}

bool MacroLanguage::hexText(const std::string& value, customIdFormat type, std::string& out) const
{
    if (!macroIsSupportedForHex(type)) {
        DHCPRA_ID_LOG(debug, "\t ERROR: macro not supported for HEX format\n");
        return false;
    }
    if (isMac(type)) {
        replaceEach(value, ':', "", out);
    } else if (type == customIdFormat::AGENT_IPV4) {
        forEachField(value, '.', [&](std::string_view field) { appendHexNumber(out, decimalValue(field)); });
    } else if (type == customIdFormat::AGENT_IPV6) {
        std::vector<std::string> groups;
        if (!value.empty() && !ipv6Groups(value, groups))
            return false;
        for (const std::string& group : groups)
            out += group;
    } else {
        appendHexNumber(out, decimalValue(value));
    }
    return true;
}

bool MacroLanguage::delimitedText(const std::string& value, customIdFormat type, const std::string& delimiter,
                                  std::string& out) const
{
    if (!macroIsSupportedForDelimiter(type)) {
        DHCPRA_ID_LOG(debug, "\t ERROR: macro not supported for delimiter\n");
        return false;
    }
    if (type == customIdFormat::AGENT_IPV6) {
        std::vector<std::string> groups;
        if (!ipv6Groups(value, groups))
            return false;
        // Without a delimiter the address is written out, with one it keeps its form: peers expect both.
        if (delimiter.empty()) {
            for (const std::string& group : groups)
                out += group;
            return true;
        }
    }
    replaceEach(value, type == customIdFormat::AGENT_IPV4 ? '.' : ':', delimiter, out);
    return true;
}

bool ipv6AddrStrToVector(const std::string& address, std::vector<std::string>& groups)
{
    groups.clear();
    std::size_t fields = 0;
    forEachField(address, ':', [&](std::string_view) { ++fields; });

    bool first = true;
    forEachField(address, ':', [&](std::string_view field) {
        std::size_t zeroGroups = 0;
        if (field.empty())
            zeroGroups = first ? 1 : 9 - std::min<std::size_t>(fields, 9);
        else
            groups.emplace_back(field.size() < 4 ? 4 - field.size() : 0, '0').append(field);
        groups.insert(groups.end(), zeroGroups, "0000");
        first = false;
    });
    return groups.size() == 8;
}

bool idStringToBinaryVector(const std::string& id, const hexParts_t& hexParts, std::vector<std::uint8_t>& out)
{
    std::size_t position = 0;
    while (position < id.size()) {
        const auto part = hexParts.find(position);
        // A part without text (a macro that could not be read) lets the character at its place through.
        if (part == hexParts.end() || part->second == 0) {
            out.push_back(static_cast<std::uint8_t>(id[position++]));
            continue;
        }
        for (std::size_t offset = 0; offset < part->second; offset += 2) {
            if (id.size() - position < offset + 2)
                return false;
            out.push_back(hexByte(id[position + offset], id[position + offset + 1]));
        }
        position += part->second;
    }
    return true;
}
