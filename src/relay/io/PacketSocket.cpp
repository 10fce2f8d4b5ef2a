#include "relay/io/PacketSocket.h"

#include "log/LogText.h"

#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

// After <net/if.h>: the kernel's header is only wanted for ETH_P_ALL.
#include <linux/if_ether.h>

namespace {

constexpr int defaultMtu = 1500;

// Closes on every early return.
class OpenSocket
{
public:
    explicit OpenSocket(int descriptor) : fd(descriptor) {}
    ~OpenSocket()
    {
        if (fd != -1)
            ::close(fd);
    }
    OpenSocket(const OpenSocket&) = delete;
    OpenSocket& operator=(const OpenSocket&) = delete;

    [[nodiscard]] int get() const { return fd; }
    int release()
    {
        const int kept = fd;
        fd = -1;
        return kept;
    }

private:
    int fd;
};

void trace(const DebugSink& debug, const char* text)
{
    if (debug.wantsDebugText())
        debug.log("%s", text);
}

ifreq requestFor(const char* name)
{
    ifreq request{};
    std::strncpy(request.ifr_name, name, IFNAMSIZ - 1);
    return request;
}

int bindToDevice(int fd, int index)
{
    sockaddr_ll device{};
    device.sll_family = AF_PACKET;
    device.sll_protocol = htons(ETH_P_ALL);
    device.sll_ifindex = index;
    static_assert(sizeof device == 20);
    return ::bind(fd, reinterpret_cast<const sockaddr*>(&device), sizeof device);
}

// Beyond the system's limit only with the capability for it; else as much as the limit allows.
void setReceiveBuffer(int fd, int bytes)
{
    if (::setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) != 0)
        static_cast<void>(::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes));
}

} // namespace

int openPacketSocket(const char* name, int& mtu, const DebugSink& debug, int receiveBufferBytes)
{
    trace(debug, "dhcpra_socket_create()\n");
    // Without a protocol, so that nothing is received before the bind: until then the socket belongs to no
    // device, and the frames of all devices would queue.
    OpenSocket packet(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
    if (packet.get() == -1) {
        logText(LogImpl::critical, "DHCPRA: dhcpra_socket_create(): can't create RAW Ethernet socket!\n");
        return -1;
    }

    ifreq request = requestFor(name);
    if (debug.wantsDebugText())
        debug.log("\t get if index of %s... ", request.ifr_name);
    if (::ioctl(packet.get(), SIOCGIFINDEX, &request) == -1) {
        logText(LogImpl::critical, "DHCPRA: dhcpra_socket_create(): unable to obtain IF index!\n");
        return -1;
    }
    if (debug.wantsDebugText())
        debug.log("%d\n", request.ifr_ifindex);

    // Before the bind, which starts the receiving: no frame of the first burst meets the small buffer.
    setReceiveBuffer(packet.get(), receiveBufferBytes);
    trace(debug, "\t bind socket to device\n");
    if (const int result = bindToDevice(packet.get(), request.ifr_ifindex); result != 0) {
        logText(LogImpl::critical, "DHCPRA: dhcpra_socket_create(): can't bind socket to device (", result,
                ")!");
        return -1;
    }

    if (::ioctl(packet.get(), SIOCGIFMTU, &request) == -1) {
        trace(debug, "\t unable to obtain interface MTU\n");
        logText(LogImpl::critical, "DHCPRA: dhcpra_socket_create(): unable to obtain interface MTU!\n");
        return -1;
    }
    if (request.ifr_mtu == 0) {
        mtu = defaultMtu;
        logText(LogImpl::warning, "DHCPRA: dhcpra_socket_create(): interface MTU is 0, MTU set to ", mtu,
                ".\n");
    } else {
        mtu = request.ifr_mtu;
        if (debug.wantsDebugText())
            debug.log("\tMTU is %d\n", mtu);
    }
    return packet.release();
}
