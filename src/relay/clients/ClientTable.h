#pragma once

#include "relay/clients/HistoryTime.h"
#include "relay/model/DebugSink.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <optional>
#include <vector>

using clientMac_t = std::array<std::uint8_t, 6>;

/// What the client tables read of a frame.
struct ClientFrame
{
    std::uint32_t xid = 0;          ///< host order
    std::optional<clientMac_t> mac; ///< chaddr; none in a frame without a DHCP header
    std::uint16_t vlan = 4095;
    std::uint16_t cvlan = 4095;
    std::uint16_t ethType = 0;
    std::uint16_t cEthType = 0;
    std::uint32_t messageType = 0;
};

/// Where a transaction came from.
struct dhcprClientInfo_t
{
    std::uint32_t xid = 0;
    std::uint32_t interfaceId = 0;
    clientMac_t mac{};
    std::uint16_t vlan = 0;
    std::uint16_t cvlan = 0;
    std::uint16_t ethType = 0; ///< tag protocols of the request, 0 without the tag
    std::uint16_t cEthType = 0;
    std::time_t time = 0; ///< HistoryTime::text() gives what operators see
};

/**
 * Remembers, from a client's request to the server's reply, from which interface and VLANs a transaction
 * came. Entries stand in the order of their coming. There are never more than a hundred, so a walk over them
 * costs less than an index would.
 *
 * One timer stands for the whole table: after 30 seconds without an add everything in it is stale.
 * Under the engine's frameMutex.
 */
class ClientTable
{
public:
    static constexpr std::size_t capacity = 100;
    static constexpr std::time_t timeOut = 30;

    explicit ClientTable(const DebugSink& sink);

    void add(const ClientFrame& frame, std::uint32_t interfaceId);

    /// By transaction and client; interface and VLAN of a reply are those of the server's side and say
    /// nothing.
    [[nodiscard]] bool find(const ClientFrame& frame, dhcprClientInfo_t& entry) const;
    void remove(const ClientFrame& frame);

    [[nodiscard]] const std::vector<dhcprClientInfo_t>& all() const { return entries; }

private:
    void dropAllIfTimedOut(std::time_t now);
    void dropOldestIfFull();
    void dropSameClient(const dhcprClientInfo_t& fresh);
    [[nodiscard]] bool canBeAdded(const ClientFrame& frame, std::uint32_t interfaceId) const;
    [[nodiscard]] std::optional<std::size_t> search(const ClientFrame& frame, const char* operation) const;
    void trace(const char* what, const dhcprClientInfo_t& entry) const;

    const DebugSink& debug;
    HistoryTime clock;
    std::vector<dhcprClientInfo_t> entries;
    std::time_t lastAddTime = 0; // 0: none yet
};
