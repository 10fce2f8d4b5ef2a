#include "vnode/model/Ether.h"

namespace vnode {

std::optional<EtherHeader> parseEther(std::span<const std::uint8_t> frame)
{
    const wire::ConstBytes bytes(frame);
    EtherHeader header;
    const auto behind = wire::crossTagsWhile(bytes, [&](std::uint16_t protocol, std::size_t position) {
        const bool crossed = isTpid(protocol) && header.tagCount < EtherHeader::maxTags;
        if (crossed)
            header.tags[header.tagCount++] = {protocol, wire::tagControlAt(bytes, position)};
        return crossed;
    });
    if (!bytes.holds(0, behind.payload))
        return std::nullopt;
    header.destination = wire::macAt(bytes, wire::macDestination);
    header.source = wire::macAt(bytes, wire::macSource);
    header.type = behind.type;
    header.payload = behind.payload;
    return header;
}

void composeFrame(std::span<const std::uint8_t> frame, std::size_t rest, const std::optional<Tag>& tag,
                  std::vector<std::uint8_t>& out)
{
    const wire::ConstBytes bytes(frame);
    const auto macs = bytes.part(0, wire::outerType);
    const auto tail = bytes.part(rest, frame.size());
    out.assign(macs.begin(), macs.end());
    if (tag) {
        out.resize(macs.size() + wire::tagSize);
        const wire::Bytes writer{std::span(out).last(wire::tagSize)};
        writer.putBe16(0, tag->tpid);
        writer.putBe16(2, tag->tci);
    }
    out.insert(out.end(), tail.begin(), tail.end());
}

} // namespace vnode
