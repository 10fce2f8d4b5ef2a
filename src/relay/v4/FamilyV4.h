#pragma once

#include "relay/engine/FrameEngine.h"
#include "relay/frame/dhcpraMessage.h"
#include "relay/ids/IdFamily.h"
#include "relay/io/PacketSocket.h"
#include "relay/model/RelaySettings.h"

/// DHCPv4 (RFC 2131), as FrameEngine asks for it.
struct FamilyV4
{
    using Message = dhcpraMessage;
    using Settings = RelaySettings;

    static constexpr const char* device = "br0_dhcp";
    static constexpr int receiveBufferBytes = restartBurstBytes;
    static constexpr FamilyWords words{
        .className = "dhcpraImpl",
        .noLockForDefaults = "dhcpraImpl::applyDefaultSettings(): obtaining exclusive lock failed.\n",
        .channel = {"dhcpraImpl", "IPv4"},
        .decisions = &DebugChannels::frameDebug,
        .testDebug = &DebugChannels::testDebug,
        .testWords = testWordNamesV4,
        .ids = idFamilyV4};

    static constexpr std::size_t counterCount = dhcpraTypes::counterCount;
    static constexpr auto allCounters = &dhcpraInterface::getAllCounters;
    static constexpr auto countersPerVlan = &dhcpraInterface::getCountersPerVlan;
    static constexpr auto clearRecords = &dhcpraInterface::vlanDelAll;
    static constexpr auto isVlanConfigured = &VlanTable::isVlanConfigured;
    static constexpr const char* idFormatName = "circuitIdFormat";

    static void dumpRecords(const dhcpraInterface& interface, std::ostringstream& out)
    {
        dumpVlanRecords(interface, interface.getIntfVlanMap(), out, [&out](const auto& record) {
            out << "circuitIdMode: " << record.circuitIdMode << "\n\t\t\tcidFormat: '"
                << record.circuitIdFormat;
        });
    }
    static void configure(dhcpraInterface& interface, const Settings::interfaceSettings_t& start)
    {
        interface.setMode(start.mode);
        interface.setCircuitTrusted(start.circuitTrusted);
        interface.setInsertOpt82(start.insertOpt82);
        interface.setUnicastExtension(start.unicastExtension);
        interface.setKeepOpt82(start.keepOpt82);
        interface.setMetering(start.metering);
        interface.setRate(start.rate);
        static_cast<void>(interface.setRemoteID(start.remoteId)); // a factory text always fits
        interface.setCircuitIdMode(start.circuitIdMode);
    }
};
