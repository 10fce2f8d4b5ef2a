#pragma once

#include "support/PutBytes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace test {

using Bytes = std::vector<std::uint8_t>;
using Mac = std::array<std::uint8_t, 6>;

inline constexpr std::size_t recordSize = 107;
inline constexpr std::size_t udpSize = 8;

/// A locally administered unicast address, 02:00:00:00:00:NN.
[[nodiscard]] constexpr Mac macOf(std::uint8_t last) { return {2, 0, 0, 0, 0, last}; }

/// Parts of a frame, for verbs that set a byte at an offset from a part's start.
enum class Part { record, ethernet, ip, udp, dhcp, options };

/**
 * What the builders of both families have in common: the bridge's record, Ethernet with tags, UDP ports and
 * damage. @p Frame is the builder, which has build(), ipHeaderSize() and messageHeaderSize.
 */
template <class Frame>
class BridgedFrame
{
public:
    // Record
    Frame& on(std::uint16_t interfaceId, std::string_view interfaceName = {})
    {
        inputName = interfaceName;
        return with(inputIndex, interfaceId);
    }
    Frame& outputIndex(std::uint16_t interfaceId) { return with(outputIndexValue, interfaceId); }
    Frame& outputName(std::string_view name) { return with(outputNameText, name); }
    Frame& fullSize(std::uint32_t claimed) { return with(claimedFullSize, claimed); }
    /// Tag control words of the record, when they shall differ from the frame's tags.
    Frame& recordTags(std::uint16_t outer, std::uint16_t inner)
    {
        recordOuter = outer;
        return with(recordInner, inner);
    }

    // Ethernet. vlan() and cvlan() set the record too; tag() adds a tag to the frame alone, behind the
    // others.
    Frame& sourceMac(const Mac& mac) { return with(source, mac); }
    Frame& to(const Mac& mac) { return with(destination, mac); }
    Frame& vlan(std::uint16_t id, std::uint8_t priority = 0, std::uint16_t protocol = 0x8100)
    {
        recordOuter = static_cast<std::uint16_t>(priority << 13 | id);
        return tag(protocol, recordOuter);
    }
    Frame& cvlan(std::uint16_t id, std::uint8_t priority = 0, std::uint16_t protocol = 0x8100)
    {
        recordInner = static_cast<std::uint16_t>(priority << 13 | id);
        return tag(protocol, recordInner);
    }
    Frame& tag(std::uint16_t protocol, std::uint16_t control)
    {
        tags.emplace_back(protocol, control);
        return self();
    }
    Frame& etherType(std::uint16_t value) { return with(type, value); }
    Frame& ethernetPadding(std::size_t count, std::uint8_t value = 0)
    {
        return with(padding, Bytes(count, value));
    }

    // UDP
    Frame& ports(std::uint16_t from, std::uint16_t to)
    {
        sourcePort = from;
        return with(destinationPort, to);
    }
    Frame& udpLength(std::uint16_t claimed) { return with(claimedUdpLength, claimed); }

    // Damage
    /// Sets a byte last of all.
    Frame& spoil(Part part, std::size_t offset, std::uint8_t value)
    {
        latePatches.push_back({part, offset, value});
        return self();
    }
    /// Only that many bytes of record and frame arrive; full_size says the same unless fullSize() was called.
    Frame& cutTo(std::size_t count) { return with(cut, count); }

    // Results
    /// Where a part starts in what build() answers.
    [[nodiscard]] std::size_t offsetOf(Part part) const
    {
        const std::size_t udp = ipStart() + self().ipHeaderSize();
        const std::size_t message = udp + udpSize;
        const std::size_t starts[] = {0,   recordSize, ipStart(),
                                      udp, message,    message + Frame::messageHeaderSize};
        return starts[static_cast<std::size_t>(part)];
    }
    /// The frame without the record.
    [[nodiscard]] Bytes ethernetFrame() const
    {
        const Bytes all = self().build();
        return {all.begin() + std::min<std::ptrdiff_t>(recordSize, std::ssize(all)), all.end()};
    }
    [[nodiscard]] std::size_t size() const { return self().build().size(); }

protected:
    struct Patch
    {
        Part part;
        std::size_t offset;
        std::uint8_t value;
    };

    BridgedFrame(const Mac& to, std::uint16_t etherType, std::uint16_t sourcePort_,
                 std::uint16_t destinationPort_)
        : sourcePort(sourcePort_), destinationPort(destinationPort_), destination(to), type(etherType)
    {}

    /// Stores a verb's argument.
    template <typename Member, typename Value>
    Frame& with(Member& member, Value&& value)
    {
        member = std::forward<Value>(value);
        return self();
    }

    [[nodiscard]] std::size_t ipStart() const { return recordSize + 14 + tags.size() * 4; }

    /// Record and Ethernet header.
    [[nodiscard]] Bytes lowerLayers() const
    {
        Bytes out(recordSize);
        set16(out, 4, recordOuter);
        set16(out, 6, recordInner);
        setHost(out, 52, inputIndex);
        setHost(out, 54, outputIndexValue);
        std::copy_n(inputName.begin(), std::min<std::size_t>(inputName.size(), 16), out.begin() + 74);
        std::copy_n(outputNameText.begin(), std::min<std::size_t>(outputNameText.size(), 16),
                    out.begin() + 90);
        putAll(out, destination);
        putAll(out, source);
        for (const auto& [protocol, control] : tags) {
            put16(out, protocol);
            put16(out, control);
        }
        put16(out, type);
        return out;
    }
    /// UDP header without a sum.
    void putUdp(Bytes& out, std::size_t messageSize) const
    {
        put16(out, sourcePort);
        put16(out, destinationPort);
        put16(out, claimedUdpLength.value_or(static_cast<std::uint16_t>(udpSize + messageSize)));
        put16(out, 0);
    }
    void apply(const std::vector<Patch>& patches, Bytes& out) const
    {
        for (const Patch& patch : patches)
            out.at(offsetOf(patch.part) + patch.offset) = patch.value;
    }
    /// Padding, the size in the record, and what arrives of it all.
    [[nodiscard]] Bytes finished(Bytes out) const
    {
        putAll(out, padding);
        const std::size_t arriving = std::min(cut.value_or(out.size()), out.size());
        setHost(out, 48, claimedFullSize.value_or(static_cast<std::uint32_t>(arriving)));
        apply(latePatches, out);
        out.resize(arriving);
        return out;
    }

private:
    Frame& self() { return static_cast<Frame&>(*this); }
    const Frame& self() const { return static_cast<const Frame&>(*this); }

    std::uint16_t inputIndex = 0;
    std::uint16_t outputIndexValue = 0;
    std::string inputName;
    std::string outputNameText;
    std::optional<std::uint32_t> claimedFullSize;
    std::uint16_t recordOuter = 0x0FFF;
    std::uint16_t recordInner = 0x0FFF;
    std::uint16_t sourcePort;
    std::uint16_t destinationPort;
    std::optional<std::uint16_t> claimedUdpLength;
    Mac destination;
    Mac source = macOf(1);
    std::vector<std::pair<std::uint16_t, std::uint16_t>> tags;
    std::uint16_t type;
    Bytes padding;
    std::vector<Patch> latePatches;
    std::optional<std::size_t> cut;
};

} // namespace test
