#include "relay/model/dhcpraVlan.h"

#include <initializer_list>

bool dhcpraVlan::isConfigured() const
{
    for (const threeStateBool member :
         {enabled, fullMode, insertOpt82, unicastExtension, keepOpt82, circuitId}) {
        if (member != threeStateBool::notSet)
            return true;
    }
    return false;
}

bool dhcpraVlan::isConfiguredV6() const
{
    for (const threeStateBool member : {enabledV6, interfaceIdV6, remoteIdV6}) {
        if (member != threeStateBool::notSet)
            return true;
    }
    return false;
}
