#include "vnode/process/FrameDevice.h"

#include "vnode/process/LinkSettings.h"

#include <net/if.h>

namespace vnode {

bool FrameDevice::isStale() const { return isOpen() && ::if_nametoindex(deviceName.c_str()) != index; }

bool FrameDevice::hasLink() const { return link::isRunning(deviceName); }

} // namespace vnode
