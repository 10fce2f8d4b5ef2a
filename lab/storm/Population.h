#pragma once

#include "RawPort.h"

#include <chrono>
#include <cstdint>
#include <queue>
#include <random>
#include <string>
#include <vector>

namespace storm {

using Time = std::chrono::steady_clock::time_point;
using Seconds = std::chrono::duration<double>;

struct Plan
{
    std::vector<std::string> devices; ///< one a PON port
    unsigned subscribers = 16000;     ///< spread evenly over the devices
    std::uint16_t firstVlan = 0;      ///< tag of a device's first service; 0: frames go untagged
    unsigned vlansPerDevice = 1;
    bool retransmits = true; ///< RFC 2131, 4.1; off: an exchange without an answer is lost
    Seconds patience{5};     ///< after which an exchange without retransmission counts as lost
    double mishaps = 0;      ///< bad frames sent for each exchange begun
    std::uint64_t seed = 20020301;
};

struct Tally
{
    std::uint64_t begun = 0;
    std::uint64_t bound = 0;
    std::uint64_t lost = 0; ///< exchanges given up
    std::uint64_t sent = 0;
    std::uint64_t received = 0;
    std::uint64_t retransmitted = 0;
    std::uint64_t mishaps = 0;
    std::uint64_t notSent = 0; ///< frames that a device did not take
    std::uint64_t foreign =
        0; ///< replies that a port should not have got: another subscriber's, or with option 82
    std::uint64_t duplicates = 0;  ///< replies that came when none was awaited
    std::uint64_t socketDrops = 0; ///< frames that this program's own sockets had no room for
};

/// Subscribers with the behaviour of real ones: DISCOVER, REQUEST, and patience that doubles.
class Population
{
public:
    explicit Population(const Plan& plan);

    [[nodiscard]] std::size_t size() const { return subscribers.size(); }
    [[nodiscard]] std::size_t portCount() const { return ports.size(); }
    [[nodiscard]] int descriptor(std::size_t port) const { return ports[port].descriptor(); }

    /// Begins an exchange of one subscriber at the given time; false if he is busy with one.
    bool begin(std::size_t subscriber, Time when);
    void readPort(std::size_t port, Time now);
    /// Does all that has fallen due; answers when the next thing does.
    Time runTimers(Time now);

    [[nodiscard]] const Tally& progress() const { return total; }
    /// The same with what the sockets dropped.
    [[nodiscard]] const Tally& tally();
    /// Time each finished exchange took, in the order of finishing.
    [[nodiscard]] const std::vector<float>& durations() const { return finished; }
    [[nodiscard]] Time lastBound() const { return lastAck; }
    void forgetDurations() { finished.clear(); }

private:
    enum class State : std::uint8_t { idle, waitingToBoot, selecting, requesting };

    struct Subscriber
    {
        State state = State::idle;
        std::uint8_t attempts = 0;
        std::uint16_t port = 0;
        std::uint16_t vlan = 0;
        std::uint32_t turn = 0; ///< tells a due timer from one that was overtaken
        std::uint32_t xid = 0;
        std::uint32_t server = 0;
        std::uint32_t offered = 0;
        Time began{};
    };

    struct Timer
    {
        Time when;
        std::uint32_t subscriber;
        std::uint32_t turn;
        bool operator>(const Timer& other) const { return when > other.when; }
    };

    void sendCurrent(std::size_t index, Time now);
    void wait(std::size_t index, Time until);
    void giveUp(Subscriber& subscriber);
    void onReply(std::size_t port, const Frame& frame, Time now);
    void sendMishap(std::size_t index);
    void put(std::size_t port, const Bytes& frame);
    [[nodiscard]] Frame request(std::size_t index, Kind kind) const;
    [[nodiscard]] Seconds patience(const Subscriber& subscriber);

    Plan plan;
    std::vector<RawPort> ports;
    std::vector<Subscriber> subscribers;
    std::priority_queue<Timer, std::vector<Timer>, std::greater<>> timers;
    std::vector<float> finished;
    Time lastAck{};
    Tally total;
    std::mt19937_64 random;
};

} // namespace storm
