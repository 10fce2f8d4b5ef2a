#include "Frames.h"

#include <algorithm>

namespace storm {
namespace {

constexpr std::size_t ethernetSize = 14;
constexpr std::size_t ipSize = 20;
constexpr std::size_t udpSize = 8;
constexpr std::size_t fixedPart = 240; // up to and with the magic cookie
constexpr std::array<std::uint8_t, 4> cookie{0x63, 0x82, 0x53, 0x63};

class Writer
{
public:
    explicit Writer(std::size_t expected) { bytes.reserve(expected); }

    void u8(std::uint8_t value) { bytes.push_back(value); }
    void u16(std::uint16_t value)
    {
        u8(static_cast<std::uint8_t>(value >> 8));
        u8(static_cast<std::uint8_t>(value));
    }
    void u32(std::uint32_t value)
    {
        u16(static_cast<std::uint16_t>(value >> 16));
        u16(static_cast<std::uint16_t>(value));
    }
    template <typename Range>
    void all(const Range& range)
    {
        bytes.insert(bytes.end(), range.begin(), range.end());
    }
    void zeroes(std::size_t count) { bytes.resize(bytes.size() + count); }
    void option(std::uint8_t code, std::uint32_t value)
    {
        u8(code);
        u8(4);
        u32(value);
    }

