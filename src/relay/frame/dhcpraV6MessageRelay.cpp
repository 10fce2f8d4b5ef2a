// dhcpraV6Message: wrapping into a relay-forward, and back out of a relay-reply (RFC 8415, section 19).
#include "relay/frame/IdForm.h"
#include "relay/frame/InterfaceIdText.h"
#include "relay/frame/dhcpraV6Message.h"
#include "wire/Dhcpv6.h"
#include "wire/Udp.h"

#include <algorithm>
#include <array>

using namespace frame;
using namespace wire;

namespace {

int asInt(std::size_t size) { return static_cast<int>(size); }

constexpr std::size_t idLimit = 253;

/// A relayed packet ends in front of this byte of its IPv6 header, whatever the device's MTU.
constexpr std::size_t packetLimit = 1500;
constexpr std::size_t messageStart = ipv6FixedSize + udpHeaderSize;

/// Where the relayed message stands in a relay-forward: behind the header and that of its option.
constexpr std::size_t innerMessage = dhcpv6RelayOptions + dhcpv6OptionHeader;

bool fits(std::size_t messageSize) { return messageStart + messageSize < packetLimit; }

std::size_t cutId(std::size_t size, const char* name, const DebugSink* sink)
{
    if (size <= idLimit)
        return size;
    if (sink)
        sink->log("%s too big (%d), truncate to %d\n", name, asInt(size), asInt(idLimit));
    return idLimit;
}

void putOptionHeader(wire::Bytes target, std::size_t offset, std::uint8_t code, std::size_t length)
{
    target.putBe16(offset, code);
    target.putBe16(offset + sizeof(std::uint16_t), static_cast<std::uint16_t>(length));
}

/// What was not found in an interface id: a mark, or what stands at it.
void tellMissing(const DebugSink* sink, InterfaceIdField result, const char* field, const std::string& id)
{
    if (sink == nullptr)
        return;
    const char* what = field;
    if (result == InterfaceIdField::noColon)
        what = "':'";
    if (result == InterfaceIdField::noSlash)
        what = "'/'";
    sink->log("\t %s not found! sub-option circuitId = [%s]\n", what, id.c_str());
}

} // namespace

// Wrapping

dhcpraV6Message::Wrapping dhcpraV6Message::wrapIntoRelayForward(const std::string& id,
                                                                const std::vector<std::uint8_t>& idBin)
{
    if (dhcp(Access::set, "createRelayFwdMessage").size() == 0)
        return Wrapping::incomplete;
    const auto bytes = chooseIdForm(id, idBin);
    const auto* const sink = debug();
    if (sink) {
        sink->log(idBin.empty() ? "Using CID ascii\n" : "Using CID bin\n");
        sink->log("Original circuitSize=%d \n", asInt(bytes.size()));
    }
    const std::size_t idSize = cutId(bytes.size(), "circuitSize", sink);

    const std::size_t inner = getDhcpHeaderSize(); // as claimed
    const std::size_t withoutId = innerMessage + inner;
    const bool tooLong = !fits(withoutId) || (idSize != 0 && !fits(withoutId + dhcpv6OptionHeader + idSize));
    const std::size_t received = message().size();
    if (tooLong || received < inner) {
        // What is left is not fit to be sent; its size shows where the work ended.
        frameInfo->full_size -= static_cast<std::uint32_t>(received);
        return tooLong ? Wrapping::tooLong : Wrapping::incomplete;
    }

    const wire::Bytes target = dhcpStorage();
    target.move(innerMessage, 0, inner);
    const std::array<std::uint8_t, dhcpv6PeerAddress> header{dhcpv6RelayForward}; // no hops, link address ::
    target.put(0, header);
    target.put(dhcpv6PeerAddress, ip().part(ipv6Source, ipv6AddressSize));
    putOptionHeader(target, dhcpv6RelayOptions, optionRelayMessage, inner);
    std::size_t size = withoutId;
    if (idSize != 0) {
        putOptionHeader(target, size, optionInterfaceId, idSize);
        target.put(size + dhcpv6OptionHeader, bytes.first(idSize));
        size += dhcpv6OptionHeader + idSize;
    }
    grown(size - inner);
    setLengths(size);
    clearBehind(size);
    return Wrapping::done;
}

