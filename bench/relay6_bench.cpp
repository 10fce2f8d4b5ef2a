// Cost of one frame through the DHCPv6 engine without socket and rate limit: a Solicit that is wrapped, a
// relay-reply that is unwrapped, an ICMPv6 frame that passes.

#include "NullIo.h"
#include "relay/v6/dhcpraV6Impl.h"
#include "support/Dhcpv6Frame.h"
#include "support/NodeBuilder.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <memory>

namespace {

constexpr std::uint32_t uplink = 1;
constexpr std::uint32_t firstLine = 2;

/// A board with so many lines, one frame after the other through its engine. Argument: lines.
void run(benchmark::State& state, const test::Dhcpv6Frame& frame)
{
    test::NodeBuilder builder;
    builder.slot(3).vlan(100).eth(uplink, "0/1");
    for (std::uint32_t line = 0; line < state.range(0); ++line)
        builder.subscriber(firstLine + line, "3/" + std::to_string(line));
    const auto node = builder.use();
    dhcpraV6Impl engine(std::make_unique<NullIo>());
    if (!engine.applyDefaultSettings())
        std::abort();
    engine.setDraEnabled(true);
    engine.setShelfId("sh1");
    engine.setRemoteIdFormat("customer-$VLAN");

    const test::Bytes bytes = frame.build();
    for (auto turn : state) {
        if (!engine.message().load(bytes))
            std::abort();
        engine.handleFrame();
    }
    state.SetItemsProcessed(state.iterations());
}

void wrap(benchmark::State& state) { run(state, test::solicit().on(firstLine, "line").vlan(100)); }

void unwrap(benchmark::State& state)
{
    const test::Bytes inner =
        test::message6(2, {test::clientIdLlt(test::macOf(1)), test::option6(2, test::Bytes(14))});
    run(state, test::Dhcpv6Frame(
                   test::relayMessage6(13, 0, {}, test::linkLocal(1),
                                       {test::option6(18, "sh1 eth 99/3/0:100"), test::option6(9, inner)}))
                   .on(uplink, "up")
                   .vlan(100)
                   .ports(547, 547));
}

void neighbourDiscovery(benchmark::State& state)
{
    run(state, test::solicit().bare(58, test::Bytes(24, 135)).on(firstLine, "line").vlan(100));
}

} // namespace

BENCHMARK(wrap)->Arg(16)->Arg(4096);
BENCHMARK(unwrap)->Arg(16)->Arg(4096);
BENCHMARK(neighbourDiscovery)->Arg(16);
