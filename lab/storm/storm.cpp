// Plays the subscribers of an access node. "boot" lets all of them start within a moment and counts until the
// last one has his address; "steady" begins exchanges at a rate, with mishaps in between, and counts what is
// lost.

#include "Population.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <sys/epoll.h>
#include <unistd.h>

namespace {

using namespace storm;
using Clock = std::chrono::steady_clock;

class Poller
{
public:
    explicit Poller(Population& population) : fd(::epoll_create1(EPOLL_CLOEXEC))
    {
        for (std::size_t port = 0; port < population.portCount(); ++port) {
            epoll_event event{};
            event.events = EPOLLIN;
            event.data.u64 = port;
            ::epoll_ctl(fd, EPOLL_CTL_ADD, population.descriptor(port), &event);
        }
    }
    ~Poller() { ::close(fd); }
    Poller(const Poller&) = delete;
    Poller& operator=(const Poller&) = delete;

    /// Reads what is ready, waiting until the given time at most.
    void readReady(Population& population, Time until) const
    {
        std::array<epoll_event, 64> events{};
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
        const int count = ::epoll_wait(fd, events.data(), static_cast<int>(events.size()),
                                       static_cast<int>(std::clamp<long>(left, 0, 1000)));
        for (int at = 0; at < count; ++at)
            population.readPort(events[static_cast<std::size_t>(at)].data.u64, Clock::now());
    }

private:
    int fd;
};

double percentile(std::vector<float> values, double share)
{
    if (values.empty())
        return 0;
    const auto at = values.begin() + static_cast<long>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

void report(Population& population, Time began, double seconds)
{
    const Tally& tally = population.tally();
    const double last = tally.bound ? Seconds(population.lastBound() - began).count() : 0;
    std::printf(
        "{\"begun\": %llu, \"bound\": %llu, \"unfinished\": %llu, \"seconds\": %.3f, \"last_ack_s\": %.3f, "
        "\"exchange_p50_ms\": %.2f, \"exchange_p99_ms\": %.2f, \"sent\": %llu, \"received\": %llu, "
        "\"retransmitted\": %llu, \"mishaps\": %llu, \"not_sent\": %llu, \"foreign\": %llu, "
        "\"duplicates\": %llu, \"socket_drops\": %llu}\n",
        static_cast<unsigned long long>(tally.begun), static_cast<unsigned long long>(tally.bound),
        static_cast<unsigned long long>(tally.begun - tally.bound), seconds, last,
        1000 * percentile(population.durations(), 0.5), 1000 * percentile(population.durations(), 0.99),
        static_cast<unsigned long long>(tally.sent), static_cast<unsigned long long>(tally.received),
        static_cast<unsigned long long>(tally.retransmitted), static_cast<unsigned long long>(tally.mishaps),
        static_cast<unsigned long long>(tally.notSent), static_cast<unsigned long long>(tally.foreign),
        static_cast<unsigned long long>(tally.duplicates),
        static_cast<unsigned long long>(tally.socketDrops));
}

void boot(Population& population, double window, double limit)
{
    const Poller poller(population);
    const Time began = Clock::now();
    std::mt19937 random(1);
    std::uniform_real_distribution<> moment(0, window);
    for (std::size_t index = 0; index < population.size(); ++index)
        population.begin(index, began + std::chrono::duration_cast<Time::duration>(Seconds(moment(random))));
    const Time end = began + std::chrono::duration_cast<Time::duration>(Seconds(limit));
    while (population.durations().size() < population.size() && Clock::now() < end)
        poller.readReady(population, std::min(end, population.runTimers(Clock::now())));
    report(population, began, Seconds(Clock::now() - began).count());
}

void steady(Population& population, double rate, std::uint64_t exchanges, double limit)
{
    const Poller poller(population);
    const Time began = Clock::now();
    const Time end = began + std::chrono::duration_cast<Time::duration>(Seconds(limit));
    const auto pause = std::chrono::duration_cast<Time::duration>(Seconds(1 / rate));
    Time next = began;
    std::size_t subscriber = 0;
    std::uint64_t started = 0;
    while (Clock::now() < end) {
        for (; started < exchanges && next <= Clock::now(); next += pause) {
            started += population.begin(subscriber, next);
            subscriber = (subscriber + 1) % population.size();
        }
        const Time due = population.runTimers(Clock::now());
        const Tally& tally = population.progress();
        if (started == exchanges && tally.bound + tally.lost == exchanges)
            break;
        poller.readReady(population, std::min({end, due, started < exchanges ? next : end}));
        if (population.durations().size() > 1'000'000)
            population.forgetDurations();
    }
    report(population, began, Seconds(Clock::now() - began).count());
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Subscribers for a load test; sends only to the devices named");
    Plan plan;
    double window = 1;
    double limit = 120;
    double rate = 1000;
    std::uint64_t exchanges = 10000;
    app.add_option("--device", plan.devices, "device of a PON port, once for each")->required();
    app.add_option("--subscribers", plan.subscribers, "how many")->capture_default_str();
    app.add_option("--first-vlan", plan.firstVlan,
                   "tag frames, the first service of a device with this VLAN");
    app.add_option("--vlans-per-device", plan.vlansPerDevice, "services of a device")->capture_default_str();
    app.add_option("--limit", limit, "seconds after which to end in any case")->capture_default_str();
    app.require_subcommand(1);
    CLI::App* booting = app.add_subcommand("boot", "all of them start within a moment");
    booting->add_option("--window", window, "seconds in which they start")->capture_default_str();
    CLI::App* running = app.add_subcommand("steady", "exchanges begin at a rate; none is tried twice");
    running->add_option("--rate", rate, "exchanges a second")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    running->add_option("--exchanges", exchanges, "how many in all")->capture_default_str();
    double patience = plan.patience.count();
    running->add_option("--patience", patience, "seconds after which one without an answer is lost")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    running->add_option("--mishaps", plan.mishaps, "bad frames for each exchange")->capture_default_str();
    CLI11_PARSE(app, argc, argv);

    plan.retransmits = booting->parsed();
    plan.patience = Seconds(patience);
    try {
        Population population(plan);
        if (booting->parsed())
            boot(population, window, limit);
        else
            steady(population, rate, exchanges, limit);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "storm: %s\n", error.what());
        return 1;
    }
    return 0;
}
