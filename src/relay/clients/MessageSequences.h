#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

/**
 * Histories of message types, shared by all clients that have the same one: thousands of clients walk through
 * the same few exchanges. A history is a node of a tree, one step below the history without its last message;
 * nodes that no client stands on or below go away. Under the engine's frameMutex.
 */
class MessageSequences
{
public:
    using Sequence = std::uint32_t;
    static constexpr Sequence empty = 0;

    MessageSequences();

    /// The history that a client on @p from has after @p messageType; the client moves there. A DISCOVER
    /// starts afresh, and types that have no name leave the history as it is.
    [[nodiscard]] Sequence advance(Sequence from, std::uint32_t messageType);

    /// Such as "DISCOVER->OFFER".
    [[nodiscard]] std::string text(Sequence sequence) const;

    /// How many histories and beginnings of histories are kept.
    [[nodiscard]] std::size_t size() const { return children.size(); }

private:
    struct Node
    {
        Sequence parent = empty;
        std::uint32_t users = 0; // clients on it and nodes below it
        std::uint8_t messageType = 0;
    };

    [[nodiscard]] Sequence childOf(Sequence parent, std::uint8_t messageType);
    void release(Sequence sequence);

    std::vector<Node> nodes;
    std::vector<Sequence> freeNodes;
    std::unordered_map<std::uint64_t, Sequence> children; // by parent and message type
};
