#include "vnode/process/LinkSettings.h"

#include "vnode/loop/UniqueFd.h"

#include <cstring>
#include <fcntl.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace vnode::link {

namespace {

ifreq requestFor(const std::string& name)
{
    ifreq request{};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    return request;
}

bool ask(unsigned long code, ifreq& request)
{
    const UniqueFd socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return socket && ::ioctl(socket.get(), code, &request) == 0;
}

} // namespace

bool setMtu(const std::string& name, unsigned mtu)
{
    ifreq request = requestFor(name);
    request.ifr_mtu = static_cast<int>(mtu);
    return ask(SIOCSIFMTU, request);
}

bool setQueueLength(const std::string& name, int frames)
{
    ifreq request = requestFor(name);
    request.ifr_qlen = frames;
    return ask(SIOCSIFTXQLEN, request);
}

bool setMac(const std::string& name, const std::array<std::uint8_t, 6>& mac)
{
    ifreq request = requestFor(name);
    request.ifr_hwaddr.sa_family = ARPHRD_ETHER;
    std::memcpy(request.ifr_hwaddr.sa_data, mac.data(), mac.size());
    return ask(SIOCSIFHWADDR, request);
}

bool setUp(const std::string& name)
{
    ifreq request = requestFor(name);
    if (!ask(SIOCGIFFLAGS, request))
        return false;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    return ask(SIOCSIFFLAGS, request);
}

bool isRunning(const std::string& name)
{
    ifreq request = requestFor(name);
    constexpr int running = IFF_UP | IFF_RUNNING;
    return ask(SIOCGIFFLAGS, request) && (request.ifr_flags & running) == running;
}

void silenceIpv6(const std::string& name)
{
    for (const char* setting : {"addr_gen_mode", "disable_ipv6"}) { // "1" is "none" for the first
        const UniqueFd file(
            ::open(("/proc/sys/net/ipv6/conf/" + name + "/" + setting).c_str(), O_WRONLY | O_CLOEXEC));
        if (file && ::write(file.get(), "1\n", 2) < 0)
            continue; // an older kernel without that setting
    }
}

} // namespace vnode::link
