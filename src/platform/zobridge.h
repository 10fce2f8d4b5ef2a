#pragma once

#include "common/singleton.h"

#include <cstdint>
#include <string>

/**
 * The bridge control library. Operations answer 0 on success unless they say otherwise; all may be called
 * from any thread.
 */
class zobridge : public singleton<zobridge>
{
public:
    struct VlanInfo
    {
        std::uint16_t vid = 0;
        std::string name;
    };

    /// Creates the pseudo device @p name on which diverted frames arrive; it stays when the process ends.
    [[nodiscard]] static int mngCreate(const char* name);

    /// Opens the bridge control descriptors.
    static int openFds(const char* bridge);

    /// MAC of the node itself, six bytes, for who uses the pseudo device @p name.
    [[nodiscard]] static int mngSystemMacGet(const char* name, std::uint8_t* mac);

    /// The VLAN's record; @p bridge "" is the only bridge.
    [[nodiscard]] static int vlanGetInfoId(const char* bridge, std::uint16_t vid, VlanInfo& info);

    /// Whether the interface is a member of the VLAN. Fails for a VLAN or an interface that does not exist.
    [[nodiscard]] static int vlanGetMembership(const char* bridge, std::uint16_t vid,
                                               std::uint32_t interfaceId, bool& member);

    [[nodiscard]] static int bridgeNameGet(std::string& name);

    static int lagTest(int step);
    static int issLaDebugMask(int mask);

    /// Opens a control node of the bridge driver, such as "ipsg", for reading and writing. A descriptor for
    /// the calls of platform/driver.h, or -1.
    [[nodiscard]] static int br_open(const char* bridge, const char* name);
};
