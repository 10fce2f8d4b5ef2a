#pragma once

#include "common/singleton.h"

#include <cstdint>
#include <string>
#include <vector>

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

    /// Interface ids that are members of the VLAN.
    [[nodiscard]] static int vlanGetMembership(const char* bridge, std::uint16_t vid,
                                               std::vector<std::uint32_t>& members);

    [[nodiscard]] static int bridgeNameGet(std::string& name);

    static int lagTest(int step);
    static int issLaDebugMask(int mask);

    /// Opens a driver control node of the bridge, see platform/driver.h; a descriptor, or -1.
    [[nodiscard]] static int br_open(const char* path, int flags);
};
