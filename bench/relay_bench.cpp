// Cost of one frame through the DHCPv4 engine without a socket: DISCOVER, and DISCOVER with its OFFER, in
// both modes, over interfaces and clients known. "allocations" is what one frame asks of the heap.

#include "RelayFrames.h"
#include "relay/dhcpraImpl.h"

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

/// A board whose relay knows so many lines, and frames of so many clients spread over them.
class Board
{
public:
    Board(bool full, std::uint32_t lines, std::uint32_t clients)
        : exchanges(full, lines, clients), node(relayFrames::nodeWith(lines))
    {
        if (!relayFrames::configure(engine, full))
            std::abort();
        for (const test::Bytes& discover : exchanges.discovers)
            feed(discover);
    }

    void feed(const test::Bytes& frame)
    {
        if (!engine.message().load(frame))
            std::abort();
        engine.handleFrame();
    }

    const relayFrames::Exchanges exchanges;

private:
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
        board.feed(board.exchanges.discovers[next]);
        next = next + 1 == board.exchanges.discovers.size() ? 0 : next + 1;
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
        board.feed(board.exchanges.discovers[next]);
        board.feed(board.exchanges.offers[next]);
        next = next + 1 == board.exchanges.discovers.size() ? 0 : next + 1;
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
