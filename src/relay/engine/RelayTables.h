#pragma once

#include "relay/ids/CustomFormatTestData.h"
#include "relay/model/InterfaceTable.h"
#include "relay/model/RelayIdentity.h"
#include "relay/model/VlanTable.h"

/// What both families keep alike: the main switch, who the node is, its interfaces and VLANs. Each engine has
/// its own, under its mutex.
struct RelayTables
{
    bool draEnabled = false;
    bool draCircuitIdCVlan = false; ///< fixed id forms carry the customer VLAN
    RelayIdentity identity;
    InterfaceTable interfaces;
    VlanTable vlans;
    customFormatTestData_t customFormatTestData;
};
