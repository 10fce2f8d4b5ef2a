#pragma once

#include "relay/ids/IdContext.h"
#include "relay/model/dhcpraTypes.h"

#include <cstdint>
#include <string>
#include <vector>

/// Global settings that the ids of the DHCPv6 relay depend on.
struct InterfaceIdSettings
{
    const std::string& interfaceIdFormat;
    const std::string& remoteIdFormat;
    bool interfaceId = true; ///< global default of the interface id decision
    bool cvlan = false;      ///< the fixed forms carry the customer VLAN
};

/// Interface id (option 18) and remote id (option 37); otherwise as CircuitIds.
class InterfaceIds
{
public:
    InterfaceIds(const IdContext& source, const InterfaceIdSettings& globalSettings)
        : context(source), settings(globalSettings)
    {}

    void genInterfaceIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                       std::string& id, std::vector<std::uint8_t>& idBin,
                                       dhcpraTypes::idGenType type) const;

    void genRemoteIdByInterfaceName(const std::string& name, std::uint16_t vid, std::uint16_t cvid,
                                    std::string& id, std::vector<std::uint8_t>& idBin,
                                    dhcpraTypes::idGenType type) const;

private:
    [[nodiscard]] dhcpraInterface::interfaceIdModeV6_t modeOf(const dhcpraInterface& interface,
                                                              std::uint16_t vid) const;
    [[nodiscard]] bool isStandardForm(const dhcpraInterface& interface, std::uint16_t vid) const;

    IdContext context;
    InterfaceIdSettings settings;
};
