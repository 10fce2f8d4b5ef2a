#include "relay/frame/dhcpraV6Message.h"

#include "log/LogText.h"
#include "relay/frame/FrameText.h"
#include "wire/Dhcpv6.h"
#include "wire/Udp.h"

#include <algorithm>

using namespace frame;
using namespace wire;

namespace {

constexpr FrameViewTexts viewTexts{"dhcpraMessage", "dhcpraV6Message",
                                   "dhcpraV6Message::isValid(): frame_info is null.\n", LogImpl::debug};

constexpr IpFamily ownFamily = ipv6Family(typeServiceTag, "IP V6");

// A message of as many bytes says nothing that could be relayed.
constexpr std::size_t emptyMessageSize = 3;

} // namespace

dhcpraV6Message::dhcpraV6Message(const FrameOwner* owner)
    : Ipv6Frame(viewTexts, ownFamily, owner), backup(capacity)
{}

// IP and UDP

void dhcpraV6Message::setIpFieldDest(const std::uint8_t* address)
{
    ip(Access::set).put(ipv6Destination, {address, ipv6AddressSize});
}

bool dhcpraV6Message::getNdpCode() const { return getIpFieldNextHeader() == nextHeaderIcmpv6; }

dhcpraV6Message::udpPort dhcpraV6Message::getUdpFieldDestPort() const { return destinationPort<udpPort>(); }

void dhcpraV6Message::setUdpFieldDestPort(udpPort port)
{
    udp(Access::set).putBe16(udpDestinationPort, static_cast<std::uint16_t>(port));
}

bool dhcpraV6Message::isUdpCrcValid() const
{
    const std::uint16_t stored = getUdpFieldCrc();
    return stored == 0 || stored == getRecalcUdpCrc();
}

void dhcpraV6Message::updateCRC()
{
    const wire::Bytes header = udp(Access::set);
    if (header.size() == 0)
        return;
    const std::uint16_t sum = getRecalcUdpCrc();
    header.putBe16(udpChecksum, sum);
    if (const auto* const sink = debug())
        sink->log("\t updateCRC, sum=%x\n", sum);
}

// DHCPv6

bool dhcpraV6Message::isFrameValid() const
{
    if (message().size() > emptyMessageSize)
        return true;
    logText(LogImpl::debug, "dhcpraV6Message::isFrameValid(): from ", getFrameSrcInterfaceName(),
            ", frame without options\n");
    return false;
}

std::uint8_t dhcpraV6Message::getDhcpFieldOpcode() const { return dhcp().u8(dhcpv6Type).value_or(0); }

const std::uint8_t* dhcpraV6Message::getDhcpFieldPeerAddr() const
{
    const auto address = dhcp().part(dhcpv6PeerAddress, ipv6AddressSize);
    return address.size() == ipv6AddressSize ? address.data() : nullptr;
}

const std::uint8_t* dhcpraV6Message::getDhcpFieldOption(std::uint8_t code) const
{
    const wire::Bytes options = message();
    const OptionSearch search = searchOption(options, code);
    switch (search.result) {
    case OptionSearchEnd::found:
        return options.data() + search.offset;
    case OptionSearchEnd::absent:
        return nullptr;
    case OptionSearchEnd::tooMany:
        reportOptions("getDhcpFieldOption1: Frame causing an endless loop!", search.code, search.length,
                      search.offset, options.size());
        return nullptr;
    case OptionSearchEnd::malformed:
        if (malformedReportsLeft.load(std::memory_order_relaxed) <= 0)
            return nullptr;
        malformedReportsLeft.fetch_sub(1, std::memory_order_relaxed);
        reportOptions("getDhcpFieldOption: Frame causing an endless loop!", search.code, search.length,
                      search.offset, options.size());
        return nullptr;
    }
    return nullptr;
}

void dhcpraV6Message::reportOptions(const char* title, std::uint16_t code, std::uint16_t length,
                                    std::size_t offset, std::size_t size) const
{
    std::string text(title);
    appendFormat(text, "\noptId: %u, optSize: %u, currOffset: %zu, frameSize: %zu\n", code, length, offset,
                 size);
    dump16(text, "", static_cast<int>(receivedSize()));
    logLines(LogImpl::critical, text);
}

std::optional<std::span<const std::uint8_t>> dhcpraV6Message::dhcpOptionValue(std::uint8_t code) const
{
    const std::uint8_t* const option = getDhcpFieldOption(code);
    if (option == nullptr)
        return std::nullopt;
    const wire::Bytes options = message();
    return optionDataAt(options, static_cast<std::size_t>(option - options.data()));
}

bool dhcpraV6Message::isOpt01_ClientIdentifier() const
{
    return getDhcpFieldOption(optionClientId) != nullptr;
}

const std::uint8_t* dhcpraV6Message::getDhcpFieldLinkLayerAddr() const
{
    const auto* const sink = debug();
    const std::uint8_t* const found = getDhcpFieldOption(optionClientId);
    if (found == nullptr) {
        if (sink)
            sink->log("dhcpraV6Message::%s:%d: optPtr NULL pointer\n", __func__, __LINE__);
        return nullptr;
    }
    const wire::Bytes whole = message();
    const wire::ConstBytes option(whole.part(static_cast<std::size_t>(found - whole.data()), whole.size()));
    const std::uint16_t type = option.be16(duidType).value_or(0);
    if (sink)
        sink->log("getDhcpFieldLinkLayerAddr(), duid_type=%d, hw_type=%d\n", type,
                  option.be16(duidHardwareType).value_or(0));
    if (type != duidLinkLayerTime && type != duidLinkLayer)
        return nullptr;
    const auto mac =
        option.part(type == duidLinkLayerTime ? duidLinkLayerTimeAddress : duidLinkLayerAddress, macSize);
    return mac.size() == macSize ? mac.data() : nullptr;
}

// Backup

void dhcpraV6Message::backupOriginalFrame()
{
    const auto bytes = received();
    std::ranges::copy(bytes, backup.begin());
    backupSize = bytes.size();
}

void dhcpraV6Message::restoreOriginalFrame()
{
    static_cast<void>(load(std::span(backup).first(backupSize))); // came from a buffer of the same size
}

// Debug texts

void dhcpraV6Message::printDhcp(std::string& out, wire::ConstBytes header) const
{
    const auto u8 = [&](std::size_t offset) { return unsigned{header.u8(offset).value_or(0)}; };
    appendField(out, "   msg", "%u", u8(dhcpv6Type));
    appendField(out, "   xid", "0x%02x%02x%02x", u8(dhcpv6TransactionId), u8(dhcpv6TransactionId + 1),
                u8(dhcpv6TransactionId + 2));
}
