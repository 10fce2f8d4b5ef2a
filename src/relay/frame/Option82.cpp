#include "relay/frame/Option82.h"

#include "relay/model/DebugSink.h"
#include "wire/Bytes.h"
#include "wire/Dhcpv4.h"

namespace frame {

using namespace wire;

namespace {

constexpr std::size_t subOptionHeader = 2;

int asInt(std::size_t size) { return static_cast<int>(size); }

std::size_t fitRemote(Option82Sizes sizes, const DebugSink* sink)
{
    if (sizes.circuit > bothSubOptionsLimit) {
        if (sink)
            sink->log("No space left for remote id\n");
        return 0;
    }
    const std::size_t limit = sizes.circuit == 0 ? subOptionLimit : bothSubOptionsLimit - sizes.circuit;
    if (sizes.remote <= limit)
        return sizes.remote;
    if (sink)
        sink->log("Noe enough space, truncate remote id from %d to %d\n", asInt(sizes.remote), asInt(limit));
    return limit;
}

void putSubOption(Option82Bytes& option, std::uint8_t code, std::span<const std::uint8_t> value)
{
    if (value.empty())
        return;
    const wire::Bytes out{std::span(option.bytes)};
    out.putU8(option.size, code);
    out.putU8(option.size + 1, static_cast<std::uint8_t>(value.size()));
    out.put(option.size + subOptionHeader, value);
    option.size += subOptionHeader + value.size();
}

} // namespace

Option82Sizes fitOption82(Option82Sizes wanted, const DebugSink* sink)
{
    Option82Sizes sizes = wanted;
    if (sizes.circuit > subOptionLimit) {
        if (sink)
            sink->log("circuitSize too big (%d), truncate to %d\n", asInt(sizes.circuit),
                      asInt(subOptionLimit));
        sizes.circuit = subOptionLimit;
    }
    if (sizes.remote != 0)
        sizes.remote = fitRemote(sizes, sink);
    return sizes;
}

Option82Bytes encodeOption82(std::span<const std::uint8_t> circuitId, std::span<const std::uint8_t> remoteId)
{
    Option82Bytes option;
    option.size = 2;
    putSubOption(option, subOptionCircuitId, circuitId);
    putSubOption(option, subOptionRemoteId, remoteId);
    option.bytes[0] = optionRelayAgent;
    option.bytes[1] = static_cast<std::uint8_t>(option.size - 2);
    return option;
}

} // namespace frame
