#include "relay/ids/CustomIds.h"

#include "relay/ids/MacroLanguage.h"
#include "relay/ids/MacroValues.h"

namespace {

/// Value of a macro: the user string that the format carries, else what the source has.
bool readValue(const MacroValueSource& values, IdDebug debug, const IdSubject& subject,
               const MacroToken& macro, std::string& value)
{
    if (!macro.userString.empty()) {
        value = macro.userString;
        return true;
    }
    if (values.getMacroStringValue(macro.type, subject, value))
        return true;
    DHCPRA_ID_LOG(debug, "\t Error reading macro %s. Appending macro string.\n",
                  std::string(macroFormatTypeToString(macro.type)).c_str());
    return false;
}

/// The text of the id; notes where hexadecimal output stands in it.
void expand(const MacroValueSource& values, IdDebug debug, const IdSubject& subject, std::string_view format,
            std::string& id, hexParts_t& hexParts)
{
    const MacroLanguage language(debug);
    MacroToken macro;
    std::string value;
    std::string processed;
    std::size_t position = 0;
    while (language.nextMacro(format, position, macro)) {
        if (position < macro.start) {
            id += format.substr(position, macro.start - position);
            position = macro.start;
        }
        // One past the end is possible: a word without an identifier of its own takes a character twice.
        position += macro.text.size();

        const bool processable = readValue(values, debug, subject, macro, value) &&
                                 language.processMacroString(value, macro.type, macro.flags, macro.delimiter,
                                                             macro.numChars, processed);
        macro.userString = {};
        if (!processable) {
            id += macro.text;
            continue;
        }
        DHCPRA_TRACE(debug.trace, "\t", "value='%s' processed='%s'\n", value.c_str(), processed.c_str());
        if (hasFlag(macro.flags, macroStringPrintHex) || macro.type == dhcpraTypes::customIdFormat::HEX)
            hexParts.emplace(id.size(), static_cast<std::uint32_t>(processed.size()));
        id += processed;
    }
    if (position < format.size())
        id += format.substr(position);
}

} // namespace

bool genCustomId(const MacroValueSource& values, IdDebug debug, const IdSubject& subject,
                 const std::string& format, std::string& id, std::vector<std::uint8_t>& bin)
{
    DHCPRA_ID_LOG(debug, "\t genCustomId\n");
    hexParts_t hexParts;
    id.clear();
    bin.clear();
    expand(values, debug, subject, format, id, hexParts);
    DHCPRA_ID_LOG(debug, "\t Generated custom ID '%s'.\n", id.c_str());
    DHCPRA_TRACE(debug.trace, "", "genId='%s' \n", id.c_str());

    if (!hexParts.empty()) {
        DHCPRA_ID_LOG(debug, "\t Generating binary string \n");
        if (!idStringToBinaryVector(id, hexParts, bin))
            DHCPRA_ID_LOG(debug, "\t idStringToBinaryVector failed! \n");
    }

    constexpr int longest = customIdLengthMax;
    if (bin.empty()) {
        if (id.size() > customIdLengthMax) {
            DHCPRA_ID_LOG(debug, "\t Cutting CHAR string from %ld to %d chars \n",
                          static_cast<long>(id.size()), longest);
            id.resize(customIdLengthMax);
        }
    } else if (bin.size() > customIdLengthMax) {
        // The text stays whole: what goes out is the bytes.
        DHCPRA_ID_LOG(debug, "\t Cutting BIN string from %d to %d bytes \n", static_cast<int>(bin.size()),
                      longest);
        bin.resize(customIdLengthMax);
    }
    return true;
}

bool CustomIds::genCustomId(std::uint32_t intfId, std::uint16_t vid, std::uint16_t cvid,
                            const std::string& format, std::string& id, std::vector<std::uint8_t>& bin,
                            dhcpraTypes::idGenType type) const
{
    const MacroValues values(context, family);
    return ::genCustomId(values, context.debug, {intfId, vid, cvid, type}, format, id, bin);
}

void CustomIds::genIdFromFormats(const dhcpraInterface& interface, const IdSubject& subject,
                                 const std::string& globalFormat, std::string& id,
                                 std::vector<std::uint8_t>& bin) const
{
    DHCPRA_ID_LOG(context.debug, "\t Custom %s mode for intf: %s, vid: %d\n", family.idWord,
                  interface.getName().c_str(), subject.vid);
    genFromFormats({family.idWord, family.idFormat(interface, subject.vid), globalFormat}, interface, subject,
                   id, bin);
}

void CustomIds::genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                           const std::string& globalFormat, std::string& remoteId,
                                           std::vector<std::uint8_t>& remoteIdBin,
                                           dhcpraTypes::idGenType type) const
{
    DHCPRA_ID_LOG(context.debug, "\t genRemoteIdByInterfaceName: name='%s', vid=%d, cvid=%d\n", name.c_str(),
                  vid, cvid);
    const dhcpraInterface* interface = context.configuredInterface(name);
    if (interface == nullptr)
        return;
    genFromFormats({"RID", family.remoteIdFormat(*interface, vid), globalFormat}, *interface,
                   {interface->getID(), vid, cvid, type}, remoteId, remoteIdBin);
}

void CustomIds::genFromFormats(const Formats& formats, const dhcpraInterface& interface,
                               const IdSubject& subject, std::string& id,
                               std::vector<std::uint8_t>& bin) const
{
    const std::string* format = &formats.global;
    if (formats.ofRecord != nullptr && !formats.ofRecord->empty()) {
        format = formats.ofRecord;
        DHCPRA_ID_LOG(context.debug, "\t Using custom format from intf-VLAN='%s' \n", format->c_str());
    } else if (format->empty()) {
        DHCPRA_ID_LOG(context.debug,
                      "\t No custom %s format configured for intf: %s, vid: %d. Return empty %s\n",
                      formats.word, interface.getName().c_str(), subject.vid, formats.word);
        id.clear();
        bin.clear();
        return;
    } else {
        DHCPRA_ID_LOG(context.debug, "\t Using global format='%s' \n", format->c_str());
    }
    genCustomId(subject.intfId, subject.vid, subject.cvid, *format, id, bin, subject.type);
    DHCPRA_ID_LOG(context.debug, "\t Generated custom %s='%s' \n", formats.word, id.c_str());
}
