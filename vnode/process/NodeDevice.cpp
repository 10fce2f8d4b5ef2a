#include "vnode/process/NodeDevice.h"

#include <array>
#include <string_view>

namespace vnode {

namespace {

struct CounterRow
{
    std::string_view name;
    std::uint64_t DeviceCounters::*counter;
};

constexpr std::array counterRows{
    CounterRow{"rxFrames", &DeviceCounters::rxFrames},
    CounterRow{"rxBytes", &DeviceCounters::rxBytes},
    CounterRow{"rxSkipped", &DeviceCounters::rxSkipped},
    CounterRow{"rxOversize", &DeviceCounters::rxOversize},
    CounterRow{"rxLost", &DeviceCounters::rxLost},
    CounterRow{"rxErrors", &DeviceCounters::rxErrors},
    CounterRow{"txFrames", &DeviceCounters::txFrames},
    CounterRow{"txBytes", &DeviceCounters::txBytes},
    CounterRow{"txOversize", &DeviceCounters::txOversize},
    CounterRow{"txFull", &DeviceCounters::txFull},
    CounterRow{"txDown", &DeviceCounters::txDown},
    CounterRow{"txErrors", &DeviceCounters::txErrors},
    CounterRow{"opened", &DeviceCounters::opened},
};
static_assert(counterRows.size() * sizeof(std::uint64_t) == sizeof(DeviceCounters), "a row for each counter");

} // namespace

bool NodeDevice::open(std::string& reason)
{
    if (!io->open(reason))
        return false;
    ++counts.opened;
    return true;
}

IoResult NodeDevice::receive(FrameBuffer& buffer, std::span<std::uint8_t>& frame)
{
    const IoResult result = io->receive(buffer, frame);
    switch (result) {
    case IoResult::done:
        ++counts.rxFrames;
        counts.rxBytes += frame.size();
        break;
    case IoResult::skipped:
        ++counts.rxSkipped;
        break;
    case IoResult::oversize:
        ++counts.rxOversize;
        break;
    case IoResult::failed:
    case IoResult::full:
        ++counts.rxErrors;
        break;
    case IoResult::nothing:
    case IoResult::down:
    case IoResult::gone:
        break;
    }
    return result;
}

void NodeDevice::send(std::span<const std::uint8_t> frame)
{
    switch (io->isOpen() ? io->send(frame) : IoResult::gone) {
    case IoResult::done:
        ++counts.txFrames;
        counts.txBytes += frame.size();
        break;
    case IoResult::oversize:
        ++counts.txOversize;
        break;
    case IoResult::full:
        ++counts.txFull;
        break;
    case IoResult::down:
    case IoResult::gone:
        ++counts.txDown;
        break;
    case IoResult::nothing:
    case IoResult::skipped:
    case IoResult::failed:
        ++counts.txErrors;
        break;
    }
}

control::LinkState NodeDevice::state() const
{
    if (!io->isOpen())
        return control::LinkState::absent;
    return io->hasLink() ? control::LinkState::up : control::LinkState::down;
}

std::optional<control::LinkState> NodeDevice::news()
{
    const control::LinkState now = state();
    if (told == now)
        return std::nullopt;
    told = now;
    return now;
}

std::vector<control::NamedCount> NodeDevice::counters()
{
    counts.rxLost += io->isOpen() ? io->takeKernelDrops() : 0;
    std::vector<control::NamedCount> named;
    named.reserve(counterRows.size());
    for (const CounterRow& row : counterRows)
        named.emplace_back(row.name, counts.*row.counter);
    return named;
}

void NodeDevice::clearCounters()
{
    static_cast<void>(counters()); // what the kernel has counted so far goes too
    counts = {};
}

} // namespace vnode
