#include "vnode/model/Ether.h"

#include "wire/Bytes.h"

#include <algorithm>

namespace vnode {

namespace {

MacAddress macAt(const wire::ConstBytes& wire, std::size_t offset)
{
    MacAddress mac{};
    std::ranges::copy(wire.part(offset, mac.size()), mac.begin());
    return mac;
}

} // namespace

std::optional<EtherHeader> parseEther(std::span<const std::uint8_t> frame)
{
    const wire::ConstBytes wire(frame);
    if (!wire.holds(0, etherHeaderSize))
        return std::nullopt;

    EtherHeader header;
    header.destination = macAt(wire, 0);
    header.source = macAt(wire, 6);
    std::size_t at = macPairSize;
    std::optional<std::uint16_t> type = wire.be16(at);
    while (type && isTpid(*type) && header.tagCount < EtherHeader::maxTags) {
        const auto tci = wire.be16(at + 2);
        if (!tci)
            return std::nullopt;
        header.tags[header.tagCount++] = {*type, *tci};
        at += tagSize;
        type = wire.be16(at);
    }
    if (!type)
        return std::nullopt;
    header.type = *type;
    header.payload = at + 2;
    return header;
}

void composeFrame(std::span<const std::uint8_t> frame, std::size_t rest, const std::optional<Tag>& tag,
                  std::vector<std::uint8_t>& out)
{
    const wire::ConstBytes wire(frame);
    const auto macs = wire.part(0, macPairSize);
    const auto tail = wire.part(rest, frame.size());
    out.assign(macs.begin(), macs.end());
    if (tag) {
        std::array<std::uint8_t, tagSize> bytes{};
        const wire::Bytes writer(bytes.data(), bytes.size());
        writer.putBe16(0, tag->tpid);
        writer.putBe16(2, tag->tci);
        out.insert(out.end(), bytes.begin(), bytes.end());
    }
    out.insert(out.end(), tail.begin(), tail.end());
}

} // namespace vnode
