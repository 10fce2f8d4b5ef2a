#include "relay/io/ServerSender.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

UdpServerSender::~UdpServerSender() { UdpServerSender::close(); }

bool UdpServerSender::open()
{
    UdpServerSender::close();
    fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    return fd != -1;
}

bool UdpServerSender::allowRouting()
{
    const int dontRoute = 0;
    return ::setsockopt(fd, SOL_SOCKET, SO_DONTROUTE, &dontRoute, sizeof dontRoute) == 0;
}

void UdpServerSender::send(std::uint32_t server, std::span<const std::uint8_t> payload)
{
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(serverPort);
    target.sin_addr.s_addr = htonl(server);
    // UDP may lose the datagram anywhere; the client's retransmission mends a loss here too.
    static_cast<void>(::sendto(fd, payload.data(), payload.size(), 0,
                               reinterpret_cast<const sockaddr*>(&target), sizeof target));
}

void UdpServerSender::close()
{
    if (fd == -1)
        return;
    ::close(fd);
    fd = -1;
}
