#pragma once

#include "relay/ids/IdContext.h"
#include "relay/ids/IdFamily.h"
#include "relay/ids/MacroValueSource.h"

#include <cstdint>
#include <string>
#include <vector>

/**
 * Expands a custom format into an id. Always true: a bad format never stops a frame, it leaves literal text
 * or an id cut at 253. @p bin holds the bytes of the id if a part of it is binary, else it is empty.
 */
bool genCustomId(const MacroValueSource& values, IdDebug debug, const IdSubject& subject,
                 const std::string& format, std::string& id, std::vector<std::uint8_t>& bin);

/// One family's custom ids over one context.
class CustomIds
{
public:
    CustomIds(const IdContext& source, const IdFamily& ownFamily) : context(source), family(ownFamily) {}

    bool genCustomId(std::uint32_t intfId, std::uint16_t vid, std::uint16_t cvid, const std::string& format,
                     std::string& id, std::vector<std::uint8_t>& bin, dhcpraTypes::idGenType type) const;

    /// The circuit or interface id in custom mode: the record's format, else @p globalFormat, else empty.
    void genIdFromFormats(const dhcpraInterface& interface, const IdSubject& subject,
                          const std::string& globalFormat, std::string& id,
                          std::vector<std::uint8_t>& bin) const;

    /// The remote id, which is always custom. Outputs stay untouched when @p name is no configured interface.
    void genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                    const std::string& globalFormat, std::string& remoteId,
                                    std::vector<std::uint8_t>& remoteIdBin,
                                    dhcpraTypes::idGenType type) const;

private:
    struct Formats
    {
        const char* word; ///< of the id, in debug texts
        const std::string* ofRecord;
        const std::string& global;
    };
    void genFromFormats(const Formats& formats, const dhcpraInterface& interface, const IdSubject& subject,
                        std::string& id, std::vector<std::uint8_t>& bin) const;

    IdContext context;
    const IdFamily& family;
};
