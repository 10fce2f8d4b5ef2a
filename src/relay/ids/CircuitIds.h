#pragma once

#include "relay/ids/IdContext.h"
#include "relay/model/dhcpraTypes.h"

#include <cstdint>
#include <string>
#include <vector>

/// Global settings that the ids of option 82 depend on.
struct CircuitIdSettings
{
    const std::string& circuitIdFormat;
    const std::string& remoteIdFormat;
    bool cvlan = false; ///< the fixed forms carry the customer VLAN
};

/**
 * The two ids of option 82. The parsers that find the port in a reply read the fixed forms back, so the texts
 * are one contract with them. Runs on the calling thread with the locks of its caller.
 *
 * Outputs stay untouched when the name is no configured interface. The byte vector is filled when the id has
 * binary parts and is to be preferred then; else it is empty.
 */
class CircuitIds
{
public:
    CircuitIds(const IdContext& source, const CircuitIdSettings& globalSettings)
        : context(source), settings(globalSettings)
    {}

    void genCircuitIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                     std::string& circuitId, std::vector<std::uint8_t>& circuitIdBin,
                                     dhcpraTypes::idGenType type) const;

    void genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                    std::string& remoteId, std::vector<std::uint8_t>& remoteIdBin,
                                    dhcpraTypes::idGenType type) const;

private:
    struct FixedForm
    {
        const dhcpraInterface& interface;
        dhcpraInterface::circuitIdMode_t mode;
        std::uint8_t slot;
        std::uint16_t vid;
        std::uint16_t cvid;
    };
    void genFixedForm(const FixedForm& form, std::string& circuitId,
                      std::vector<std::uint8_t>& circuitIdBin) const;

    [[nodiscard]] dhcpraInterface::circuitIdMode_t modeOf(const dhcpraInterface& interface,
                                                          std::uint16_t vid) const;

    IdContext context;
    CircuitIdSettings settings;
};
