#pragma once

#include "relay/ids/MacroValueSource.h"

/**
 * Values from the node's registry, the relay's interfaces, the node's identity and the frame. Asks the
 * registry only for what the macro at hand needs: each question may leave the process.
 */
class MacroValues final : public MacroValueSource
{
public:
    MacroValues(const IdContext& source, const IdFamily& ownFamily) : context(source), family(ownFamily) {}

    [[nodiscard]] bool getMacroStringValue(dhcpraTypes::customIdFormat macro, const IdSubject& subject,
                                           std::string& value) const override;

private:
    IdContext context;
    const IdFamily& family;
};