    Bytes bytes;
};

std::uint16_t word(std::span<const std::uint8_t> bytes, std::size_t at)
{
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

std::uint32_t longWord(std::span<const std::uint8_t> bytes, std::size_t at)
{
    return std::uint32_t{word(bytes, at)} << 16 | word(bytes, at + 2);
}

std::uint32_t sum(std::span<const std::uint8_t> bytes, std::uint32_t total = 0)
{
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2)
        total += word(bytes, at);
    if (bytes.size() % 2)
        total += std::uint32_t{bytes.back()} << 8;
    return total;
}

/// RFC 1071
std::uint16_t finish(std::uint32_t total)
{
    while (total >> 16)
        total = (total & 0xFFFF) + (total >> 16);
    return static_cast<std::uint16_t>(~total);
}

void writeMessage(Writer& out, const Message& message)
{
    out.u8(message.reply ? 2 : 1);
    out.all(std::array<std::uint8_t, 3>{1, 6, 0});
    out.u32(message.xid);
    out.u16(message.secs);
    out.u16(message.flags);
    out.u32(message.ciaddr);
    out.u32(message.yiaddr);
    out.u32(0);
    out.u32(message.giaddr);
    out.all(message.chaddr);
    out.zeroes(10 + 192);
    out.all(cookie);
    out.all(std::array<std::uint8_t, 3>{53, 1, static_cast<std::uint8_t>(message.kind)});
    if (message.server)
        out.option(54, message.server);
    if (message.requested)
        out.option(50, message.requested);
    if (message.reply && message.kind != Kind::nak)
        out.option(51, 3600);
    if (!message.relayInformation.empty()) {
        out.u8(82);
        out.u8(static_cast<std::uint8_t>(message.relayInformation.size()));
        out.all(message.relayInformation);
    }
    out.u8(255);
}

void readOptions(std::span<const std::uint8_t> area, Message& message)
{
    for (std::size_t at = 0; at < area.size() && area[at] != 255;) {
        if (area[at] == 0) {
            ++at;
            continue;
        }
        if (at + 2 > area.size() || at + 2 + area[at + 1] > area.size())
            return;
        const auto value = area.subspan(at + 2, area[at + 1]);
        if (area[at] == 53 && value.size() == 1)
            message.kind = Kind{value[0]};
        if (area[at] == 54 && value.size() == 4)
            message.server = longWord(value, 0);
        if (area[at] == 50 && value.size() == 4)
            message.requested = longWord(value, 0);
        if (area[at] == 82)
            message.relayInformation.assign(value.begin(), value.end());
        at += 2 + value.size();
    }
}

} // namespace

Bytes encode(const Frame& frame)
{
    Writer out(400 + frame.message.relayInformation.size());
    out.all(frame.headers.to);
    out.all(frame.headers.from);
    if (frame.headers.vlan) {
        out.u16(0x8100);
        out.u16(*frame.headers.vlan);
    }
    out.u16(0x0800);
    const std::size_t ip = out.bytes.size();
    out.zeroes(ipSize + udpSize);
    writeMessage(out, frame.message);

    Bytes& bytes = out.bytes;
    const auto put = [&bytes](std::size_t at, std::uint16_t value) {
        bytes[at] = static_cast<std::uint8_t>(value >> 8);
        bytes[at + 1] = static_cast<std::uint8_t>(value);
    };
    const std::size_t udp = ip + ipSize;
    const auto udpLength = static_cast<std::uint16_t>(bytes.size() - udp);
    put(ip, 0x4500);
    put(ip + 2, static_cast<std::uint16_t>(udpLength + ipSize));
    put(ip + 8, 64 << 8 | 17);
    put(ip + 12, static_cast<std::uint16_t>(frame.headers.fromIp >> 16));
    put(ip + 14, static_cast<std::uint16_t>(frame.headers.fromIp));
    put(ip + 16, static_cast<std::uint16_t>(frame.headers.toIp >> 16));
    put(ip + 18, static_cast<std::uint16_t>(frame.headers.toIp));
    put(udp, frame.headers.fromPort);
    put(udp + 2, frame.headers.toPort);
    put(udp + 4, udpLength);
    const std::span<const std::uint8_t> view(bytes);
    const auto udpSum = [&] {
        return finish(sum(view.subspan(udp), sum(view.subspan(ip + 12, 8), 17u + udpLength)));
    };
    // A sum of zero is written as all ones (RFC 768), and the relay does not take those for right. It is one
    // frame in 65,536; a test that counts every loss gets out of its way.
    constexpr std::size_t secsOffset = 8;
    if (udpSum() == 0)
        put(udp + udpSize + secsOffset, static_cast<std::uint16_t>(frame.message.secs + 1));
    put(udp + 6, udpSum());
    put(ip + 10, finish(sum(view.subspan(ip, ipSize))));
    return std::move(out.bytes);
}

std::optional<Frame> decode(std::span<const std::uint8_t> bytes)
{
    Frame frame;
    std::size_t type = 12;
    if (bytes.size() < ethernetSize)
        return std::nullopt;
    std::copy_n(bytes.begin(), 6, frame.headers.to.begin());
    std::copy_n(bytes.begin() + 6, 6, frame.headers.from.begin());
    if (word(bytes, type) == 0x8100 && bytes.size() >= ethernetSize + 4) {
        frame.headers.vlan = word(bytes, type + 2) & 0xFFF;
        type += 4;
    }
    const std::size_t ip = type + 2;
    if (word(bytes, type) != 0x0800 || bytes.size() < ip + ipSize + udpSize + fixedPart ||
        bytes[ip + 9] != 17)
        return std::nullopt;
    const std::size_t udp = ip + (bytes[ip] & 15) * 4u;
    const std::size_t dhcp = udp + udpSize;
    if (bytes.size() < dhcp + fixedPart ||
        !std::equal(cookie.begin(), cookie.end(), bytes.begin() + dhcp + 236))
        return std::nullopt;
    frame.headers.fromIp = longWord(bytes, ip + 12);
    frame.headers.toIp = longWord(bytes, ip + 16);
    frame.headers.fromPort = word(bytes, udp);
    frame.headers.toPort = word(bytes, udp + 2);
    Message& message = frame.message;
    message.reply = bytes[dhcp] == 2;
    message.xid = longWord(bytes, dhcp + 4);
    message.secs = word(bytes, dhcp + 8);
    message.flags = word(bytes, dhcp + 10);
    message.ciaddr = longWord(bytes, dhcp + 12);
    message.yiaddr = longWord(bytes, dhcp + 16);
    message.giaddr = longWord(bytes, dhcp + 24);
    std::copy_n(bytes.begin() + dhcp + 28, 6, message.chaddr.begin());
    readOptions(bytes.subspan(dhcp + fixedPart), message);
    return frame;
}

} // namespace storm
