#include "relay/frame/EthernetHeader.h"

namespace frame {

PayloadType crossTags(ConstWireBytes ethernet, std::uint16_t serviceTag)
{
    std::size_t position = outerType;
    const auto typeAt = [&](std::size_t offset) { return ethernet.be16(offset).value_or(0); };

    if (typeAt(position) == serviceTag)
        position += tagSize;
    if (typeAt(position) == typeCustomerTag)
        position += tagSize * (typeAt(position + tagSize) == typeCustomerTag ? 2 : 1);
    return {typeAt(position), position + sizeof(std::uint16_t)};
}

} // namespace frame
