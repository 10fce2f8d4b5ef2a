#pragma once

#include <cstdint>
#include <span>

/**
 * One datagram to a DHCP server from the node's own IP stack, which chooses source address and port. The
 * steps are apart because a failure of each has words and consequences of its own; the frame thread is the
 * only caller.
 */
class ServerSender
{
public:
    virtual ~ServerSender() = default;

    [[nodiscard]] virtual bool open() = 0;

    /// Lets the datagram pass routers.
    [[nodiscard]] virtual bool allowRouting() = 0;

    /// @p server in host order; a loss on the way is not noticed.
    virtual void send(std::uint32_t server, std::span<const std::uint8_t> payload) = 0;
    virtual void close() = 0;

protected:
    ServerSender() = default;
    ServerSender(const ServerSender&) = delete;
    ServerSender& operator=(const ServerSender&) = delete;
};

/// The real one: a socket of its own for each datagram.
class UdpServerSender final : public ServerSender
{
public:
    static constexpr std::uint16_t serverPort = 67;

    UdpServerSender() = default;
    ~UdpServerSender() override;

    [[nodiscard]] bool open() override;
    [[nodiscard]] bool allowRouting() override;
    void send(std::uint32_t server, std::span<const std::uint8_t> payload) override;
    void close() override;

private:
    int fd = -1;
};
