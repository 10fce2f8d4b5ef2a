#pragma once

#include "relay/ids/IdContext.h"
#include "relay/ids/IdFamily.h"
#include "relay/model/dhcpraTypes.h"

#include <cstdint>
#include <string>

/// For whom an id is made.
struct IdSubject
{
    std::uint32_t intfId = 0;
    std::uint16_t vid = 0;
    std::uint16_t cvid = 0;
    dhcpraTypes::idGenType type = dhcpraTypes::idGenType::liveFrame;
};

/// Where the macros of a format take their values from.
class MacroValueSource
{
public:
    virtual ~MacroValueSource() = default;

    /// False for a macro without a rule, which then stands in the id as written. A value that cannot be read
    /// is empty, and true: the macro disappears from the id.
    [[nodiscard]] virtual bool getMacroStringValue(dhcpraTypes::customIdFormat macro,
                                                   const IdSubject& subject, std::string& value) const = 0;

protected:
    MacroValueSource() = default;
    MacroValueSource(const MacroValueSource&) = default;
    MacroValueSource& operator=(const MacroValueSource&) = default;
};
