#pragma once

#include "support/Xdr.h"

#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <netinet/in.h>
#include <optional>
#include <rpc/rpc.h>
#include <span>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "rte/BLL/core/RpcRegistration.h"

namespace test {

using Bytes = std::vector<std::uint8_t>;

/// A socket to one of this process's RPC transports, connected; reads give up in the end.
class PeerSocket
{
public:
    PeerSocket(int type, const sockaddr_in& address) : PeerSocket(Made{socket(AF_INET, type, 0)}, address) {}

    /// A socket that is not connected yet.
    struct Made
    {
        int fd;
    };
    PeerSocket(Made socket, const sockaddr_in& address) : fd(socket.fd)
    {
        const timeval limit{20, 0}; // on a slow machine too: whoever is held up for good is never answered
        setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            perror("connect");
    }
    PeerSocket(PeerSocket&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
    PeerSocket(const PeerSocket&) = delete;
    PeerSocket& operator=(const PeerSocket&) = delete;
    ~PeerSocket()
    {
        if (fd != -1)
            close(fd);
    }

    void send(std::span<const std::uint8_t> bytes) const
    {
        if (::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size()))
            perror("send");
    }
    /// Exactly @p size bytes of a stream; fewer when it ended or nothing came.
    [[nodiscard]] Bytes receive(std::size_t size, int flags = MSG_WAITALL) const
    {
        Bytes bytes(size);
        const ssize_t count = recv(fd, bytes.data(), size, flags);
        bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        return bytes;
    }
    [[nodiscard]] Bytes receiveDatagram() const { return receive(65536, 0); }

private:
    int fd;
};

/// A call message (RFC 5531) without credentials.
inline Bytes callMessage(std::uint32_t xid, std::uint32_t program, std::uint32_t procedure,
                         const Xdr& arguments)
{
    return Xdr{xid, 0, 2, program, 1, procedure, 0, 0, 0, 0}.add(arguments).bytes;
}

/// An accepted reply with this status, and what follows it.
inline Bytes replyMessage(std::uint32_t xid, std::uint32_t status, const Xdr& result = {})
{
    return Xdr{xid, 1, 0, 0, 0, status}.add(result).bytes;
}

/// One record of one fragment, as messages travel over TCP.
inline Bytes recordOf(const Bytes& message)
{
    Bytes record = Xdr{static_cast<std::int64_t>(0x80000000U | message.size())}.bytes;
    record.insert(record.end(), message.begin(), message.end());
    return record;
}

/// The whole record that comes next, without its marks.
inline Bytes receiveRecord(const PeerSocket& peer)
{
    Bytes message;
    for (bool last = false; !last;) {
        const Bytes mark = peer.receive(4);
        if (mark.size() != 4)
            return {};
        const std::uint32_t value =
            static_cast<std::uint32_t>(mark[0] << 24 | mark[1] << 16 | mark[2] << 8 | mark[3]);
        last = (value & 0x80000000U) != 0;
        const Bytes fragment = peer.receive(value & 0x7FFFFFFFU);
        message.insert(message.end(), fragment.begin(), fragment.end());
    }
    return message;
}

/// Sends the call and answers the bytes that come back.
inline Bytes exchange(const PeerSocket& peer, bool tcp, const Bytes& message)
{
    peer.send(tcp ? recordOf(message) : message);
    return tcp ? receiveRecord(peer) : peer.receiveDatagram();
}

/// Where this process serves a transport of this type.
inline std::optional<sockaddr_in> transportAddress(int type)
{
    const fd_set set = rpcDescriptors();
    for (int fd = 0; fd < FD_SETSIZE; ++fd) {
        int found = 0;
        int listening = 0;
        socklen_t size = sizeof found;
        if (!FD_ISSET(fd, &set) || getsockopt(fd, SOL_SOCKET, SO_TYPE, &found, &size) != 0 || found != type)
            continue;
        size = sizeof listening;
        getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size);
        if (type == SOCK_STREAM && listening == 0)
            continue;
        sockaddr_in address{};
        size = sizeof address;
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
        return address;
    }
    return std::nullopt;
}

} // namespace test
