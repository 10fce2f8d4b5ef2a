#include "Population.h"

#include <algorithm>

namespace storm {
namespace {

constexpr int receiveBuffer = 8 << 20;

Mac macOf(std::size_t index)
{
    return {0x02,
            0x00,
            0x64,
            static_cast<std::uint8_t>(index >> 16),
            static_cast<std::uint8_t>(index >> 8),
            static_cast<std::uint8_t>(index)};
}

std::size_t indexOf(const Mac& mac)
{
    return static_cast<std::size_t>(mac[3]) << 16 | static_cast<std::size_t>(mac[4]) << 8 | mac[5];
}

} // namespace

Population::Population(const Plan& chosen)
    : plan(chosen), subscribers(chosen.subscribers), random(chosen.seed)
{
    ports.reserve(plan.devices.size());
    for (const std::string& device : plan.devices)
        ports.emplace_back(device, receiveBuffer);
    for (std::size_t index = 0; index < subscribers.size(); ++index) {
        subscribers[index].port = static_cast<std::uint16_t>(index % ports.size());
        subscribers[index].vlan =
            static_cast<std::uint16_t>(plan.firstVlan + index / ports.size() % plan.vlansPerDevice);
    }
    finished.reserve(subscribers.size());
}

bool Population::begin(std::size_t index, Time when)
{
    Subscriber& subscriber = subscribers[index];
    if (subscriber.state != State::idle)
        return false;
    subscriber.state = State::waitingToBoot;
    subscriber.attempts = 0;
    subscriber.xid = static_cast<std::uint32_t>(random() | 1);
    wait(index, when);
    return true;
}

void Population::wait(std::size_t index, Time until)
{
    timers.push({until, static_cast<std::uint32_t>(index), ++subscribers[index].turn});
}

Time Population::runTimers(Time now)
{
    while (!timers.empty() && timers.top().when <= now) {
        const Timer due = timers.top();
        timers.pop();
        Subscriber& subscriber = subscribers[due.subscriber];
        if (subscriber.turn != due.turn)
            continue;
        if (subscriber.state == State::waitingToBoot) {
            subscriber.state = State::selecting;
            subscriber.began = now;
            ++total.begun;
            if (plan.mishaps > 0 && std::uniform_real_distribution<>()(random) < plan.mishaps)
                sendMishap(due.subscriber);
        } else if (!plan.retransmits) {
            giveUp(subscriber);
            continue;
        } else {
            ++total.retransmitted;
            // A REQUEST without an answer starts over after some tries, as clients do.
            if (subscriber.state == State::requesting && subscriber.attempts >= 3) {
                subscriber.state = State::selecting;
                subscriber.attempts = 0;
            }
        }
        sendCurrent(due.subscriber, now);
    }
    return timers.empty() ? now + std::chrono::seconds(1) : timers.top().when;
}

void Population::giveUp(Subscriber& subscriber)
{
    subscriber.state = State::idle;
    ++total.lost;
}

Seconds Population::patience(const Subscriber& subscriber)
{
    if (!plan.retransmits)
        return plan.patience;
    const double base =
        std::min(64.0, 4.0 * static_cast<double>(1u << std::min<unsigned>(subscriber.attempts, 4)));
    return Seconds(base + std::uniform_real_distribution<>(-1, 1)(random));
}

Frame Population::request(std::size_t index, Kind kind) const
{
    const Subscriber& subscriber = subscribers[index];
    Frame frame;
    const Mac mac = macOf(index);
    frame.headers = {mac, wire::broadcastMac, std::nullopt, 0, 0xFFFFFFFF, 68, 67};
    if (plan.firstVlan)
        frame.headers.vlan = subscriber.vlan;
    frame.message.kind = kind;
    frame.message.xid = subscriber.xid;
    frame.message.chaddr = mac;
    if (kind == Kind::request) {
        frame.message.server = subscriber.server;
        frame.message.requested = subscriber.offered;
    }
    return frame;
}

void Population::sendCurrent(std::size_t index, Time now)
{
    Subscriber& subscriber = subscribers[index];
    put(subscriber.port,
        encode(request(index, subscriber.state == State::selecting ? Kind::discover : Kind::request)));
    wait(index, now + std::chrono::duration_cast<Time::duration>(patience(subscriber)));
    ++subscriber.attempts;
}

void Population::put(std::size_t port, const Bytes& frame)
{
    if (ports[port].send(frame))
        ++total.sent;
    else
        ++total.notSent;
}

/// A bad frame, which the board must drop or at least survive.
void Population::sendMishap(std::size_t index)
{
    Frame frame = request(index, Kind::discover);
    frame.message.xid = 0xBAD00000u | (frame.message.xid & 0xFFFF);
    const auto choice = std::uniform_int_distribution<>(0, 4)(random);
    if (choice == 0)
        frame.message.relayInformation = {1, 3, 'b', 'a', 'd'}; // a subscriber's own option 82
    if (choice == 1)
        frame.message.giaddr = 0x0A010203;
    Bytes bytes = encode(frame);
    const std::size_t udp = 14 + (plan.firstVlan ? 4 : 0) + 20;
    if (choice == 2) { // a wrong checksum, but not "none"
        bytes[udp + 6] ^= 0x55;
        if (bytes[udp + 6] == 0)
            bytes[udp + 7] = 1;
    }
    if (choice == 3)
        bytes.resize(bytes.size() - std::uniform_int_distribution<std::size_t>(1, 200)(random));
    if (choice == 4)
        bytes[udp + 8 + 241] = 250; // the length of option 53 points behind the end
    put(subscribers[index].port, bytes);
    ++total.mishaps;
}

void Population::readPort(std::size_t port, Time now)
{
    while (const auto bytes = ports[port].receive()) {
        ++total.received;
        if (const auto frame = decode(*bytes))
            onReply(port, *frame, now);
    }
}

void Population::onReply(std::size_t port, const Frame& frame, Time now)
{
    const Message& message = frame.message;
    if (!message.reply)
        return; // another subscriber's request, flooded
    const std::size_t index = indexOf(message.chaddr);
    if (index >= subscribers.size() || subscribers[index].port != port || !message.relayInformation.empty()) {
        ++total.foreign;
        return;
    }
    Subscriber& subscriber = subscribers[index];
    if (subscriber.xid != message.xid)
        return;
    if (subscriber.state == State::selecting && message.kind == Kind::offer) {
        subscriber.state = State::requesting;
        subscriber.attempts = 0;
        subscriber.server = message.server;
        subscriber.offered = message.yiaddr;
        sendCurrent(index, now);
    } else if (subscriber.state == State::requesting && message.kind == Kind::ack) {
        subscriber.state = State::idle;
        ++subscriber.turn;
        ++total.bound;
        lastAck = now;
        finished.push_back(static_cast<float>(Seconds(now - subscriber.began).count()));
    } else {
        ++total.duplicates;
    }
}

const Tally& Population::tally()
{
    for (RawPort& port : ports)
        total.socketDrops += port.takeDrops();
    return total;
}

} // namespace storm
