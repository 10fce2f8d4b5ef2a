#include "relay/frame/icmpV6Message.h"

#include "relay/frame/FrameText.h"

namespace {

constexpr FrameViewTexts viewTexts{"icmpV6Message", "icmpV6Message",
                                   "icmpV6Message::isValid(): frame_info is null.\n", LogImpl::critical};

/// 0x88A8 as a little-endian machine reads it from the wire.
constexpr std::uint16_t swappedServiceTag = 0xA888;

constexpr IpFamily ownFamily = frame::ipv6Family(swappedServiceTag, nullptr);

} // namespace

icmpV6Message::icmpV6Message() : Ipv6Frame(viewTexts, ownFamily, nullptr) {}

void icmpV6Message::dump16(std::string& out) const { frame::appendDumpRows(out, "  0x", received()); }
