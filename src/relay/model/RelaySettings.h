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

/// Settings of the whole DHCPv4 relay, with the values that they start with. Those that both families have
/// stand in the engine's tables.
struct GlobalSettings
{
    bool fullMode = false;
    bool insertOpt82 = true;
    bool unicastExtension = false;
    bool keepOpt82 = false;
    bool circuitTrusted = false;
    bool insertCircuitID = true;
    bool insertRemoteID = false;
    std::string circuitIdFormat = dhcpra_cid_format_def;
    std::string remoteIdFormat = dhcpra_rid_format_def;
    std::uint32_t defaultServer = 0; ///< host order
    bool debugAdminState = false;
};

/// The same of the DHCPv6 relay.
struct GlobalSettingsV6
{
    bool insertRemoteID = false; ///< stored and reported; frames do not ask
    bool interfaceID = true;
    std::string interfaceIdFormat = dhcpraV6_interfaceid_format_def;
    std::string remoteIdFormat = dhcpraV6_remoteid_format_def;
};

/// Factory settings of the DHCPv4 relay as one value; dhcpraImpl knows it as settings_t.
struct RelaySettings : GlobalSettings
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
    std::string nodeId;
    int chassisId = 99;
    bool draCircuitIdCVlan = false;
    std::map<std::uint32_t, interfaceSettings_t> interfaces;
    std::map<std::uint16_t, dhcpraVlan> vlans;
    std::multimap<std::uint32_t, std::uint16_t> serversPerVlan; ///< server (host order) to VLAN
    dhcpraTypes::dhcpraLoggingLevel loggingLevel = dhcpraTypes::defaultLoggingLevel;
};

/// Factory settings of the DHCPv6 relay; dhcpraV6Impl knows it as settings_t.
struct RelaySettingsV6 : GlobalSettingsV6
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
    bool draCircuitIdCVlan = false;
    std::map<std::uint32_t, interfaceSettings_t> interfaces;
    std::map<std::uint16_t, dhcpraVlan> vlans;
    dhcpraTypes::dhcpraLoggingLevel loggingLevel = dhcpraTypes::defaultLoggingLevel;
};
