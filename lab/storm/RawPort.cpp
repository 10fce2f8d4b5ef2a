#include "RawPort.h"

#include "wire/Ethernet.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace storm {
namespace {

int checked(int result, const std::string& what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

} // namespace

RawPort::RawPort(const std::string& device, int receiveBuffer)
    : fd(checked(::socket(AF_PACKET, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, htons(ETH_P_ALL)),
                 "raw socket"))
{
    const int on = 1;
    ifreq request{};
    device.copy(request.ifr_name, IFNAMSIZ - 1);
    sockaddr_ll link{};
    link.sll_family = AF_PACKET;
    link.sll_protocol = htons(ETH_P_ALL);
    try {
        checked(::ioctl(fd, SIOCGIFHWADDR, &request), device);
        std::memcpy(address.data(), request.ifr_hwaddr.sa_data, address.size());
        checked(::ioctl(fd, SIOCGIFINDEX, &request), device);
        link.sll_ifindex = request.ifr_ifindex;
        checked(::setsockopt(fd, SOL_PACKET, PACKET_AUXDATA, &on, sizeof on), device);
        checked(::setsockopt(fd, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on), device);
        checked(::setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &receiveBuffer, sizeof receiveBuffer), device);
        checked(::bind(fd, reinterpret_cast<const sockaddr*>(&link), sizeof link), device);
    } catch (...) {
        ::close(fd);
        throw;
    }
}

RawPort::RawPort(RawPort&& other) noexcept : fd(std::exchange(other.fd, -1)), address(other.address) {}

RawPort::~RawPort()
{
    if (fd >= 0)
        ::close(fd);
}

bool RawPort::send(std::span<const std::uint8_t> frame)
{
    return ::send(fd, frame.data(), frame.size(), MSG_DONTWAIT) == static_cast<ssize_t>(frame.size());
}

std::optional<std::span<const std::uint8_t>> RawPort::receive()
{
    iovec part{buffer.data() + wire::tagSize, buffer.size() - wire::tagSize};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(tpacket_auxdata))> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = ::recvmsg(fd, &message, MSG_DONTWAIT);
    if (size < ETH_HLEN)
        return std::nullopt;
    const cmsghdr* header = CMSG_FIRSTHDR(&message);
    tpacket_auxdata extra{};
    if (header && header->cmsg_level == SOL_PACKET && header->cmsg_type == PACKET_AUXDATA)
        std::memcpy(&extra, CMSG_DATA(header), sizeof extra);
    if (!(extra.tp_status & TP_STATUS_VLAN_VALID))
        return std::span<const std::uint8_t>(buffer.data() + wire::tagSize, static_cast<std::size_t>(size));
    const bool named = (extra.tp_status & TP_STATUS_VLAN_TPID_VALID) != 0;
    const auto tagged = std::span(buffer).first(wire::tagSize + static_cast<std::size_t>(size));
    wire::restoreTag(wire::Bytes(tagged), named ? extra.tp_vlan_tpid : wire::typeCustomerTag,
                     extra.tp_vlan_tci);
    return tagged;
}

std::uint32_t RawPort::takeDrops()
{
    tpacket_stats stats{};
    socklen_t size = sizeof stats;
    return ::getsockopt(fd, SOL_PACKET, PACKET_STATISTICS, &stats, &size) == 0 ? stats.tp_drops : 0;
}

} // namespace storm