bool dhcpraV6Message::addOpt37_RemoteId(const std::string& remoteId,
                                        const std::vector<std::uint8_t>& remoteIdBin,
                                        std::uint32_t enterpriseNumber)
{
    if (ip(Access::set).size() == 0 || udp(Access::set).size() == 0 || dhcp(Access::set).size() == 0)
        return false;
    const auto bytes = chooseIdForm(remoteId, remoteIdBin);
    // Only the low byte of the length counts, so that 256 characters make no option at all. Peers rely on it.
    const std::size_t counted = bytes.size() % 256;
    const auto* const sink = debug();
    if (sink) {
        sink->log(remoteIdBin.empty() ? "Using RID ascii\n" : "Using RID bin\n");
        sink->log("Original remoteSize=%d \n", asInt(counted));
    }
    const std::size_t idSize = cutId(counted, "remoteSize", sink);

    std::size_t size = message().size();
    if (idSize != 0) {
        // Less is tested than is written: the enterprise number is left out, and peers know frames of up to
        // 1503 bytes for it.
        if (!fits(size + dhcpv6OptionHeader + idSize))
            return false;
        clearBehind(size);
        const wire::Bytes target = dhcpStorage();
        putOptionHeader(target, size, optionRemoteId, enterpriseNumberSize + idSize);
        target.putBe32(size + dhcpv6OptionHeader, enterpriseNumber);
        target.put(size + dhcpv6OptionHeader + enterpriseNumberSize, bytes.first(idSize));
        size += dhcpv6OptionHeader + enterpriseNumberSize + idSize;
    }
    // By the whole message, not by the option: the frame leaves with a tail of zeroes as long as the message,
    // as far as the buffer goes. The lengths of IPv6 and UDP are right, so that receivers do not mind.
    grown(size);
    setLengths(size);
    return true;
}

void dhcpraV6Message::setLengths(std::size_t messageSize)
{
    const auto length = static_cast<std::uint16_t>(messageSize + udpHeaderSize);
    udp().putBe16(udpLength, length);
    ip().putBe16(ipv6PayloadLength, length);
}

void dhcpraV6Message::clearBehind(std::size_t messageSize)
{
    const wire::Bytes all = dhcp();
    std::ranges::fill(all.part(messageSize, all.size()), std::uint8_t{0});
}

// Unwrapping

bool dhcpraV6Message::createOriginalFromRelayRplyMessage()
{
    if (ip(Access::set).size() == 0 || udp(Access::set).size() == 0 || dhcp(Access::set).size() == 0)
        return false;
    const auto* const sink = debug();
    const wire::Bytes outer = message();
    const auto refuse = [&] {
        // The message stays as it came, its size is already taken off.
        frameInfo->full_size -= static_cast<std::uint32_t>(outer.size());
        return false;
    };
    const std::uint8_t* const option = getDhcpFieldOption(optionRelayMessage);
    if (option == nullptr) {
        if (sink)
            sink->log("\t createOriginalFromRelayRplyMessage(): option 09 not found\n");
        return refuse();
    }
    const auto header = static_cast<std::size_t>(option - outer.data());
    const std::size_t innerSize = outer.be16(header + sizeof(std::uint16_t)).value_or(0);
    if (sink)
        sink->log("createOriginalFromRelayRplyMessage, relay message option len=%d\n", asInt(innerSize));
    if (!outer.holds(header + dhcpv6OptionHeader, innerSize))
        return refuse();
    outer.move(0, header + dhcpv6OptionHeader, innerSize);
    setLengths(innerSize);
    clearBehind(innerSize);
    shrunk(outer.size() - innerSize);
    return true;
}

// Option 18

bool dhcpraV6Message::parseOpt18ForInterfaceId(std::string& interfaceId) const
{
    const auto value = dhcpOptionValue(optionInterfaceId);
    if (!value) {
        if (const auto* const sink = debug())
            sink->log("\t parseOpt18ForInterfaceId(): option 18 not found\n");
        return false;
    }
    interfaceId.assign(value->begin(), value->end());
    return true;
}

bool dhcpraV6Message::parseOpt18ForPort(std::string& port) const
{
    const auto* const sink = debug();
    if (sink)
        sink->log("parseOpt18ForPort()\n");
    std::string id;
    if (!parseOpt18ForInterfaceId(id)) {
        if (sink)
            sink->log("\t ':' option18, interfaceId not found\n");
        return false;
    }
    const InterfaceIdPort field = portOfInterfaceId(id);
    if (field.result == InterfaceIdField::found) {
        port = field.port;
        return true;
    }
    tellMissing(sink, field.result, "port", id);
    return false;
}

bool dhcpraV6Message::parseOpt18ForVlan(std::uint16_t& vlan) const
{
    const auto* const sink = debug();
    if (sink)
        sink->log("parseOpt18ForVlan()\n");
    std::string id;
    if (!parseOpt18ForInterfaceId(id))
        return false;
    if (sink)
        sink->log("\t opt18: interfaceId = [%s]\n", id.c_str());
    const InterfaceIdVlan field = vlanOfInterfaceId(id);
    if (field.result == InterfaceIdField::found) {
        vlan = field.vlan;
        return true;
    }
    tellMissing(sink, field.result, "vlan", id);
    return false;
}
