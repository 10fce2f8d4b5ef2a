#include "wire/FrameRecord.h"

#include <cstring>

namespace wire {

std::uint16_t withVlanId(std::uint16_t networkOrderTag, std::uint16_t vlanId)
{
    const unsigned kept = ntohs(networkOrderTag) & ~unsigned{vlanIdMask};
    return htons(static_cast<std::uint16_t>(kept | (vlanId & vlanIdMask)));
}

std::optional<zobridge_frame_info> readRecord(ConstBytes recordAndFrame)
{
    if (!recordAndFrame.holds(0, recordSize))
        return std::nullopt;
    zobridge_frame_info record;
    std::memcpy(&record, recordAndFrame.data(), sizeof record);
    return record;
}

std::string_view recordName(const char (&name)[16]) { return {name, strnlen(name, sizeof name)}; }

void setRecordName(char (&name)[16], std::string_view text)
{
    std::memset(name, 0, sizeof name);
    text.copy(name, sizeof name - 1); // also of a text without an address
}

} // namespace wire
