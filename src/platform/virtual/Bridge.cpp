#include "platform/zobridge.h"

#include "platform/driver.h"
#include "platform/virtual/Reading.h"
#include "platform/zomacTable.h"

#include <algorithm>
#include <fcntl.h>
#include <string_view>

using namespace platform::virtualNode;
using vnode::Operation;
using vnode::Picture;

namespace {

constexpr std::string_view bridgeName = "br0";
constexpr std::string_view nodeFolder = "/proc/net/zobridge/";

/// There is one bridge, and an empty name stands for it.
bool isOurBridge(const char* bridge)
{
    return bridge != nullptr && (*bridge == '\0' || bridge == bridgeName);
}

} // namespace

int zobridge::mngCreate(const char* name)
{
    return name == nullptr ? failure : answer(current().createPseudoDevice(name));
}

int zobridge::openFds(const char* bridge)
{
    return isOurBridge(bridge) ? answer(current().openControl()) : failure;
}

int zobridge::mngSystemMacGet(const char* name, std::uint8_t* mac)
{
    return read(Operation::systemMac, [&](const Picture& picture) {
        if (name == nullptr || mac == nullptr || !picture.facts.mac)
            return false;
        std::ranges::copy(*picture.facts.mac, mac);
        return true;
    });
}

int zobridge::vlanGetInfoId(const char* bridge, std::uint16_t vid, VlanInfo& info)
{
    return read(Operation::vlanRead, [&](const Picture& picture) {
        const vnode::Vlan* vlan = isOurBridge(bridge) ? picture.findVlan(vid) : nullptr;
        if (vlan == nullptr)
            return false;
        info = {vid, vlan->name};
        return true;
    });
}

int zobridge::vlanGetMembership(const char* bridge, std::uint16_t vid, std::uint32_t interfaceId,
                                bool& member)
{
    return read(Operation::membershipRead, [&](const Picture& picture) {
        const vnode::Vlan* vlan = isOurBridge(bridge) ? picture.findVlan(vid) : nullptr;
        if (vlan == nullptr || picture.interfaces.find(interfaceId) == nullptr)
            return false;
        member = std::ranges::binary_search(vlan->members, interfaceId);
        return true;
    });
}

int zobridge::bridgeNameGet(std::string& name)
{
    name = bridgeName;
    return success;
}

int zobridge::lagTest(int step)
{
    current().note("lagTest " + std::to_string(step));
    return success;
}

int zobridge::issLaDebugMask(int mask)
{
    current().note("issLaDebugMask " + std::to_string(mask));
    return success;
}

int zobridge::br_open(const char* bridge, const char* name)
{
    if (bridge == nullptr || name == nullptr)
        return failure;
    const std::string_view folder = *bridge == '\0' ? bridgeName : bridge;
    return driver::open(std::string(nodeFolder).append(folder).append("/").append(name).c_str(), O_RDWR);
}

int zomacTableGetVlanBitmapForMacPort(const char* bridge, const zomacTableMacPort& key,
                                      zomacTableVlanBitmap& bitmap)
{
    return isOurBridge(bridge) ? answer(current().markMacVlans(key, bitmap)) : failure;
}
