// Cost of one frame through the DHCPv4 engine without a socket: DISCOVER, and DISCOVER with its OFFER, in
// both modes, over interfaces and clients known. "allocations" is what one frame asks of the heap.

#include "relay/dhcpraImpl.h"
#include "support/DhcpFrame.h"
#include "support/NodeBuilder.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <memory>
#include <new>

namespace {

std::atomic<std::uint64_t> allocations{0};

} // namespace

// Not inlined: the compiler would take the pairs of new and free apart.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

constexpr std::uint32_t uplink = 1;
constexpr std::uint32_t firstLine = 2;
constexpr std::uint16_t vlan = 100;
constexpr std::uint32_t boardIp = test::ip(10, 0, 0, 1);
constexpr test::Mac boardMac{2, 0, 0x5E, 0, 0, 0xFE};

/// Takes everything and gives nothing.
class NullIo final : public FrameIo
{
public:
    int open() override { return 3; }
    void close() override {}
    [[nodiscard]] int descriptor() const override { return 3; }
    [[nodiscard]] int read(std::span<std::uint8_t>) override { return 0; }
    [[nodiscard]] long write(std::span<const std::uint8_t> frame) override
    {
        benchmark::DoNotOptimize(frame.data());
        return static_cast<long>(frame.size());
    }
    void rest(std::chrono::microseconds) override {}
    void wakeUp() override {}
};

class NullServerSender final : public ServerSender
{
public:
    [[nodiscard]] bool open() override { return true; }
    [[nodiscard]] bool allowRouting() override { return true; }
    void send(std::uint32_t, std::span<const std::uint8_t> payload) override
    {
        benchmark::DoNotOptimize(payload.data());
    }
    void close() override {}
};

test::Mac macOfClient(std::uint32_t client)
{
    return {2,
            1,
            0,
            static_cast<std::uint8_t>(client >> 16),
            static_cast<std::uint8_t>(client >> 8),
            static_cast<std::uint8_t>(client)};
}

std::string lineName(std::uint32_t line) { return "0/2/" + std::to_string(line); }

/// A board whose relay knows so many lines, and frames of so many clients spread over them.
class Board
{
public:
    Board(bool full, std::uint32_t lines, std::uint32_t clients)
    {
        test::NodeBuilder builder;
        builder.slot(3).mac(boardMac).vlan(vlan).eth(uplink, "0/1");
        for (std::uint32_t line = 0; line < lines; ++line)
            builder.subscriber(firstLine + line, lineName(line));
        node = builder.use();
        if (!engine.applyDefaultSettings())
            std::abort();
        engine.setDraEnabled(true);
        engine.setFullMode(full);
        engine.setShelfId("shelf");
        engine.rpcSetLocalIp(boardIp);
        engine.rpcSetLocalMac(boardMac.data());

        for (std::uint32_t client = 0; client < clients; ++client) {
            const std::uint32_t line = client % lines;
            discovers.push_back(discoverOf(client, firstLine + line));
            offers.push_back(offerOf(client, line, full));
            feed(discovers.back());
        }
    }

    void feed(const test::Bytes& frame)
    {
        if (!engine.message().load(frame))
            std::abort();
        engine.handleFrame();
    }

    std::vector<test::Bytes> discovers;
    std::vector<test::Bytes> offers;

private:
    static test::Bytes discoverOf(std::uint32_t client, std::uint32_t interface)
    {
        return test::discover()
            .on(static_cast<std::uint16_t>(interface), "line")
            .vlan(vlan)
            .from(macOfClient(client))
            .xid(client + 1)
            .dhcpSize(300)
            .build();
    }
    static test::Bytes offerOf(std::uint32_t client, std::uint32_t line, bool full)
    {
        auto offer = test::offer()
                         .on(uplink, "up")
                         .vlan(vlan)
                         .chaddr(macOfClient(client))
                         .xid(client + 1)
                         .yiaddr(test::ip(10, 1, 0, 50))
                         .option82("KORVANEL:shelf eth 3/" + lineName(line) + ":100");
        if (full)
            return offer.ports(67, 67).to(boardMac).destinationIp(boardIp).giaddr(boardIp).build();
        return offer.to(macOfClient(client)).destinationIp(test::ip(10, 1, 0, 50)).build();
    }

    std::unique_ptr<test::TestNode> node;
    dhcpraImpl engine{std::make_unique<NullIo>(), std::make_unique<NullServerSender>()};
};

void report(benchmark::State& state, std::uint64_t allocated, int framesPerTurn)
{
    const auto frames = static_cast<double>(state.iterations() * framesPerTurn);
    state.SetItemsProcessed(state.iterations() * framesPerTurn);
    state.counters["allocations"] = static_cast<double>(allocated) / frames;
}

// Arguments: Full mode or not, interfaces, clients known.
void discovers(benchmark::State& state)
{
    Board board(state.range(0) != 0, static_cast<std::uint32_t>(state.range(1)),
                static_cast<std::uint32_t>(state.range(2)));
    std::size_t next = 0;
    const std::uint64_t before = allocations;
    for (auto turn : state) {
        board.feed(board.discovers[next]);
        next = next + 1 == board.discovers.size() ? 0 : next + 1;
    }
    report(state, allocations - before, 1);
}

void exchanges(benchmark::State& state)
{
    Board board(state.range(0) != 0, static_cast<std::uint32_t>(state.range(1)),
                static_cast<std::uint32_t>(state.range(2)));
    std::size_t next = 0;
    const std::uint64_t before = allocations;
    for (auto turn : state) {
        board.feed(board.discovers[next]);
        board.feed(board.offers[next]);
        next = next + 1 == board.discovers.size() ? 0 : next + 1;
    }
    report(state, allocations - before, 2);
}

void sizes(benchmark::internal::Benchmark* bench)
{
    bench->ArgNames({"full", "interfaces", "clients"});
    for (const long full : {0L, 1L}) {
        for (const long interfaces : {16L, 4096L}) {
            for (const long clients : {100L, 1000L, 16000L})
                bench->Args({full, interfaces, clients});
        }
    }
}

} // namespace

BENCHMARK(discovers)->Apply(sizes);
BENCHMARK(exchanges)->Apply(sizes);
