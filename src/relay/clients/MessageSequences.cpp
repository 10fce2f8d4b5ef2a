#include "relay/clients/MessageSequences.h"

#include <algorithm>
#include <array>

namespace {

// By DHCP message type (RFC 2132 section 9.6), as operators read them.
constexpr std::array<const char*, 9> names{nullptr, "DISCOVER", "->OFFER",   "->REQUEST", "->DECLINE",
                                           "->ACK", "->NACK",   "->RELEASE", "->INFORM"};
constexpr std::uint32_t discover = 1;

std::uint64_t keyOf(std::uint32_t parent, std::uint8_t messageType)
{
    return std::uint64_t{parent} << 8 | messageType;
}

} // namespace

MessageSequences::MessageSequences() : nodes(1) {}

MessageSequences::Sequence MessageSequences::advance(Sequence from, std::uint32_t messageType)
{
    if (messageType == 0 || messageType >= names.size())
        return from;
    const Sequence next =
        childOf(messageType == discover ? empty : from, static_cast<std::uint8_t>(messageType));
    ++nodes[next].users;
    release(from);
    return next;
}

MessageSequences::Sequence MessageSequences::childOf(Sequence parent, std::uint8_t messageType)
{
    const auto [place, isNew] = children.try_emplace(keyOf(parent, messageType), empty);
    if (!isNew)
        return place->second;

    if (freeNodes.empty()) {
        freeNodes.push_back(static_cast<Sequence>(nodes.size()));
        nodes.emplace_back();
    }
    const Sequence fresh = freeNodes.back();
    freeNodes.pop_back();
    nodes[fresh] = {parent, 0, messageType};
    ++nodes[parent].users;
    place->second = fresh;
    return fresh;
}

// Takes one user off the node, and what nobody needs any more out of the tree.
void MessageSequences::release(Sequence sequence)
{
    while (sequence != empty && --nodes[sequence].users == 0) {
        const Node gone = nodes[sequence];
        children.erase(keyOf(gone.parent, gone.messageType));
        freeNodes.push_back(sequence);
        sequence = gone.parent;
    }
}

std::string MessageSequences::text(Sequence sequence) const
{
    std::vector<std::uint8_t> steps;
    for (Sequence at = sequence; at != empty; at = nodes[at].parent)
        steps.push_back(nodes[at].messageType);

    std::reverse(steps.begin(), steps.end());

    std::string text;
    for (const std::uint8_t step : steps)
        text += names[step];
    return text;
}
