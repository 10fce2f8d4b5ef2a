// Cost of frames through the DHCPv4 engine without a socket, in both modes, over interfaces and clients
// known; and of parts of it. "allocations" is what one frame asks of the heap. Each turn takes two frames.

#include "NullIo.h"
#include "RelayFrames.h"
#include "relay/v4/dhcpraImpl.h"

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
    explicit Board(const benchmark::State& state)
        : exchanges(state.range(0) != 0, static_cast<std::uint32_t>(state.range(1)),
                    static_cast<std::uint32_t>(state.range(2))),
          node(relayFrames::nodeWith(static_cast<std::uint32_t>(state.range(1))))
    {
        if (!relayFrames::configure(engine, state.range(0) != 0))
            std::abort();
        for (std::size_t client = 0; client < exchanges.size(); ++client)
            feed(exchanges.discover(client));
    }

    void load(const test::Bytes& frame)
    {
        if (!engine.message().load(frame))
            std::abort();
    }
    void feed(const test::Bytes& frame)
    {
        load(frame);
        engine.handleFrame();
    }

    const relayFrames::Exchanges exchanges;

private:
    std::unique_ptr<test::TestNode> node;
    dhcpraImpl engine{std::make_unique<NullIo>(), std::make_unique<NullServerSender>()};
};

/// Two frames a turn; "allocations" for one of them.
template <class Turn>
void measure(benchmark::State& state, Turn&& turn)
{
    std::size_t next = 0;
    const std::uint64_t before = allocations;
    for (auto iteration : state)
        turn(next++);
    const auto frames = static_cast<double>(state.iterations() * 2);
    state.SetItemsProcessed(state.iterations() * 2);
    state.counters["allocations"] = static_cast<double>(allocations - before) / frames;
}

// --- Whole frames. Arguments: Full mode or not, interfaces, clients known.

/// The benchmark's own share of the three below: copying frames into the view.
void framesOnly(benchmark::State& state)
{
    Board board(state);
    measure(state, [&board](std::size_t turn) {
        board.load(board.exchanges.discover(turn));
        board.load(board.exchanges.offer(turn));
    });
}

void discovers(benchmark::State& state)
{
    Board board(state);
    measure(state, [&board](std::size_t turn) {
        board.feed(board.exchanges.discover(2 * turn));
        board.feed(board.exchanges.discover(2 * turn + 1));
    });
}

void offers(benchmark::State& state)
{
    Board board(state);
    measure(state, [&board](std::size_t turn) {
        board.feed(board.exchanges.offer(2 * turn));
        board.feed(board.exchanges.offer(2 * turn + 1));
    });
}

/// A frame that the kernel has just delivered is in the cache; one of 14 MB of frames is not. Without this
/// the copy into the view would wait for memory, and the wait would count as the relay's.
void bringIntoCache(const test::Bytes& frame)
{
    constexpr std::size_t cacheLine = 64;
    for (std::size_t at = 0; at < frame.size(); at += cacheLine)
        __builtin_prefetch(frame.data() + at);
}

void exchanges(benchmark::State& state)
{
    Board board(state);
    measure(state, [&board](std::size_t turn) {
        bringIntoCache(board.exchanges.discover(turn + 1));
        bringIntoCache(board.exchanges.offer(turn + 1));
        board.feed(board.exchanges.discover(turn));
        board.feed(board.exchanges.offer(turn));
    });
}

void sizes(benchmark::internal::Benchmark* bench)
{
    bench->ArgNames({"full", "interfaces", "clients"});
    for (const long full : {0L, 1L}) {
        for (const long interfaces : {16L, 256L, 4096L}) {
            for (const long clients : {16L, 100L, 1000L, 16000L})
                bench->Args({full, interfaces, clients});
        }
    }
}

// --- Parts

/// A look for option 82 in a message that has so many others.
void optionWalk(benchmark::State& state)
{
    auto frame = test::discover().vlan(relayFrames::vlan);
    for (std::int64_t option = 1; option < state.range(0); ++option)
        frame.option(12, "name");
    dhcpraMessage view;
    if (!view.load(frame.build()))
        std::abort();
    for (auto turn : state)
        benchmark::DoNotOptimize(view.isOpt82Present());
}

class Silent final : public DebugSink
{
public:
    [[nodiscard]] bool wantsDebugText() const override { return false; }
    void log(const char*, ...) const override {}
};

/// What a DISCOVER and its OFFER cost in the client tables alone. Arguments: interfaces, clients known.
void clientTables(benchmark::State& state)
{
    const auto lines = static_cast<std::uint32_t>(state.range(0));
    const auto clients = static_cast<std::uint32_t>(state.range(1));
    const auto node = relayFrames::nodeWith(lines);
    const Silent silent;
    ClientTable transactions(silent);
    ClientHistory history(silent);
    const auto frameOf = [](std::uint32_t client, std::uint32_t messageType) {
        return ClientFrame{.xid = client + 1,
                           .mac = relayFrames::macOfClient(client),
                           .vlan = relayFrames::vlan,
                           .cvlan = 4095,
                           .ethType = 0x8100,
                           .cEthType = 0,
                           .messageType = messageType};
    };
    const auto exchange = [&](std::uint32_t client) {
        const std::uint32_t line = relayFrames::firstLine + client % lines;
        const ClientFrame discover = frameOf(client, 1);
        transactions.add(discover, line);
        history.update(discover, line);
        const ClientFrame offer = frameOf(client, 2);
        dhcprClientInfo_t entry;
        benchmark::DoNotOptimize(transactions.find(offer, entry));
        transactions.remove(offer);
        history.update(offer, line);
    };
    for (std::uint32_t client = 0; client < clients; ++client)
        exchange(client);
    measure(state, [&](std::size_t turn) { exchange(static_cast<std::uint32_t>(turn % clients)); });
}

} // namespace

BENCHMARK(framesOnly)->Apply(sizes);
BENCHMARK(discovers)->Apply(sizes);
BENCHMARK(offers)->Apply(sizes);
BENCHMARK(exchanges)->Apply(sizes);
BENCHMARK(optionWalk)->ArgName("options")->Arg(2)->Arg(16)->Arg(48);
BENCHMARK(clientTables)
    ->ArgNames({"interfaces", "clients"})
    ->ArgsProduct({{16, 256, 4096}, {100, 1000, 16000}});
