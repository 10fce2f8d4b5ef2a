#pragma once

#include "relay/ids/CustomFormatTestData.h"
#include "relay/ids/IdDebug.h"
#include "relay/model/InterfaceTable.h"
#include "relay/model/RelayIdentity.h"
#include "relay/model/VlanTable.h"

#include <cstdint>
#include <string>

/// What a live frame contributes to its ids.
struct FrameSource
{
    bool valid = false;                      ///< the view holds a frame that passes its isValid()
    const std::uint8_t* ethSource = nullptr; ///< source MAC, six bytes; null without an Ethernet header
};

/**
 * What ids are made of: references into one engine, made for one generation with the locks of the frame path
 * or of the management call held.
 */
struct IdContext
{
    const InterfaceTable& interfaces;
    const VlanTable& vlans;
    const RelayIdentity& identity;
    const customFormatTestData_t& testData;
    IdDebug debug;
    FrameSource frame{};

    /// Null, and said so, if no interface has this name.
    [[nodiscard]] const dhcpraInterface* configuredInterface(const std::string& name) const
    {
        const dhcpraInterface* interface = interfaces.getInterfaceByName(name);
        if (interface == nullptr)
            DHCPRA_ID_LOG(debug, "\t no interface configuration [%s].\n", name.c_str());
        return interface;
    }
};
