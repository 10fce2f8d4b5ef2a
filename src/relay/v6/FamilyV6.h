#pragma once

#include "relay/engine/FrameEngine.h"
#include "relay/frame/dhcpraV6Message.h"
#include "relay/ids/IdFamily.h"
#include "relay/io/PacketSocket.h"
#include "relay/model/RelaySettings.h"

/// DHCPv6 (RFC 8415), as FrameEngine asks for it.
struct FamilyV6
{
    using Message = dhcpraV6Message;
    using Settings = RelaySettingsV6;

    /// The rate limit.
    static constexpr int framesPerSecond = 320;

    static constexpr const char* device = "br0_dhcpv6";
    /// Ten seconds of what the rate limit lets through. What waits longer, its client has asked for again;
    /// frames of a larger burst are lost in the socket. The kernel doubles the number.
    static constexpr int receiveBufferBytes = 10 * framesPerSecond * accountedFrameBytes / 2;
    static constexpr FamilyWords words{.className = "dhcpraV6Impl",
                                       .noLockForDefaults = "",
                                       .channel = {"dhcpraV6Impl", "IPv6"},
                                       .decisions = nullptr,
                                       .testDebug = &DebugChannels::testDebugV6,
                                       .testWords = testWordNamesV6,
                                       .ids = idFamilyV6};

    static constexpr std::size_t counterCount = dhcpraTypes::counterV6Count;
    static constexpr auto allCounters = &dhcpraInterface::getAllCountersV6;
    static constexpr auto countersPerVlan = &dhcpraInterface::getCountersPerVlanV6;
    static constexpr auto clearRecords = &dhcpraInterface::vlanDelAllV6;
    static constexpr auto isVlanConfigured = &VlanTable::isVlanConfiguredV6;
    static constexpr const char* idFormatName = "interfaceIdFormat";

    static void dumpRecords(const dhcpraInterface& interface, std::ostringstream& out)
    {
        dumpVlanRecords(interface, interface.getIntfVlanMapV6(), out, [&out](const auto& record) {
            out << "interfaceIdMode: " << record.interfaceIdMode << "\n\t\t\tiidFormat: '"
                << record.interfaceIdFormat;
        });
    }
    static void configure(dhcpraInterface& interface, const Settings::interfaceSettings_t& start)
    {
        using Interfaces::interfaceType;
        const interfaceType type = interface.getType();
        interface.setModeV6(start.mode);
        interface.setInterfaceIDV6(start.interfaceId);
        // Relay-forwards of a lower relay are taken from the network side only.
        interface.setCircuitTrustedV6(
            dhcpraTypes::toThreeState(type == interfaceType::eth || type == interfaceType::lag));
        static_cast<void>(interface.setRemoteIdValV6(start.remoteIdVal)); // a factory text always fits
    }
};
