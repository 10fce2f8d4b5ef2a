#include "vnode/process/PacketPort.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/select.h>
#include <sys/socket.h>

namespace vnode {

namespace {

// An access node restarts with all its subscribers at once: 16,000 frames within a moment, each of which the
// kernel accounts with some 2.3 kB. The default buffer holds about 200 of them. This is a limit, not an
// allocation.
constexpr int receiveBufferBytes = 48 * 1024 * 1024;

std::string problem(const char* step) { return std::string(step) + ": " + std::strerror(errno); }

bool setOption(int fd, int level, int option, int value)
{
    return ::setsockopt(fd, level, option, &value, sizeof value) == 0;
}

/// Options whose absence (emulators refuse some) costs comfort but not correctness, or has a substitute.
void setOptionalOptions(int fd, unsigned index)
{
    if (!setOption(fd, SOL_SOCKET, SO_RCVBUFFORCE, receiveBufferBytes))
        setOption(fd, SOL_SOCKET, SO_RCVBUF, receiveBufferBytes);
    setOption(fd, SOL_PACKET, PACKET_AUXDATA, 1);
    setOption(fd, SOL_PACKET, PACKET_IGNORE_OUTGOING, 1); // receive() looks at the packet type too
    packet_mreq promiscuous{};
    promiscuous.mr_ifindex = static_cast<int>(index);
    promiscuous.mr_type = PACKET_MR_PROMISC;
    ::setsockopt(fd, SOL_PACKET, PACKET_ADD_MEMBERSHIP, &promiscuous, sizeof promiscuous);
}

/// The control service can only watch low descriptors, so ports stay out of their way where the limit allows.
UniqueFd movedHigh(UniqueFd fd)
{
    const int high = ::fcntl(fd.get(), F_DUPFD_CLOEXEC, FD_SETSIZE);
    return high < 0 ? std::move(fd) : UniqueFd(high);
}

const tpacket_auxdata* auxiliaryData(msghdr& message)
{
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level == SOL_PACKET && part->cmsg_type == PACKET_AUXDATA &&
            part->cmsg_len >= CMSG_LEN(sizeof(tpacket_auxdata)))
            return reinterpret_cast<const tpacket_auxdata*>(CMSG_DATA(part));
    }
    return nullptr;
}

IoResult resultOfErrno(int error)
{
    switch (error) {
    case EAGAIN:
    case EINTR:
        return IoResult::nothing;
    case ENETDOWN:
        return IoResult::down;
    case ENXIO:
    case ENODEV:
        return IoResult::gone;
    case EMSGSIZE:
        return IoResult::oversize;
    case ENOBUFS:
        return IoResult::full;
    default:
        return IoResult::failed;
    }
}

} // namespace

bool PacketPort::open(std::string& reason)
{
    close();
    const unsigned found = ::if_nametoindex(name().c_str());
    if (found == 0) {
        reason = std::strerror(ENODEV);
        return false;
    }
    // Protocol 0 until it is bound: otherwise frames of all other devices would queue up in between.
    UniqueFd fd(::socket(AF_PACKET, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!fd) {
        reason = problem("packet socket");
        return false;
    }
    setOptionalOptions(fd.get(), found);
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = static_cast<int>(found);
    if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        reason = problem("bind");
        return false;
    }
    socket = movedHigh(std::move(fd));
    index = found;
    return true;
}

void PacketPort::close()
{
    socket.reset();
    index = 0;
}

IoResult PacketPort::receive(FrameBuffer& buffer, std::span<std::uint8_t>& frame)
{
    const auto landing = buffer.landing();
    iovec vector{landing.data(), landing.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(tpacket_auxdata))];
    sockaddr_ll source{};
    msghdr message{};
    message.msg_name = &source;
    message.msg_namelen = sizeof source;
    message.msg_iov = &vector;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;

    const ssize_t count = ::recvmsg(socket.get(), &message, MSG_TRUNC);
    if (count < 0)
        return resultOfErrno(errno);
    const auto size = static_cast<std::size_t>(count);
    if (source.sll_pkttype == PACKET_OUTGOING || size < ETH_HLEN)
        return IoResult::skipped;
    if (size > landing.size())
        return IoResult::oversize;

    frame = landing.first(size);
    const tpacket_auxdata* aux = auxiliaryData(message);
    if (aux == nullptr)
        return IoResult::done;
    if ((aux->tp_status & TP_STATUS_VLAN_VALID) != 0) {
        const bool named = (aux->tp_status & TP_STATUS_VLAN_TPID_VALID) != 0;
        const std::uint16_t protocol = named ? aux->tp_vlan_tpid : static_cast<std::uint16_t>(ETH_P_8021Q);
        const auto tagged = std::span(buffer.bytes).first(wire::tagSize + size);
        if (wire::restoreTag(wire::Bytes(tagged), protocol, aux->tp_vlan_tci))
            frame = tagged;
    }
    if ((aux->tp_status & TP_STATUS_CSUMNOTREADY) != 0)
        completeChecksum(frame);
    return IoResult::done;
}

IoResult PacketPort::send(std::span<const std::uint8_t> frame)
{
    const auto attempt = [this](std::span<const std::uint8_t> bytes) {
        return ::send(socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0 ? 0 : errno;
    };
    int error = attempt(frame);
    if (error == EMSGSIZE)
        if (const auto packet = withoutTail(frame); packet.size() < frame.size())
            error = attempt(packet);
    if (error == 0)
        return IoResult::done;
    return error == EAGAIN ? IoResult::full : resultOfErrno(error);
}

std::uint32_t PacketPort::takeKernelDrops()
{
    tpacket_stats statistics{};
    socklen_t size = sizeof statistics;
    if (::getsockopt(socket.get(), SOL_PACKET, PACKET_STATISTICS, &statistics, &size) != 0)
        return 0;
    return statistics.tp_drops;
}

} // namespace vnode
