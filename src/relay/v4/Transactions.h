#pragma once

#include "relay/clients/ClientHistory.h"
#include "relay/clients/ClientTable.h"
#include "relay/frame/dhcpraMessage.h"

#include <cstdint>

/// What requests and replies leave in the client tables: where a transaction came from, for its reply, and
/// what each client has exchanged, for operators. Under the engine's frameMutex.
class Transactions
{
public:
    explicit Transactions(const DebugSink& sink) : table(sink), history(sink) {}

    /// A request of this interface's client is on its way.
    void open(const dhcpraMessage& frame, std::uint32_t interfaceId)
    {
        const ClientFrame client = clientFrameOf(frame);
        table.add(client, interfaceId);
        history.update(client, interfaceId);
    }
    /// Its reply is; @p interfaceId of 0: the interface is not known.
    void close(const dhcpraMessage& frame, std::uint32_t interfaceId)
    {
        const ClientFrame client = clientFrameOf(frame);
        table.remove(client);
        history.update(client, interfaceId);
    }

    [[nodiscard]] static ClientFrame clientFrameOf(const dhcpraMessage& frame);

    ClientTable table;
    ClientHistory history;
};
