#pragma once

#include "relay/clients/ClientTable.h"
#include "relay/clients/HistoryTime.h"
#include "relay/clients/MessageSequences.h"
#include "relay/clients/PlaceIndex.h"
#include "relay/model/DebugSink.h"

#include <cstdint>
#include <ctime>
#include <deque>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

/// One line of the history as operators see it.
struct dhcprLocalClientInfo_t
{
    std::uint32_t xid = 0;
    std::uint32_t interfaceId = 0;
    clientMac_t mac{};
    std::uint16_t vlan = 0;
    std::string time;
    std::uint32_t messageType = 0; ///< of the last frame
    std::string messageSeq;
};

/**
 * For each client on a subscriber interface, which message types it has exchanged lately. There is one entry
 * for a MAC, VLAN and interface; the one heard last stands at the end. Entries are never dropped: operators
 * ask for clients of long ago. An entry costs some 150 bytes with its place in the index, and an update costs
 * the same however many there are. Under the engine's frameMutex.
 */
class ClientHistory
{
public:
    explicit ClientHistory(const DebugSink& sink) : debug(sink) {}

    /// @p interfaceId of 0 stands for "not known": the client is then the one on that VLAN that was silent
    /// longest.
    void update(const ClientFrame& frame, std::uint32_t interfaceId);

    [[nodiscard]] std::size_t size() const { return entries.size(); }

    class Copy;
    /// For who shows it: taken under frameMutex, made into texts outside it.
    [[nodiscard]] Copy copy() const;

private:
    using Index = PlaceIndex::Index;
    static constexpr Index none = PlaceIndex::none;

    struct Links
    {
        Index before = none;
        Index behind = none;
    };
    struct Ends
    {
        Index first = none;
        Index last = none;
    };
    struct Line
    {
        std::uint64_t client = 0; // MAC and VLAN
        std::int64_t time = 0;
        std::uint32_t interfaceId = 0;
        std::uint32_t xid = 0;
        std::uint32_t messageType = 0;
        MessageSequences::Sequence sequence = MessageSequences::empty;
    };
    struct Entry : Line
    {
        std::uint64_t heard = 0; // grows with each update of any entry, and so tells their order
        Links sameClient;        // among those of the same MAC and VLAN on several interfaces
    };
    struct ClientHash
    {
        std::size_t operator()(std::uint64_t client) const { return hashOf(client, 0); }
    };

    [[nodiscard]] static std::size_t hashOf(std::uint64_t client, std::uint32_t interfaceId);
    [[nodiscard]] bool isAt(Index index, std::uint64_t client, std::uint32_t interfaceId) const;
    [[nodiscard]] Index find(std::uint64_t client, std::uint32_t interfaceId) const;
    Index append(std::uint64_t client, std::uint32_t interfaceId);
    void moveToEnd(Index index);
    void link(Ends& sameClient, Index index);
    void unlink(Ends& sameClient, Index index);
    void record(Entry& entry, const ClientFrame& frame, std::time_t now);

    const DebugSink& debug;
    HistoryTime clock;
    MessageSequences sequences;
    std::deque<Entry> entries; // grows without moving what is there
    Index lastHeard = none;
    std::uint64_t updates = 0;
    PlaceIndex byPlace;                                           // by MAC, VLAN and interface
    std::unordered_map<std::uint64_t, Ends, ClientHash> byClient; // by MAC and VLAN alone
};

/// The history as it was when it was copied.
class ClientHistory::Copy
{
public:
    /// From the entry silent longest to the one heard last.
    void forEach(const std::function<void(const dhcprLocalClientInfo_t&)>& visit) const;

private:
    friend class ClientHistory;

    std::vector<Entry> lines;
    MessageSequences sequences;
};
