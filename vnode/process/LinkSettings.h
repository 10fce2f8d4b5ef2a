#pragma once

#include <array>
#include <cstdint>
#include <string>

/// Settings of Linux devices by their name. Each answers false with errno when the kernel refuses.
namespace vnode::link {

[[nodiscard]] bool setMtu(const std::string& name, unsigned mtu);
[[nodiscard]] bool setQueueLength(const std::string& name, int frames);
[[nodiscard]] bool setMac(const std::string& name, const std::array<std::uint8_t, 6>& mac);
[[nodiscard]] bool setUp(const std::string& name);

/// Whether the device is up and its other end too; false without one of that name.
[[nodiscard]] bool isRunning(const std::string& name);

/// Stops the kernel from sending IPv6 of its own on the device. Call it while the device is down. Succeeds on
/// a kernel without IPv6.
void silenceIpv6(const std::string& name);

} // namespace vnode::link
