#include "platform/virtual/InProcessNode.h"
#include "relay/ids/CircuitIds.h"
#include "relay/model/DebugChannels.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>

// What the ids of one frame cost, by form and by the number of interfaces on the node.

namespace {

class Silent : public DebugSink
{
public:
    [[nodiscard]] bool wantsDebugText() const override { return false; }
    void log(const char*, ...) const override __attribute__((format(printf, 2, 3))) {}
};

/// A relay with that many GEM ports below ONU 1, and the ids of the last of them.
class Relay
{
public:
    explicit Relay(std::uint32_t ports)
    {
        vnode::NodeDescription node;
        node.facts.slot = 3;
        addInterface(node, 1, "0/1/1", Interfaces::interfaceType::onu, 0);
        for (std::uint32_t port = 0; port < ports; ++port)
            addInterface(node, 2 + port, nameOf(port), Interfaces::interfaceType::gem, 1);
        name = nameOf(ports - 1);
        last = interfaces.getInterfaceById(1 + ports);
        if (!interfaces.getInterfaceById(1)->setRemoteID("subscriber 4711"))
            std::abort();
        identity.shelfId = "shelf 1";
        identity.systemName = "olt";
        platform::virtualNode::use(std::make_shared<platform::virtualNode::InProcessNode>(std::move(node)));
    }
    ~Relay() { platform::virtualNode::use(nullptr); }
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    void setCustomFormat(const char* format)
    {
        circuitFormat = format;
        last->setCircuitIdMode(dhcpraInterface::DHCPRA_INTF_CIRMODE_CUSTOM);
    }
    void setRemoteFormat(const char* format) { remoteFormat = format; }

    void genCircuitId() { ids().genCircuitIdByInterfaceName(name, 100, 4095, id, bin, type); }
    void genRemoteId() { ids().genRemoteIdByInterfaceName(name, 100, 4095, id, bin, type); }

    [[nodiscard]] const std::string& result() const { return id; }

private:
    static std::string nameOf(std::uint32_t port) { return "0/1/1/" + std::to_string(port); }

    void addInterface(vnode::NodeDescription& node, std::uint32_t intfId, const std::string& text,
                      Interfaces::interfaceType kind, std::uint32_t parentId)
    {
        Interfaces::Interface row;
        row.id = intfId;
        row.name = text;
        row.linuxName = "dev" + std::to_string(intfId);
        row.type = kind;
        row.parentId = parentId;
        row.position.port = 1;
        node.interfaces.push_back(row);
        interfaces.add(dhcpraInterface(intfId, row.name, row.linuxName, kind));
    }

    [[nodiscard]] CircuitIds ids() const
    {
        return {{interfaces, vlans, identity, testData, {sink, DebugChannels::testDebug}, {true, mac}},
                {circuitFormat, remoteFormat, false}};
    }

    static constexpr auto type = dhcpraTypes::idGenType::liveFrame;
    static constexpr std::uint8_t mac[6] = {2, 0, 0, 0, 0, 1};

    InterfaceTable interfaces;
    VlanTable vlans;
    RelayIdentity identity;
    customFormatTestData_t testData;
    Silent sink;
    dhcpraInterface* last = nullptr;
    std::string name;
    std::string circuitFormat;
    std::string remoteFormat;
    std::string id;
    std::vector<std::uint8_t> bin;
};

void circuitIds(benchmark::State& state, const char* format, const char* expected)
{
    Relay relay(static_cast<std::uint32_t>(state.range(0)));
    if (format != nullptr)
        relay.setCustomFormat(format);
    relay.genCircuitId();
    if (relay.result().find(expected) == std::string::npos)
        state.SkipWithError(("unexpected id " + relay.result()).c_str());
    for (auto _ : state) {
        relay.genCircuitId();
        benchmark::DoNotOptimize(relay.result());
    }
}

void remoteIdOfParent(benchmark::State& state)
{
    Relay relay(static_cast<std::uint32_t>(state.range(0)));
    relay.setRemoteFormat("$PORT_REM_ID");
    for (auto _ : state) {
        relay.genRemoteId();
        benchmark::DoNotOptimize(relay.result());
    }
    if (relay.result() != "subscriber 4711")
        state.SkipWithError("wrong remote id");
}

} // namespace

BENCHMARK_CAPTURE(circuitIds, fixedForm, nullptr, "KORVANEL:shelf 1 eth 3/0/1/1/")->Arg(16)->Arg(16384);
BENCHMARK_CAPTURE(circuitIds, text, "$SYSNAME $z3PORT:$VLAN", "olt 001:100")->Arg(16)->Arg(16384);
BENCHMARK_CAPTURE(circuitIds, binary, "$hCLNT_MAC$h2VLAN", "02000000000164")->Arg(16)->Arg(16384);
BENCHMARK(remoteIdOfParent)->Arg(16)->Arg(16384);
