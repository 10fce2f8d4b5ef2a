// A DHCPv4 server without a memory: whoever asks gets the address that his MAC stands for, at once. It
// answers on one device, relayed requests at their relay agent, others at the client. For load only: it
// checks nothing.

#include "RawPort.h"

#include "wire/AddressText.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace storm;

volatile std::sig_atomic_t stopping = 0;

std::uint32_t addressFor(const Mac& mac)
{
    return 0x0A800000u | (std::uint32_t{mac[3]} & 0x3F) << 16 | std::uint32_t{mac[4]} << 8 | mac[5];
}

std::optional<Frame> answer(const Frame& asked, const Mac& ownMac, std::uint32_t ownIp)
{
    const Message& request = asked.message;
    if (request.reply || asked.headers.toPort != 67)
        return std::nullopt;
    if (request.kind != Kind::discover && request.kind != Kind::request)
        return std::nullopt;
    Frame frame;
    frame.message = request;
    frame.message.reply = true;
    frame.message.kind = request.kind == Kind::discover ? Kind::offer : Kind::ack;
    frame.message.yiaddr = addressFor(request.chaddr);
    frame.message.server = ownIp;
    frame.message.requested = 0;
    const bool relayed = request.giaddr != 0;
    frame.headers = {ownMac,
                     relayed ? asked.headers.from : wire::broadcastMac,
                     asked.headers.vlan,
                     ownIp,
                     relayed ? request.giaddr : 0xFFFFFFFF,
                     67,
                     static_cast<std::uint16_t>(relayed ? 67 : 68)};
    return frame;
}

/// Keeps the kernel from answering the requests with "port unreachable".
int holdPort()
{
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in any{};
    any.sin_family = AF_INET;
    any.sin_port = htons(67);
    const int smallest = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &smallest, sizeof smallest);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0)
        std::perror("port 67");
    return fd;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: quickdhcpd DEVICE OWN_IP\n");
        return 2;
    }
    const auto own = wire::readIpv4(argv[2]);
    if (!own) {
        std::fprintf(stderr, "quickdhcpd: %s is no IPv4 address\n", argv[2]);
        return 2;
    }
    std::signal(SIGTERM, [](int) { stopping = 1; });
    try {
        RawPort port(argv[1], 64 << 20);
        const int held = holdPort();
        std::uint64_t answered = 0;
        std::uint64_t withOption82 = 0;
        std::printf("quickdhcpd answers on %s\n", argv[1]);
        std::fflush(stdout);
        while (!stopping) {
            pollfd ready{port.descriptor(), POLLIN, 0};
            if (::poll(&ready, 1, 1000) <= 0)
                continue;
            while (const auto bytes = port.receive()) {
                const auto asked = decode(*bytes);
                const auto reply = asked ? answer(*asked, port.mac(), *own) : std::nullopt;
                if (reply && port.send(encode(*reply))) {
                    ++answered;
                    withOption82 += asked->message.relayInformation.empty() ? 0 : 1;
                }
            }
        }
        std::printf("{\"answered\": %llu, \"with_option_82\": %llu, \"dropped\": %u}\n",
                    static_cast<unsigned long long>(answered), static_cast<unsigned long long>(withOption82),
                    port.takeDrops());
        ::close(held);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quickdhcpd: %s\n", error.what());
        return 1;
    }
    return 0;
}
