// The DHCPv4 engine's real thread on a real pseudo device, against bare programs on the same device in the
// same run: CPU time of the thread for a frame, and frames a second. Needs root: it works in a network
// namespace of its own.
//
//     relay_macro [ROUNDS [simplified | full]]
//
// Frames come in bursts that wait complete in the socket before the thread under test may look at them, so
// that it never sleeps inside a burst and wake-ups cost nobody anything. What it sends waits in the device
// until the burst is over. Subjects take turns, and each has a first pass over all clients that is not
// measured.

#include "RelayFrames.h"
#include "relay/io/PacketSocket.h"
#include "relay/v4/dhcpraImpl.h"
#include "rte/BLL/core/GlobalLock.h"
#include "vnode/process/TapDevice.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <optional>
#include <poll.h>
#include <sched.h>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using relayFrames::Exchanges;
using Steady = std::chrono::steady_clock;

constexpr std::size_t exchangesInBurst = 8000;
constexpr std::size_t framesInBurst = 2 * exchangesInBurst;
constexpr std::uint32_t serverIp = test::ip(10, 0, 0, 9);

[[noreturn]] void fail(const std::string& what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

double secondsOf(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// --- Devices

/// The pseudo device as the virtual node makes it, and the way to a server who never answers.
class Devices
{
public:
    Devices()
    {
        for (vnode::TapDevice* device : {&pseudo, &management}) {
            std::string reason;
            if (!device->open(reason))
                fail(reason);
        }
        // The server's MAC is known, so that nothing waits for ARP.
        if (std::system("ip address add 10.0.0.1/24 dev mgmt0 && "
                        "ip neighbour add 10.0.0.9 lladdr 02:00:00:00:00:09 dev mgmt0") != 0)
            fail("address of mgmt0");
    }

    void deliver(const test::Bytes& frame)
    {
        if (pseudo.send(frame) != vnode::IoResult::done)
            fail("frame not delivered");
    }

    /// Takes away what has been sent so far; how many frames that was.
    [[nodiscard]] std::size_t takeSent()
    {
        std::size_t frames = 0;
        std::array<std::uint8_t, 4096> buffer;
        for (const int fd : {pseudo.descriptor(), management.descriptor()}) {
            while (::read(fd, buffer.data(), buffer.size()) > 0)
                ++frames;
        }
        return frames;
    }

private:
    vnode::TapDevice pseudo{dhcpraImpl::interface_name,
                            {.mtu = 2034, .quiet = true, .bringUp = true, .mac = {}}};
    vnode::TapDevice management{"mgmt0", {.mtu = 1500, .quiet = true, .bringUp = true, .mac = {}}};
};

// --- Who is measured

/// A thread that takes frames from the pseudo device. While it is held it takes none, one at most.
class Subject
{
public:
    virtual ~Subject() = default;
    virtual void hold() = 0;
    virtual void release() = 0;
    /// Of the thread; known once it has handled a frame.
    [[nodiscard]] virtual clockid_t clock() const = 0;
};

class Daemon final : public Subject
{
public:
    explicit Daemon(bool full)
    {
        if (!relayFrames::configure(engine, full))
            throw std::runtime_error("the engine takes no settings");
        engine.setDefaultServer(serverIp);
        engine.setFrameSentHook([this](const dhcpraMessage&, dhcpraTypes::counterId*) {
            if (!clockKnown.exchange(true, std::memory_order_relaxed)) {
                clockid_t own{};
                pthread_getcpuclockid(pthread_self(), &own);
                threadClock = own;
            }
            return 0;
        });
        if (!engine.start())
            throw std::runtime_error("the engine does not start");
    }
    ~Daemon() override { engine.stop(); }

    // As a configuration call that takes its time.
    void hold() override { configuring.emplace(); }
    void release() override { configuring.reset(); }
    [[nodiscard]] clockid_t clock() const override { return threadClock; }

private:
    dhcpraImpl engine;
    std::optional<exclusiveLock_t> configuring;
    std::atomic<bool> clockKnown{false};
    std::atomic<clockid_t> threadClock{};
};

class Silent final : public DebugSink
{
public:
    [[nodiscard]] bool wantsDebugText() const override { return false; }
    void log(const char*, ...) const override {}
};

/// Reads frames and makes the system calls that it is told to make for each; nothing else.
class BareProgram final : public Subject
{
public:
    using Treat = std::function<void(int socket, std::span<const std::uint8_t> frame)>;

    explicit BareProgram(Treat whatToDo) : treat(std::move(whatToDo))
    {
        int mtu = 0;
        fd = openPacketSocket(dhcpraImpl::interface_name, mtu, silent);
        if (fd == -1)
            fail("packet socket");
        thread = std::thread([this] { run(); });
        pthread_getcpuclockid(thread.native_handle(), &threadClock);
    }
    ~BareProgram() override
    {
        ending = true;
        thread.join();
        ::close(fd);
    }
    void hold() override { gate.lock(); }
    void release() override { gate.unlock(); }
    [[nodiscard]] clockid_t clock() const override { return threadClock; }

private:
    void run()
    {
        std::array<std::uint8_t, 2048> buffer;
        while (!ending) {
            const ssize_t got = ::recv(fd, buffer.data(), buffer.size(), MSG_DONTWAIT);
            if (got > 0)
                treat(fd, std::span(buffer).first(static_cast<std::size_t>(got)));
            else
                waitForBurst();
        }
    }
    void waitForBurst()
    {
        pollfd wanted{fd, POLLIN, 0};
        constexpr int lookAtEndMs = 20;
        ::poll(&wanted, 1, lookAtEndMs);
        const std::lock_guard passed(gate);
    }

    Silent silent;
    Treat treat;
    int fd = -1;
    std::mutex gate;
    std::atomic<bool> ending{false};
    clockid_t threadClock{};
    std::thread thread;
};

void writeBack(int socket, std::span<const std::uint8_t> frame)
{
    if (::send(socket, frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL) < 0)
        fail("send");
}

/// The system calls of the Full path: a UDP socket for each request, a write for each reply.
class FullPathCalls
{
public:
    void operator()(int socket, std::span<const std::uint8_t> frame)
    {
        constexpr std::uint8_t request = 1;
        if (frame[relayFrames::dhcpOffset] != request)
            return writeBack(socket, frame);
        if (!sender->open() || !sender->allowRouting())
            fail("UDP socket");
        sender->send(serverIp, frame.subspan(relayFrames::dhcpOffset));
        sender->close();
    }

private:
    std::shared_ptr<UdpServerSender> sender = std::make_shared<UdpServerSender>();
};

std::unique_ptr<Subject> bareOf(bool full)
{
    return std::make_unique<BareProgram>(full ? BareProgram::Treat(FullPathCalls())
                                              : BareProgram::Treat(writeBack));
}

std::unique_ptr<Subject> daemonOf(bool full) { return std::make_unique<Daemon>(full); }

// --- Measuring

struct Cost
{
    double cpu = 0;  // microseconds for a frame
    double wall = 0; // the same

    [[nodiscard]] double framesPerSecond() const { return 1e6 / wall; }
};

class Bench
{
public:
    explicit Bench(Devices& ownDevices) : devices(ownDevices) {}

    /// One burst of @p exchanges, beginning where the last one ended.
    Cost burst(Subject& subject, const Exchanges& exchanges)
    {
        subject.hold();
        static_cast<void>(devices.takeSent());
        for (std::size_t i = 0; i < exchangesInBurst; ++i, ++next) {
            devices.deliver(exchanges.discover(next));
            devices.deliver(exchanges.offer(next));
        }
        const double cpuBefore = secondsOf(subject.clock());
        const auto start = Steady::now();
        subject.release();
        const auto end = waitForBurst();
        const double cpuAfter = secondsOf(subject.clock());
        const double wall = std::chrono::duration<double>(end - start).count();
        return {1e6 * (cpuAfter - cpuBefore) / framesInBurst, 1e6 * wall / framesInBurst};
    }

private:
    Steady::time_point waitForBurst()
    {
        const auto deadline = Steady::now() + std::chrono::seconds(10);
        for (std::size_t sent = devices.takeSent(); sent < framesInBurst; sent += devices.takeSent()) {
            if (Steady::now() > deadline)
                throw std::runtime_error("frames lost: " + std::to_string(framesInBurst - sent));
            std::this_thread::sleep_for(std::chrono::microseconds(300));
        }
        return Steady::now();
    }

    Devices& devices;
    std::size_t next = 0;
};

constexpr int burstsInRound = 3;

double medianOf(std::vector<double> figures)
{
    std::ranges::sort(figures);
    return figures[figures.size() / 2];
}

struct Series
{
    std::vector<Cost> costs;

    [[nodiscard]] double median(double (*figure)(const Cost&)) const
    {
        std::vector<double> figures;
        for (const Cost& cost : costs)
            figures.push_back(figure(cost));
        return medianOf(std::move(figures));
    }
    [[nodiscard]] double cpu() const
    {
        return median([](const Cost& cost) { return cost.cpu; });
    }
    [[nodiscard]] double framesPerSecond() const
    {
        return median([](const Cost& cost) { return cost.framesPerSecond(); });
    }
    [[nodiscard]] double least() const { return std::ranges::min(costs, {}, &Cost::cpu).cpu; }
    [[nodiscard]] double most() const { return std::ranges::max(costs, {}, &Cost::cpu).cpu; }
};

void print(const char* who, const Series& series)
{
    std::printf("  %-12s %6.2f us CPU a frame (%.2f to %.2f), %7.0f frames/s\n", who, series.cpu(),
                series.least(), series.most(), series.framesPerSecond());
}

/// The machine's own pace changes from second to second: bursts are compared with those of the same
/// round.
double ratioOf(const Series& daemon, const Series& bare)
{
    std::vector<double> ratios;
    for (std::size_t i = 0; i < daemon.costs.size(); ++i)
        ratios.push_back(daemon.costs[i].cpu / bare.costs[i].cpu);
    return medianOf(std::move(ratios));
}

void compare(Devices& devices, bool full, std::uint32_t lines, std::uint32_t clients, int rounds)
{
    const auto node = relayFrames::nodeWith(lines);
    const Exchanges exchanges(full, lines, clients);
    Bench bench(devices);
    Series bare;
    Series daemon;
    const auto measure = [&](const std::unique_ptr<Subject>& subject, Series& series) {
        for (std::size_t known = 0; known < clients; known += exchangesInBurst)
            static_cast<void>(bench.burst(*subject, exchanges));
        for (int burst = 0; burst < burstsInRound; ++burst)
            series.costs.push_back(bench.burst(*subject, exchanges));
    };
    for (int round = 0; round < rounds; ++round) {
        measure(bareOf(full), bare);
        measure(daemonOf(full), daemon);
    }
    std::printf("%s mode, %u interfaces, %u clients\n", full ? "Full" : "Simplified", lines, clients);
    print("bare", bare);
    print("daemon", daemon);
    std::printf("  ratio %.2f, of the bursts that were disturbed least %.2f\n", ratioOf(daemon, bare),
                daemon.least() / bare.least());
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
try {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 9;
    if (::unshare(CLONE_NEWNET) != 0)
        fail("a network namespace");
    Devices devices;
    const std::string only = argc > 2 ? argv[2] : "";
    for (const bool full : {false, true}) {
        if (only == (full ? "simplified" : "full"))
            continue;
        compare(devices, full, 16, 16, rounds);
        compare(devices, full, 4096, 16000, rounds);
    }
    std::array<double, 3> load{};
    if (::getloadavg(load.data(), load.size()) > 0)
        std::printf("load average %.1f %.1f %.1f\n", load[0], load[1], load[2]);
    return EXIT_SUCCESS;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return EXIT_FAILURE;
}
