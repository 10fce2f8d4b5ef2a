#pragma once

#include "platform/Interfaces.h"
#include "relay/model/dhcpraInterface.h"
#include "relay/model/dhcpraTypes.h"
#include "relay/model/dhcpraVlan.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

inline constexpr char dhcpra_cid_format_def[] = "";
inline constexpr char dhcpra_rid_format_def[] = "$PORT_REM_ID";
inline constexpr char dhcpraV6_interfaceid_format_def[] = "";
inline constexpr char dhcpraV6_remoteid_format_def[] = "$PORT_REM_ID";

/// Start mode of an interface by its type, the same for both families; none for types that start without
/// settings.
[[nodiscard]] std::optional<dhcpraTypes::interfaceMode> factoryMode(Interfaces::interfaceType type);

/// Factory settings of the DHCPv4 relay as one value; dhcpraImpl knows it as settings_t.
struct RelaySettings
{
    struct interfaceSettings_t
    {
        dhcpraTypes::interfaceMode mode = dhcpraTypes::interfaceMode::DISABLE;
        dhcpraTypes::threeStateBool circuitTrusted = dhcpraTypes::threeStateBool::notSet;
        dhcpraTypes::threeStateBool insertOpt82 = dhcpraTypes::threeStateBool::notSet;
        dhcpraTypes::threeStateBool unicastExtension = dhcpraTypes::threeStateBool::notSet;
        dhcpraTypes::threeStateBool keepOpt82 = dhcpraTypes::threeStateBool::notSet;
        bool metering = false;
        int rate = 0;
        std::string remoteId;
        dhcpraInterface::circuitIdMode_t circuitIdMode = dhcpraInterface::DHCPRA_INTF_CIRMODE_KORVANEL;
        // Carried for a loader to come; empty in every default.
        dhcpraInterface::remoteIds_t remoteIdPerVlan;
        dhcpraInterface::intfVlans_t intfVlans;
    };

    RelaySettings() = default;
    /// With a row for each interface of the @p registry whose type has a start mode.
    explicit RelaySettings(const std::vector<Interfaces::Interface>& registry);

    bool draEnabled = false;
    bool fullMode = false;
    bool insertOpt82 = true;
    bool unicastExtension = false;
    bool keepOpt82 = false;
    bool circuitTrusted = false;
    bool insertCircuitID = true;
    bool insertRemoteID = false;
    std::string nodeId;
    int chassisId = 99;
    bool draCircuitIdCVlan = false;
    std::string circuitIdFormat = dhcpra_cid_format_def;
    std::string remoteIdFormat = dhcpra_rid_format_def;
    std::map<std::uint32_t, interfaceSettings_t> interfaces;
    std::map<std::uint16_t, dhcpraVlan> vlans;
    std::uint32_t defaultServer = 0;                            ///< host order
    std::multimap<std::uint32_t, std::uint16_t> serversPerVlan; ///< server (host order) to VLAN
    dhcpraTypes::dhcpraLoggingLevel loggingLevel = dhcpraTypes::defaultLoggingLevel;
    bool debugAdminState = false;
};

/// Factory settings of the DHCPv6 relay; dhcpraV6Impl knows it as settings_t.
struct RelaySettingsV6
{
    struct interfaceSettings_t
    {
        dhcpraTypes::interfaceMode mode = dhcpraTypes::interfaceMode::DISABLE;
        std::string remoteIdVal;
        dhcpraTypes::threeStateBool interfaceId = dhcpraTypes::threeStateBool::yes;
    };

    RelaySettingsV6() = default;
    explicit RelaySettingsV6(const std::vector<Interfaces::Interface>& registry);

    bool draEnabled = false;
    bool insertRemoteID = false;
    bool interfaceID = true;
    bool draCircuitIdCVlan = false;
    std::string interfaceIdFormat = dhcpraV6_interfaceid_format_def;
    std::string remoteIdFormat = dhcpraV6_remoteid_format_def;
    std::map<std::uint32_t, interfaceSettings_t> interfaces;
    std::map<std::uint16_t, dhcpraVlan> vlans;
    dhcpraTypes::dhcpraLoggingLevel loggingLevel = dhcpraTypes::defaultLoggingLevel;
};
